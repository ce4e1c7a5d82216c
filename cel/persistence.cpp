// A track as an object of a stream. What its layer holds is written in packing.cpp and read in
// unpacking.cpp.

#include "cel/Cel.h"

#include "platform/support/PStream.h"
#include "platform/support/layers.h"

StreamClassRegistrar Cel::STRM_L_Cel_registrar_(Cel::layerName(), Cel::shortLayerName(),
                                                &Cel::STRM_L_Cel_builder);

LightweightString<char> Cel::shortLayerName()
{
    return "C";
}

LightweightString<char> Cel::layerName()
{
    return "Cel";
}

LightweightString<char> Cel::subHierarchyName(bool shortForm, bool withBase) const
{
    LightweightString<char> name = Taggable::subHierarchyName(shortForm, withBase);
    if (!name.empty())
        name += ".";
    name += shortForm ? shortLayerName() : layerName();
    return name;
}

LightweightString<char> Cel::hierarchyName(bool shortForm, bool withBase) const
{
    return subHierarchyName(shortForm, withBase);
}

Kt::Ptr<Streamable> Cel::STRM_L_Cel_builder(PStream&)
{
    return Kt::Ptr<Streamable>(new Cel(builder));
}

Kt::Ptr<Streamable> Cel::clone(BuilderType type) const
{
    return Kt::Ptr<Streamable>(new Cel(type, *this));
}

void Cel::assign(const Streamable* other)
{
    if (const auto* track = dynamic_cast<const Cel*>(other))
        *this = *track;
}

void Cel::STRM_hierarchyPack(PStream& stream) const
{
    PackStack stack;
    STRM_layerPack(this, stream, &stack);
}

void Cel::STRM_hierarchyUnpack(PStream& stream)
{
    STRM_layerUnpack(this, stream);
}

void Cel::STRM_layerPack(const Cel* track, PStream& stream, PackStack* stack)
{
    PackStack own;
    PackStack& layers = stack ? *stack : own;
    layers.push_back({shortLayerName(), [track](PStream& body) {
                          track->pack(body);
                          return static_cast<unsigned char>(track->packRevision_);
                      }});
    Taggable::STRM_layerPack(track, stream, &layers);
}

void Cel::STRM_layerUnpack(Cel* track, PStream& stream)
{
    Taggable::STRM_layerUnpack(track, stream);
    cel::readLayer(stream, shortLayerName().view(), [track, &stream](const cel::LayerFrame& frame) {
        track->packRevision_ = frame.revision;
        track->chunkSize(frame.bodyBytes);
        track->unpack(stream);
    });
}

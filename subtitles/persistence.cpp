#include "subtitles/SubtitleCel.h"

#include "platform/support/PStream.h"
#include "platform/support/layers.h"
#include "platform/support/utf8.h"

#include <utility>

using SubtitleCel = SubtitleTrack::SubtitleCel;

namespace {

constexpr unsigned char kLayerRevision = 1;
constexpr unsigned char kStampRevision = 2;

constexpr const char* kShortLayer = "SubtitleCel::unpack: Failed to read texts (unexpected size)\n";

/// What a line takes at least.
constexpr std::size_t kSmallestLine = sizeof(std::uint32_t);

LightweightString<char> textOf(const FontDefinition& font)
{
    JSON::Builder builder(0);
    builder.startChild();
    font.write(builder);
    builder.endChild();
    return builder.getOutput();
}

void packElement(PStream& stream, const IdStamp& id, const SubtitleTrack::Element& element)
{
    id.pack(stream);
    stream << element.style;
    stream.file().setUnsignedLong(static_cast<std::uint32_t>(element.lines.size()));
    for (const auto& line : element.lines)
        stream << LightweightString<char>(cel::toUtf8(line.view()));
}

/// @return whether a whole entry was there.
bool unpackElement(PStream& stream, IdStamp& id, SubtitleTrack::Element& element)
{
    id.unpack(stream, kStampRevision);
    stream >> element.style;
    const std::uint32_t lines = stream.file().getUnsignedLong();
    if (stream.file().faulted() || lines > stream.remaining() / kSmallestLine)
        return false;
    element.lines.reserve(lines);
    for (std::uint32_t i = 0; i < lines; ++i) {
        LightweightString<char> line;
        stream >> line;
        element.lines.emplace_back(cel::toWide(line.view()));
    }
    return !stream.file().faulted();
}

} // namespace

// ---- the object stream's view of a track -------------------------------------------------------

StreamClassRegistrar
    SubtitleCel::STRM_L_SubtitleCel_registrar_("Cel.SubtitleCel", SubtitleCel::shortLayerName(),
                                               &SubtitleCel::STRM_L_SubtitleCel_builder);

LightweightString<char> SubtitleCel::shortLayerName()
{
    return "T";
}

LightweightString<char> SubtitleCel::layerName()
{
    return "SubtitleCel";
}

LightweightString<char> SubtitleCel::subHierarchyName(bool shortForm, bool withBase) const
{
    LightweightString<char> name;
    if (withBase) {
        name = Cel::subHierarchyName(shortForm, withBase);
        name += ".";
    }
    name += shortForm ? shortLayerName() : layerName();
    return name;
}

LightweightString<char> SubtitleCel::hierarchyName(bool shortForm, bool withBase) const
{
    return subHierarchyName(shortForm, withBase);
}

Kt::Ptr<Streamable> SubtitleCel::STRM_L_SubtitleCel_builder(PStream&)
{
    return Kt::Ptr<Streamable>(new SubtitleCel(builder));
}

Kt::Ptr<Streamable> SubtitleCel::clone(BuilderType type) const
{
    return Kt::Ptr<Streamable>(new SubtitleCel(type, *this));
}

void SubtitleCel::assign(const Streamable* other)
{
    if (const auto* track = dynamic_cast<const SubtitleCel*>(other)) {
        *this = *track;
    } else if (dynamic_cast<const Cel*>(other)) {
        Cel::assign(other);
        elements_.clear();
    }
}

void SubtitleCel::STRM_hierarchyPack(PStream& stream) const
{
    PackStack stack;
    STRM_layerPack(this, stream, &stack);
}

void SubtitleCel::STRM_hierarchyUnpack(PStream& stream)
{
    STRM_layerUnpack(this, stream);
}

void SubtitleCel::STRM_layerPack(const SubtitleCel* track, PStream& stream, PackStack* stack)
{
    PackStack own;
    PackStack& layers = stack ? *stack : own;
    layers.push_back({shortLayerName(), [track](PStream& body) { return track->pack(body); }});
    Cel::STRM_layerPack(track, stream, &layers);
}

void SubtitleCel::STRM_layerUnpack(SubtitleCel* track, PStream& stream)
{
    const std::size_t before = stream.file().position();
    Cel::STRM_layerUnpack(track, stream);
    // Without its list a track has no use for the texts; they may be those of another.
    if (stream.file().position() == before)
        return;
    cel::readLayer(stream, shortLayerName().view(), [track, &stream](const cel::LayerFrame& frame) {
        track->unpack(stream, frame.revision);
    });
}

// ---- packing -----------------------------------------------------------------------------------

unsigned char SubtitleCel::pack(PStream& stream) const
{
    id().pack(stream);
    stream << textOf(font_);
    stream.file().setUnsignedLong(static_cast<std::uint32_t>(elements_.size()));
    for (const auto& [id, element] : elements_)
        packElement(stream, id, element);
    return kLayerRevision;
}

void SubtitleCel::unpack(PStream& stream, unsigned char revision)
{
    elements_.clear();
    if (revision != kLayerRevision) {
        stream.errorText().append("SubtitleCel::unpack: unknown revision\n");
        return;
    }
    // What the layer of the list lacked is not missing here, but is not to be forgotten either.
    if (stream.file().faulted()) {
        stream.errorText().append("SubtitleCel::unpack: the list ends too early\n");
        stream.file().clearFault();
    }
    IdStamp identity;
    LightweightString<char> font;
    identity.unpack(stream, kStampRevision);
    stream >> font;
    if (!stream.file().faulted()) {
        if (identity.valid())
            id(identity);
        font_ = FontDefinition();
        font_.read(JSON::parse(font));
    }
    unpackElements(stream);
}

void SubtitleCel::unpackElements(PStream& stream)
{
    // Every entry that is read took bytes of the layer, so a count that lies costs nothing.
    const std::uint32_t count = stream.file().getUnsignedLong();
    bool repeated = false;
    std::uint32_t read = 0;
    for (; read < count; ++read) {
        IdStamp id(0, 0, 0);
        Element element;
        if (!unpackElement(stream, id, element))
            break;
        const std::size_t before = elements_.size();
        elements_.try_emplace(elements_.end(), id, std::move(element));
        repeated |= elements_.size() == before;
    }
    if (read < count || stream.file().faulted())
        stream.errorText().append(kShortLayer);
    if (repeated)
        stream.errorText().append("SubtitleCel::unpack: two texts of one section\n");
}

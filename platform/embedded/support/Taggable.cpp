#include "platform/support/Taggable.h"

#include "platform/support/layers.h"

LightweightString<char> Taggable::subHierarchyName(bool, bool) const
{
    return {};
}

void Taggable::STRM_layerPack(const Taggable*, PStream& stream, PackStack* stack)
{
    for (; stack && !stack->empty(); stack->pop_back()) {
        const auto& layer = stack->back();
        cel::writeLayer(stream, layer.layerName.view(), layer.pack);
    }
}

void Taggable::STRM_layerUnpack(Taggable*, PStream&) {}

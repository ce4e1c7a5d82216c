#include "cel/Cel.h"

#include "cel/detail/event_array.h"
#include "platform/primitives/EffectInstance_opu4h5a4j.h"
#include "platform/support/TagBag.h"

#include <utility>
#include <vector>

namespace {

using cel::detail::kTemporaryId;
using Effect = EffectInstance_opu4h5a4j;

IdStamp freshLike(const IdStamp& id)
{
    IdStamp fresh;
    fresh.setMagicType(id.getMagicType());
    return fresh;
}

/// The objects that are reached from one: itself and, over their track inputs, other effects, each
/// under its identifier. Loops among them end where they began.
std::map<IdStamp, Kt::Ptr<Taggable>> reachableObjects(TagBag& store, const IdStamp& root)
{
    std::map<IdStamp, Kt::Ptr<Taggable>> reached;
    for (std::vector<IdStamp> open{root}; !open.empty();) {
        const IdStamp id = open.back();
        open.pop_back();
        if (!id.valid() || id.getMagicType() == kTemporaryId || reached.contains(id))
            continue;
        const TagBase tag = store.openObject(id);
        const auto effect = Kt::dynamicCast<Effect>(tag.object());
        if (!tag.valid() || (!effect && id != root))
            continue;
        reached.emplace(id, tag.object());
        if (effect && effect->hasTrackInputs())
            for (unsigned i = 0; i < effect->getNumTrackInputs(); ++i)
                open.push_back(effect->getInputTrackId(i));
    }
    return reached;
}

/// Copies an object and every effect it reaches; the copies refer to each other as the originals
/// did, under the identifiers that the map assigns or fresh ones.
void copyObjectTree(TagBag& store, const IdStamp& source, Cel::IdMap idMap)
{
    const auto originals = reachableObjects(store, source);
    for (const auto& [id, object] : originals)
        idMap.try_emplace(id, freshLike(id));
    for (const auto& [id, object] : originals) {
        const IdStamp& copyId = idMap.at(id);
        if (store.openObject(copyId).valid())
            continue;
        const auto copy = Kt::dynamicCast<Taggable>(object->clone(Streamable::builder));
        if (const auto effect = Kt::dynamicCast<Effect>(copy))
            effect->remapInputIDs(idMap);
        store.storeObject(TagBase(copyId, copy));
    }
}

} // namespace

void Cel::copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap, double,
                            ParamResizeMethod)
{
    const IdStamp source = h.getEffectGraph();
    TagBag* store = objectStore();
    const auto assigned = idMap.find(source);
    if (assigned != idMap.end())
        event.editGraph(assigned->second);
    else if (source.getMagicType() == kTemporaryId)
        event.editGraph(ChannelEvent::newId());
    else if (store && store->openObject(source).valid())
        event.editGraph(freshLike(source));
    else
        return;
    if (!store || source.getMagicType() == kTemporaryId)
        return;

    const IdStamp copyId = event.editGraph();
    IdMap copies = idMap;
    copies.insert_or_assign(source, copyId);
    copyObjectTree(*store, source, std::move(copies));
}

void Cel::destroySegmentObject(const IdStamp& id)
{
    if (objectStore() && id.getMagicType() != kTemporaryId)
        objectStore()->destroyObject(id);
}

void Cel::resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method)
{
    if (!objectStore() || id.getMagicType() == kTemporaryId)
        return;
    if (const auto effect = Kt::dynamicCast<Effect>(objectStore()->openObject(id).object()))
        effect->resizeParameters(share, method);
}

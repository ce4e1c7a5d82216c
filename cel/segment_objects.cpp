// The effect objects of sections, and what happens to them when sections are copied, cut and go.

#include "cel/Cel.h"

#include "cel/detail/ObjectJournal.h"
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

std::vector<IdStamp> inputsOf(const Effect& effect)
{
    std::vector<IdStamp> inputs;
    if (effect.hasTrackInputs())
        for (unsigned i = 0; i < effect.getNumTrackInputs(); ++i)
            inputs.push_back(effect.getInputTrackId(i));
    return inputs;
}

/// The effect that a store keeps under an input's identifier; null when there is none.
Kt::Ptr<Effect> storedEffect(TagBag& store, const IdStamp& id)
{
    if (!id.valid() || id.getMagicType() == kTemporaryId)
        return {};
    return Kt::dynamicCast<Effect>(store.openObject(id).object());
}

} // namespace

void Cel::getSegmentEffects(const Kt::Ptr<Effect>& effect, std::set<Kt::Ptr<Effect>>& effects) const
{
    if (!objectStore())
        return;
    // A list instead of recursion: the depth is up to whoever made the effects.
    for (std::vector<Kt::Ptr<Effect>> open{effect}; !open.empty();) {
        const Kt::Ptr<Effect> next = std::move(open.back());
        open.pop_back();
        // Loops among effects end where they began.
        if (!next || !effects.insert(next).second)
            continue;
        for (const IdStamp& input : inputsOf(*next))
            open.push_back(storedEffect(*objectStore(), input));
    }
}

/// The object of a section and every effect that it reaches, under their identifiers.
std::map<IdStamp, Kt::Ptr<Taggable>> Cel::reachableObjects(const IdStamp& root) const
{
    std::map<IdStamp, Kt::Ptr<Taggable>> reached;
    const Kt::Ptr<Taggable> object = objectStore()->openObject(root).object();
    if (!object)
        return reached;
    reached.emplace(root, object);
    std::set<Kt::Ptr<Effect>> effects;
    getSegmentEffects(Kt::dynamicCast<Effect>(object), effects);
    for (const Kt::Ptr<Effect>& effect : effects)
        for (const IdStamp& input : inputsOf(*effect))
            if (const auto found = storedEffect(*objectStore(), input))
                reached.emplace(input, found);
    return reached;
}

/// Copies an object and every effect it reaches; the copies refer to each other as the originals
/// did, under the identifiers that the map assigns or fresh ones.
void Cel::copyObjectTree(const IdStamp& source, const IdStamp& copyOfSource, const IdMap& idMap)
{
    cel::detail::ObjectJournal own;
    cel::detail::ObjectJournal& journal = journal_ ? *journal_ : own;
    if (journal.keeps(*objectStore(), copyOfSource))
        return;
    const auto originals = reachableObjects(source);
    if (originals.empty())
        return;
    // What may be referred to, and nothing more of a map that may speak of a whole cut.
    IdMap copyIds;
    const auto assign = [&](const IdStamp& id, bool copied) {
        const auto assigned = idMap.find(id);
        if (assigned != idMap.end())
            copyIds.insert(*assigned);
        else if (copied)
            copyIds.try_emplace(id, freshLike(id));
    };
    copyIds.emplace(source, copyOfSource);
    for (const auto& [id, object] : originals) {
        assign(id, true);
        if (const auto effect = Kt::dynamicCast<Effect>(object))
            for (const IdStamp& input : inputsOf(*effect))
                assign(input, false);
    }

    // All copies are made before the first is stored.
    std::vector<TagBase> copies;
    for (const auto& [id, object] : originals) {
        const IdStamp& copyId = copyIds.at(id);
        if (journal.keeps(*objectStore(), copyId))
            continue;
        const auto copy =
            Kt::dynamicCast<Taggable>(journal.original(object)->clone(Streamable::builder));
        if (const auto effect = Kt::dynamicCast<Effect>(copy))
            effect->remapInputIDs(copyIds);
        copies.emplace_back(copyId, copy);
    }
    journal.store(*objectStore(), copies);
}

void Cel::copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap, double,
                            ParamResizeMethod)
{
    const IdStamp source = h.getEffectGraph();
    const bool temporary = source.getMagicType() == kTemporaryId;
    const auto assigned = idMap.find(source);
    IdStamp copy = event.editGraph();
    if (assigned != idMap.end())
        copy = assigned->second;
    else if (temporary)
        copy = ChannelEvent::newId();
    else if (objectStore() && objectStore()->openObject(source).valid())
        copy = freshLike(source);
    else
        return;
    if (objectStore() && !temporary)
        copyObjectTree(source, copy, idMap);
    event.editGraph(copy);
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
    const auto effect = Kt::dynamicCast<Effect>(objectStore()->openObject(id).object());
    if (!effect)
        return;
    if (journal_)
        journal_->remember(id, effect);
    effect->resizeParameters(share, method);
}

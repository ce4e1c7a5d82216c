// The edits of a range as callers see them. Each is done in one splice (splicing.cpp) where that
// gives the same, else step by step (detail/RangeEdit.h).

#include "cel/Cel.h"

#include "cel/detail/RangeEdit.h"
#include "platform/foundation/compare.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>

using cel::detail::CutPlace;
using cel::detail::isAfter;
using cel::detail::Splice;

namespace {

bool isFinite(const NumRange<double, Ordered>& range)
{
    return std::isfinite(range.start()) && std::isfinite(range.end());
}

/// Whether material of a range can stand at a time, all of it within what a track holds.
bool canStandAt(double at, const NumRange<double, Ordered>& range)
{
    return isFinite(range) && cel::isRealTime(at) && cel::isRealTime(at + range.length());
}

} // namespace

bool Cel::keepsSegmentObjects() const
{
    return objectStore() || typeid(*this) != typeid(Cel);
}

Kt::Ptr<Cel> Cel::snapshotForHooks() const
{
    // Of the same class, since hooks look at the track that a section comes from.
    return Kt::dynamicCast<Cel>(clone(builder));
}

// ---- cut --------------------------------------------------------------------------------------

CutPlace Cel::placeOfCut(double t) const
{
    return cel::detail::placeOfCut(events_, t);
}

ce_handle Cel::makeCutAt(double t)
{
    const CutPlace place = placeOfCut(t);
    switch (place.kind) {
    case CutPlace::nowhere:
        return {};
    case CutPlace::atInPoint:
        return handleAt(place.in);
    case CutPlace::insideSection:
        break;
    }
    RangeEdit edit(*this);
    const int secondIn = edit.cut(place, t);
    edit.finish();
    return handleAt(secondIn);
}

// ---- remove -----------------------------------------------------------------------------------

void Cel::remove(const Range& range)
{
    if (!isFinite(range))
        return;
    if (!keepsSegmentObjects()) {
        if (const std::optional<Splice> splice = spliceOut(range)) {
            apply(*splice);
            return;
        }
    }
    RangeEdit edit(*this);
    edit.remove(range);
    edit.finish();
}

// ---- insert -----------------------------------------------------------------------------------

void Cel::insert(const Cel* source, const Range& range, double at, const IdMap& idMap)
{
    if (!canStandAt(at, range))
        return;
    RangeEdit edit(*this);
    edit.insert(source, range, at, idMap);
    edit.finish();
}

// ---- replace ----------------------------------------------------------------------------------

void Cel::replace(const Cel* source, const Range& range, double at, const IdMap& idMap,
                  Editable::ReplaceFlags flags)
{
    if (!canStandAt(at, range))
        return;
    ce_handle kept = flags == 0 ? effectToKeep(source, range, at) : ce_handle();
    if (!kept.valid()) {
        replaceFrom(source, range, at, idMap);
        return;
    }
    const Kt::Ptr<Cel> snapshot = source == this ? snapshotForHooks() : Kt::Ptr<Cel>();
    const std::int32_t formerDirty = dirty_;
    // The section has another identifier while it goes, so that its effect is not destroyed.
    const IdStamp effect = kept.getEffectGraph();
    kept.setEffectGraph(ChannelEvent::newId());
    try {
        replaceFrom(snapshot ? snapshot.get() : source, range, at, idMap);
    } catch (...) {
        kept.setEffectGraph(effect);
        dirty_ = formerDirty;
        throw;
    }
    if (effect.valid() && kept.valid())
        kept.setEffectGraph(effect);
}

ce_handle Cel::effectToKeep(const Cel* source, const Range& range, double at) const
{
    if (!source || !(at >= 0.0))
        return {};
    const CEHPair from(source, range.start() + cel::kTimeEpsilon);
    const CEHPair onto(this, at + cel::kTimeEpsilon);
    if (!from.valid() || !onto.valid() || !from.isMaterial() || !onto.isEffect())
        return {};
    const auto covering = from.editRange();
    const bool contains =
        !isAfter(covering.start(), range.start()) && !isAfter(range.end(), covering.end());
    const bool sameLength = valEqualsVal(covering.length(), onto.editRange().length());
    return contains && sameLength ? onto.inH() : ce_handle();
}

void Cel::replaceFrom(const Cel* source, const Range& range, double at, const IdMap& idMap)
{
    const double end = at + (range.end() - range.start());
    const double start = std::max(at, 0.0);
    const bool removes = at >= 0.0 || end > 0.0;
    const bool inserts = !valEqualsVal(range.start(), range.end());
    const Range onto(start, end);
    if (removes && inserts && !keepsSegmentObjects() && replaceAtOnce(source, range, onto, idMap))
        return;

    const Kt::Ptr<Cel> snapshot = source == this ? snapshotForHooks() : Kt::Ptr<Cel>();
    RangeEdit edit(*this);
    if (removes)
        edit.remove(onto);
    if (inserts)
        edit.insert(snapshot ? snapshot.get() : source, range, start, idMap);
    edit.finish();
}

#include "cel/Cel.h"

#include "cel/detail/InsertedMaterial.h"
#include "cel/detail/counts.h"
#include "cel/detail/grid.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"
#include "platform/foundation/compare.h"

#include <algorithm>
#include <cmath>
#include <optional>

using cel::detail::cutSection;
using cel::detail::isAfter;
using cel::detail::toGrid;

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

// ---- one splice and one shift -----------------------------------------------------------------

void Cel::apply(const Splice& splice)
{
    cel::detail::reserveMore(events_, splice.events.size());
    const std::size_t removed = splice.end - splice.first;
    for (const ChannelEvent& event : std::span(events_).subspan(splice.first, removed))
        adjustEventCounts(event, false);
    for (const ChannelEvent& event : splice.events)
        adjustEventCounts(event, true);
    cel::detail::replaceEvents(events_, splice.first, removed, splice.events);

    const auto first = static_cast<std::int32_t>(splice.first);
    if (pendingInIndex_ >= static_cast<std::int32_t>(splice.end))
        pendingInIndex_ += static_cast<std::int32_t>(splice.events.size() - removed);
    else if (pendingInIndex_ >= first)
        pendingInIndex_ = -1;

    const std::span tail = std::span(events_).subspan(splice.first + splice.moving);
    if (splice.ontoGrid)
        cel::detail::shiftOntoGrid(tail, splice.closed, splice.opened, resolution_);
    else
        cel::detail::shiftEditTimes(tail, splice.closed);
    dirty_ = 1;
}

bool Cel::isPlain(const CutPlace& place) const
{
    switch (place.kind) {
    case CutPlace::nowhere:
        return events_.size() % 2 == 0;
    case CutPlace::atInPoint:
        return place.in % 2 == 0;
    case CutPlace::insideSection:
        break;
    }
    return place.in % 2 == 0 && place.out == place.in + 1;
}

Cel::Splice Cel::spliceOut(const Range& range, const CutPlace& from, const CutPlace& to) const
{
    Splice splice;
    splice.first = static_cast<std::size_t>(from.in);
    splice.end = to.kind == CutPlace::nowhere ? events_.size() : static_cast<std::size_t>(to.in);
    if (to.kind == CutPlace::atInPoint && splice.end <= splice.first && from.kind == to.kind) {
        splice.end = splice.first;
        return splice;
    }

    // What stays of the section at the start ...
    const bool endsInside = to.kind == CutPlace::insideSection;
    ChannelEvent in = events_[splice.first];
    ChannelEvent out = events_[endsInside ? static_cast<std::size_t>(to.out) : splice.first];
    if (from.kind == CutPlace::insideSection) {
        const auto halves = cutSection(in, events_[splice.first + 1], range.start(), resolution_);
        splice.events = {halves.firstIn, halves.firstOut};
        in = halves.secondIn;
        if (to.in == from.in)
            out = halves.secondOut;
    }
    splice.moving = splice.events.size();

    // ... and of the one at the end.
    double removedTo = events_[std::max(splice.end, splice.first + 1) - 1].edit_time();
    if (endsInside) {
        const ChannelEvent& lastIn = to.in == from.in ? in : events_[splice.end];
        const auto halves = cutSection(lastIn, out, range.end(), resolution_);
        splice.events.insert(splice.events.end(), {halves.secondIn, halves.secondOut});
        splice.end += 2;
        removedTo = range.end();
    }
    splice.closed = in.edit_time() - removedTo;
    return splice;
}

// ---- remove -----------------------------------------------------------------------------------

void Cel::remove(const Range& range)
{
    if (!isFinite(range))
        return;
    const CutPlace from = placeOfCut(range.start());
    const CutPlace to = placeOfCut(range.end());
    if (from.kind == CutPlace::nowhere)
        return;
    if (from.kind == CutPlace::insideSection && !isAfter(range.end(), range.start())) {
        makeCutAt(range.start());
    } else if (keepsSegmentObjects() || !isPlain(from) || !isPlain(to)) {
        std::vector<IdStamp> removed;
        removeStepByStep(range, removed);
        destroyObjects(removed);
    } else if (const Splice splice = spliceOut(range, from, to); splice.changesAnything()) {
        apply(splice);
    }
}

void Cel::removeStepByStep(const Range& range, std::vector<IdStamp>& removed)
{
    // All room is made before the first cut; after the second nothing fails.
    removed.reserve(events_.size() + 4);
    cel::detail::reserveMore(events_, 4);
    const CutPlace from = placeOfCut(range.start());
    std::optional<OpenedCut> opened;
    if (from.kind == CutPlace::insideSection)
        opened = openCut(from, range.start());
    const int first = opened ? opened->secondIn : from.in;
    ce_handle stopAt;
    try {
        stopAt = makeCutAt(range.end());
    } catch (...) {
        if (opened)
            undoCut(*opened);
        throw;
    }
    const int stop = stopAt.valid() ? stopAt.get_index() : numEvents();
    const int pairs = (stop - first) / 2;
    if (first % 2 == 0 && pairs > 0)
        takePairs(first, pairs, true, removed);
}

// ---- insert -----------------------------------------------------------------------------------

void Cel::insert(const Cel* source, const Range& range, double at, const IdMap& idMap)
{
    if (!canStandAt(at, range))
        return;
    // A track put into itself is read as it was before.
    const Kt::Ptr<Cel> snapshot = source == this ? snapshotForHooks() : Kt::Ptr<Cel>();
    insertFrom(snapshot ? snapshot.get() : source, range, at, idMap);
}

Kt::Ptr<Cel> Cel::snapshotForHooks() const
{
    // Of the same class, since hooks look at the track that a section comes from.
    return Kt::dynamicCast<Cel>(clone(builder));
}

void Cel::insertFrom(const Cel* source, const Range& range, double at, const IdMap& idMap)
{
    InsertionPlace place = placeOfInsertion(at);
    const bool nothing = !(toGrid(range.length(), resolution_) > 0.0);
    std::optional<OpenedCut> opened;
    if (place.cut.kind == CutPlace::insideSection &&
        (nothing || keepsSegmentObjects() || !isPlain(place.cut))) {
        opened = openCut(place.cut, place.at);
        place.index = opened->secondIn;
        place.cut = {};
    }
    if (nothing)
        return;

    try {
        InsertedMaterial material(*this, range, toGrid(place.at, resolution_), idMap,
                                  getBlackCookie());
        putInOrAbandon(material, source, place);
    } catch (...) {
        if (opened)
            undoCut(*opened);
        throw;
    }
}

void Cel::putInOrAbandon(InsertedMaterial& material, const Cel* source, const InsertionPlace& place)
{
    try {
        if (material.build(source))
            putIn(material, spliceAt(place), place);
        else if (place.cut.kind == CutPlace::insideSection)
            makeCutAt(place.at);
    } catch (...) {
        material.abandon();
        throw;
    }
}

Cel::InsertionPlace Cel::placeOfInsertion(double at) const
{
    // Half a frame before its end the track is over: what is put there follows its last section.
    const auto isOver = [this](double t) { return isAfter(t + resolution_ * 0.5, get_end_time()); };
    InsertionPlace place;
    place.at = at;
    if (!isOver(at))
        place.cut = placeOfCut(at);
    if (place.cut.kind != CutPlace::atInPoint) {
        // Where no section begins, material goes to the frames of the track.
        place.at = toGrid(at, resolution_);
        place.cut = isOver(place.at) ? CutPlace() : placeOfCut(place.at);
    }
    place.index = place.cut.in;
    if (place.cut.kind != CutPlace::nowhere)
        return place;

    place.inGap = true;
    if (isOver(place.at) && !events_.empty()) {
        place.index = numEvents();
        return place;
    }
    if (place.at < 0.0) {
        place.blackBehind = -place.at;
        place.at = 0.0;
        place.index = 0;
        return place;
    }
    const auto later = std::find_if(events_.begin(), events_.end(), [&](const ChannelEvent& event) {
        return event.info() == in_point && isAfter(event.edit_time(), place.at);
    });
    place.index = static_cast<int>(later - events_.begin());
    return place;
}

Cel::Splice Cel::spliceAt(const InsertionPlace& place) const
{
    Splice splice;
    splice.first = splice.end = static_cast<std::size_t>(place.index);
    if (place.cut.kind == CutPlace::insideSection) {
        const auto halves =
            cutSection(events_[splice.first], events_[splice.first + 1], place.at, resolution_);
        splice.events = {halves.firstIn, halves.firstOut, halves.secondIn, halves.secondOut};
        splice.end += 2;
        splice.moving = 2;
    }
    return splice;
}

void Cel::putIn(const InsertedMaterial& material, Splice splice, const InsertionPlace& place)
{
    splice.ontoGrid = true;
    splice.opened = material.end() - material.start() + place.blackBehind;
    const std::size_t front = splice.first + splice.moving;
    const ChannelEvent* before = splice.moving > 0  ? &splice.events[splice.moving - 1]
                                 : splice.first > 0 ? &events_[splice.first - 1]
                                                    : nullptr;
    const ChannelEvent* behind = splice.moving < splice.events.size()
                                     ? &splice.events[splice.moving]
                                 : splice.end < events_.size() ? &events_[splice.end]
                                                               : nullptr;
    cel::detail::EventVector inserted;
    inserted.reserve(material.events().size() + 4);
    const double reached = before ? before->edit_time() : behind ? material.start() : 0.0;
    const bool blackBefore = place.inGap && toGrid(material.start() - reached, resolution_) > 0.0;
    if (blackBefore)
        cel::detail::appendBlack(inserted, material.black(), reached, material.start());
    inserted.insert(inserted.end(), material.events().begin(), material.events().end());
    const double resumed =
        behind ? toGrid((behind->edit_time() + splice.closed) + splice.opened, resolution_)
               : material.end() + place.blackBehind;
    if (place.inGap && isAfter(resumed, material.end()))
        cel::detail::appendBlack(inserted, material.black(), material.end(), resumed);

    splice.events.insert(splice.events.begin() + static_cast<std::ptrdiff_t>(splice.moving),
                         inserted.begin(), inserted.end());
    splice.moving += inserted.size();
    apply(splice);
    if (front > 0 && !blackBefore)
        alignOutPoint(front - 1, material.start());
    if (behind && !place.inGap)
        alignInPoints(splice.first + splice.moving, material.end());
}

void Cel::alignInPoints(std::size_t index, double t)
{
    // Half a frame may round the other way behind the material than it did in front of it.
    const double rounded = events_[index].edit_time();
    if (!(std::fabs(rounded - t) <= resolution_ + cel::kTimeEpsilon))
        return;
    for (; index < events_.size() &&
           (events_[index].edit_time() == rounded || events_[index].edit_time() < t);
         ++index)
        events_[index].edit_time(t);
}

void Cel::alignOutPoint(std::size_t index, double t)
{
    // Material that went to the nearest frame meets the section in front of it; it gives way where
    // that section begins later than the frame.
    const int in = cel::detail::matchingIn(events_, static_cast<int>(index));
    const double by = t - events_[index].edit_time();
    if (by == 0.0 || !(std::fabs(by) <= resolution_ * 0.5 + cel::kTimeEpsilon) || in < 0)
        return;
    const double meeting = std::max(t, events_[static_cast<std::size_t>(in)].edit_time());
    for (ChannelEvent* event : {&events_[index], &events_[index + 1]}) {
        event->strip_time(event->strip_time() +
                          cel::detail::effectiveSpeed(*event) * (meeting - event->edit_time()));
        event->edit_time(meeting);
    }
}

// ---- replace ----------------------------------------------------------------------------------

void Cel::replace(const Cel* source, const Range& range, double at, const IdMap& idMap,
                  Editable::ReplaceFlags flags)
{
    if (!canStandAt(at, range))
        return;
    const Kt::Ptr<Cel> snapshot = source == this ? snapshotForHooks() : Kt::Ptr<Cel>();
    const Cel* material = snapshot ? snapshot.get() : source;
    ce_handle kept = flags == 0 ? effectToKeep(material, range, at) : ce_handle();
    if (!kept.valid()) {
        replaceFrom(material, range, at, idMap);
        return;
    }
    const IdStamp effect = kept.getEffectGraph();
    kept.setEffectGraph(ChannelEvent::newId());
    try {
        replaceFrom(material, range, at, idMap);
    } catch (...) {
        kept.setEffectGraph(effect);
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
    const bool empty = valEqualsVal(range.start(), range.end());
    if (!empty && at >= 0.0 && replaceAtOnce(source, range, Range(at, end), idMap))
        return;
    if (at >= 0.0)
        remove(Range(at, end));
    else if (end > 0.0)
        remove(Range(0.0, end));
    if (!empty)
        insertFrom(source, range, std::max(at, 0.0), idMap);
}

bool Cel::replaceAtOnce(const Cel* source, const Range& range, const Range& onto,
                        const IdMap& idMap)
{
    const CutPlace from = placeOfCut(onto.start());
    const CutPlace to = placeOfCut(onto.end());
    const bool nothing = !(toGrid(range.length(), resolution_) > 0.0);
    if (keepsSegmentObjects() || nothing || from.kind == CutPlace::nowhere || !isPlain(from) ||
        !isPlain(to))
        return false;

    InsertionPlace place;
    place.at = onto.start();
    place.inGap = to.kind == CutPlace::nowhere;
    if (place.inGap) {
        // With nothing left behind the stretch, material goes to the frames of the track, behind
        // the section in front if that began before them.
        place.at = toGrid(onto.start(), resolution_);
        const int front = from.kind == CutPlace::insideSection ? from.in : from.in - 2;
        const double earliest = std::min(place.at, onto.start());
        if (front >= 0 && !isAfter(earliest, events_[static_cast<std::size_t>(front)].edit_time()))
            return false;
    }
    Splice splice = spliceOut(onto, from, to);
    // A hole in front of what follows is filled as well, and material goes behind what is too short
    // to be told from a cut; two edits do that better than one.
    const auto resumesAt = [&](std::size_t in) {
        return in < events_.size() &&
               valEqualsVal(events_[in].edit_time() + splice.closed, onto.start());
    };
    const bool atInPoint = to.kind == CutPlace::atInPoint;
    if ((atInPoint && !resumesAt(splice.end)) || resumesAt(splice.end + (atInPoint ? 2 : 0)))
        return false;
    // So is what is too short to be cut at the end.
    if (!place.inGap && isAfter(onto.start() + resolution_ * 0.5, get_end_time() + splice.closed))
        return false;
    InsertedMaterial material(*this, range, toGrid(place.at, resolution_), idMap,
                              blackAfter(splice));
    if (material.build(source))
        putIn(material, std::move(splice), place);
    else
        apply(splice);
    return true;
}

Cookie Cel::blackAfter(const Splice& splice) const
{
    const ChannelEvent* first = splice.first > 0              ? &events_.front()
                                : !splice.events.empty()      ? &splice.events.front()
                                : splice.end < events_.size() ? &events_[splice.end]
                                                              : nullptr;
    return first && first->strip_name().type() == kAudioCookie ? audio_black : video_black;
}

// Edits in one splice. Where no hook has to see the single steps, an edit is worked out aside, and
// then the track changes at once: one move of the events behind it and one pass over their times.
// What comes out is what the steps give; an edit that is not of the simple shape looked for here is
// left to them (range_editing.cpp).

#include "cel/Cel.h"

#include "cel/detail/InsertedMaterial.h"
#include "cel/detail/Splice.h"
#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <algorithm>
#include <cmath>

using cel::detail::CutPlace;
using cel::detail::cutSection;
using cel::detail::EventVector;
using cel::detail::InsertionPlace;
using cel::detail::isAfter;
using cel::detail::isPlain;
using cel::detail::Splice;
using cel::detail::SplicedEvents;
using cel::detail::toGrid;

// ---- taking a stretch out -----------------------------------------------------------------------

Splice Cel::spliceOfCut(const CutPlace& place, double t) const
{
    Splice splice;
    splice.first = static_cast<std::size_t>(place.in);
    splice.end = splice.first + 2;
    const auto halves =
        cutSection(events_[splice.first], events_[splice.first + 1], t, resolution_);
    splice.events = {halves.firstIn, halves.firstOut, halves.secondIn, halves.secondOut};
    splice.moving = 2;
    return splice;
}

std::optional<Splice> Cel::spliceOut(const Range& range) const
{
    const CutPlace from = placeOfCut(range.start());
    if (from.kind == CutPlace::nowhere || !isPlain(from))
        return {};
    Splice splice;
    splice.first = splice.end = static_cast<std::size_t>(from.in);
    if (from.kind == CutPlace::insideSection)
        splice = spliceOfCut(from, range.start());

    // The end is looked for where the first cut stands already, as the second cut finds it.
    const SplicedEvents cut(events_, splice);
    const CutPlace to = cel::detail::placeOfCut(cut, range.end());
    const std::size_t first = splice.boundary();
    const std::size_t stop = to.kind == CutPlace::nowhere ? cut.size() : std::size_t(to.in);
    const bool cutsEnd = to.kind == CutPlace::insideSection;
    if (!isPlain(to) || stop < first || (stop == first && !cutsEnd) || (stop - first) % 2 != 0)
        return {};

    EventVector events(splice.events.begin(),
                       splice.events.begin() + static_cast<std::ptrdiff_t>(splice.moving));
    double goneTo = range.end();
    std::size_t kept = stop; // the events from here on stay as they are
    if (cutsEnd) {
        const auto halves = cutSection(cut.event(stop), cut.event(stop + 1), goneTo, resolution_);
        events.insert(events.end(), {halves.secondIn, halves.secondOut});
        kept += 2;
    } else {
        goneTo = cut[stop - 1].edit_time();
    }
    splice.closed = cut[first].edit_time() - goneTo;
    splice.end = cut.inTrack(kept);
    splice.events = std::move(events);
    const auto pending = static_cast<std::size_t>(pendingInIndex_);
    const bool openSectionGoes =
        pendingInIndex_ >= 0 && pending >= splice.first && pending < splice.end;
    if (openSectionGoes || !std::isfinite(splice.closed))
        return {};
    return splice;
}

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

    const std::span tail = std::span(events_).subspan(splice.boundary());
    if (splice.ontoGrid)
        cel::detail::shiftOntoGrid(tail, splice.closed, splice.opened, resolution_);
    else
        cel::detail::shiftEditTimes(tail, splice.closed);
    dirty_ = 1;
}

// ---- putting material in ------------------------------------------------------------------------

void Cel::putIn(const InsertedMaterial& material, const InsertionPlace& place, Splice splice)
{
    splice.ontoGrid = true;
    splice.opened = material.end() - material.start() + place.blackBehind;
    const SplicedEvents around(events_, splice);
    const std::size_t boundary = splice.boundary();
    const bool hasBefore = boundary > 0;
    const bool hasBehind = boundary < around.size();

    EventVector inserted;
    inserted.reserve(material.events().size() + 4);
    bool meetsBefore = hasBefore;
    if (place.inGap) {
        double reached = hasBehind ? material.start() : 0.0;
        if (hasBefore)
            reached = around[boundary - 1].edit_time();
        if (toGrid(material.start() - reached, resolution_) > 0.0) {
            cel::detail::appendBlack(inserted, material.black(), reached, material.start());
            meetsBefore = false;
        }
    }
    inserted.insert(inserted.end(), material.events().begin(), material.events().end());
    if (place.inGap) {
        double resumed = material.end() + place.blackBehind;
        if (hasBehind)
            resumed = toGrid(around[boundary].edit_time() + splice.opened, resolution_);
        if (isAfter(resumed, material.end()))
            cel::detail::appendBlack(inserted, material.black(), material.end(), resumed);
    }

    splice.events.insert(splice.events.begin() + static_cast<std::ptrdiff_t>(splice.moving),
                         inserted.begin(), inserted.end());
    splice.moving += inserted.size();
    apply(splice);
    if (meetsBefore)
        alignOutPoint(boundary - 1, material.start());
    if (hasBehind && !place.inGap)
        alignInPoints(splice.boundary(), material.end());
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

bool Cel::replaceAtOnce(const Cel* source, const Range& range, const Range& onto,
                        const IdMap& idMap)
{
    std::optional<Splice> splice = spliceOut(onto);
    if (!splice || !(toGrid(range.length(), resolution_) > 0.0))
        return false;
    const SplicedEvents left(events_, *splice);
    const InsertionPlace place = placeOfInsertion(left, onto.start(), resolution_);
    const auto isSound = [](const ChannelEvent& event) {
        return event.strip_name().type() == kAudioCookie;
    };
    // The black of a track may change with its first event: then it is asked when the old one has
    // gone. And material that does not go exactly where the stretch was needs the steps.
    const bool sameBlack = isSound(events_.front()) == (left.size() > 0 && isSound(left.event(0)));
    if (!sameBlack || place.cut.kind == CutPlace::insideSection ||
        static_cast<std::size_t>(place.index) != splice->boundary())
        return false;

    InsertedMaterial material(*this, range, toGrid(place.at, resolution_), idMap, getBlackCookie());
    if (material.build(source))
        putIn(material, place, std::move(*splice));
    else
        apply(*splice);
    material.keepObjects();
    return true;
}

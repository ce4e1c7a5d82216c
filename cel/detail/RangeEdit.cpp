#include "cel/detail/RangeEdit.h"

#include "cel/detail/InsertedMaterial.h"
#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <algorithm>
#include <iterator>

using cel::detail::CutPlace;
using cel::detail::isAfter;
using cel::detail::isPlain;
using cel::detail::toGrid;

Cel::RangeEdit::RangeEdit(Cel& track)
    : track_(track)
    , formerDirty_(track.dirty_)
    , formerPending_(track.pendingInIndex_)
    , formerJournal_(track.journal_)
{
    if (track_.objectStore())
        track_.journal_ = &journal_;
}

Cel::RangeEdit::~RangeEdit()
{
    if (!finished_)
        takeBack();
    track_.journal_ = formerJournal_;
}

void Cel::RangeEdit::finish()
{
    finished_ = true;
    for (const ChannelEvent& event : taken_) {
        const bool isFree = !track_.objectStore() || journal_.goes(event.editGraph());
        if ((event.info() & in_point) && isFree)
            track_.destroySegmentObject(event.editGraph());
    }
}

// ---- cutting ------------------------------------------------------------------------------------

int Cel::RangeEdit::cutAt(double t)
{
    const CutPlace place = track_.placeOfCut(t);
    return place.kind == CutPlace::insideSection ? cut(place, t) : place.in;
}

int Cel::RangeEdit::cut(const CutPlace& place, double t)
{
    std::vector<ChannelEvent>& events = track_.events_;
    cel::detail::reserveMore(events, 2);
    cuts_.reserve(kMostCuts);
    const auto in = static_cast<std::size_t>(place.in);
    const auto out = static_cast<std::size_t>(place.out);
    const auto halves = cel::detail::cutSection(events[in], events[out], t, track_.resolution_);
    // Level changes up to the cut stay with the first half.
    std::size_t firstOut = in + 1;
    while (firstOut < out && !isAfter(events[firstOut].edit_time(), t))
        ++firstOut;
    const int secondIn = static_cast<int>(firstOut) + 1;
    const double share =
        (t - events[in].edit_time()) / (events[out].edit_time() - events[in].edit_time());
    cuts_.push_back({place.in, secondIn, place.out + 2, share, events[in], events[out]});

    events[in] = halves.firstIn;
    events[out] = halves.secondOut;
    const ChannelEvent between[] = {halves.firstOut, halves.secondIn};
    events.insert(events.begin() + static_cast<std::ptrdiff_t>(firstOut), std::begin(between),
                  std::end(between));
    track_.adjustEventCounts(halves.firstIn, true);
    track_.adjustEventCounts(halves.firstOut, true);
    if (track_.pendingInIndex_ == place.in)
        track_.pendingInIndex_ = secondIn;
    else if (track_.pendingInIndex_ > place.in)
        track_.pendingInIndex_ += 2;
    track_.dirty_ = 1;
    shareObject(cuts_.back());
    return secondIn;
}

void Cel::RangeEdit::shareObject(Cut& cut)
{
    // A hook may lengthen the list of events, so none of them is held across a call.
    const auto first = static_cast<std::size_t>(cut.in);
    const auto second = static_cast<std::size_t>(cut.secondIn);
    ChannelEvent firstIn = track_.events_[first];
    track_.copySegmentObject(track_.handleAt(cut.secondIn), firstIn, {}, 1.0, kResizeKeepHead);
    track_.events_[first] = firstIn;
    cut.copied = true;
    track_.resizeSegmentObject(firstIn.editGraph(), cut.share, kResizeKeepHead);
    track_.resizeSegmentObject(IdStamp(track_.events_[second].editGraph()), 1.0 - cut.share,
                               kResizeKeepTail);
    cut.resized = true;
}

// ---- taking a stretch out -----------------------------------------------------------------------

void Cel::RangeEdit::remove(const Range& range)
{
    const int first = cutAt(range.start());
    if (first < 0)
        return;
    // Kept: without a section at the end, in a hole too, all goes up to the end of the track.
    const int secondCut = cutAt(range.end());
    const int stop = secondCut < 0 ? track_.numEvents() : secondCut;
    // Kept: pairs by index. A level change in the stretch leaves its last event behind.
    const int pairs = (stop - first) / 2;
    if (first % 2 == 0 && pairs > 0)
        takeOut(first, pairs);
}

void Cel::RangeEdit::takeOut(int first, int pairs)
{
    const auto begin = track_.events_.begin() + first;
    const auto end = begin + 2 * pairs;
    timesBehind_.reserve(static_cast<std::size_t>(track_.events_.end() - end));
    std::transform(end, track_.events_.end(), std::back_inserter(timesBehind_),
                   [](const ChannelEvent& event) { return event.edit_time(); });
    if (track_.objectStore())
        std::for_each(begin, end, [this](const ChannelEvent& event) {
            if (event.info() & in_point)
                journal_.goesInTheEnd(event.editGraph());
        });
    taken_.assign(begin, end);
    takenFrom_ = static_cast<std::size_t>(first);
    cutsBeforeTaking_ = cuts_.size();
    track_.takePairs(first, pairs, true);
}

// ---- putting material in ------------------------------------------------------------------------

void Cel::RangeEdit::insert(const Cel* source, const Range& range, double at, const IdMap& idMap)
{
    auto place = cel::detail::placeOfInsertion(track_.events_, at, track_.resolution_);
    const bool nothing = !(toGrid(range.length(), track_.resolution_) > 0.0);
    const bool showsSteps = track_.keepsSegmentObjects();
    const bool splitsOpen = track_.pendingInIndex_ >= 0 && track_.pendingInIndex_ == place.cut.in;
    const bool cutsFirst = place.cut.kind == CutPlace::insideSection &&
                           (nothing || showsSteps || splitsOpen || !isPlain(place.cut));
    // A track put into itself is read as it was before.
    const bool readsItself = source == &track_ && (cutsFirst || showsSteps);
    const Kt::Ptr<Cel> snapshot = readsItself ? track_.snapshotForHooks() : Kt::Ptr<Cel>();
    if (cutsFirst) {
        place.index = cut(place.cut, place.at);
        place.cut = {};
    }
    if (nothing)
        return;

    InsertedMaterial material(track_, range, toGrid(place.at, track_.resolution_), idMap,
                              track_.getBlackCookie());
    const bool splitsAtOnce = place.cut.kind == CutPlace::insideSection;
    if (material.build(snapshot ? snapshot.get() : source)) {
        cel::detail::Splice splice;
        if (splitsAtOnce)
            splice = track_.spliceOfCut(place.cut, place.at);
        else
            splice.first = splice.end = static_cast<std::size_t>(place.index);
        track_.putIn(material, place, std::move(splice));
    } else if (splitsAtOnce) {
        cut(place.cut, place.at);
    }
    material.keepObjects();
}

// ---- taking an edit back ------------------------------------------------------------------------

void Cel::RangeEdit::takeBack() noexcept
{
    track_.journal_ = nullptr;
    std::size_t standing = cuts_.size();
    while (standing > cutsBeforeTaking_)
        join(cuts_[--standing]);
    if (!taken_.empty())
        putBackTaken();
    while (standing > 0)
        join(cuts_[--standing]);
    track_.pendingInIndex_ = formerPending_;
    if (track_.objectStore())
        journal_.takeBack(*track_.objectStore());
    track_.dirty_ = formerDirty_;
}

void Cel::RangeEdit::join(const Cut& cut) noexcept
{
    std::vector<ChannelEvent>& events = track_.events_;
    const auto in = static_cast<std::size_t>(cut.in);
    const IdStamp copy = events[in].editGraph();
    const auto between = events.begin() + (cut.secondIn - 1);
    track_.adjustEventCounts(events[in], false);
    track_.adjustEventCounts(*between, false);
    events[in] = cut.formerIn;
    events[static_cast<std::size_t>(cut.out)] = cut.formerOut;
    events.erase(between, between + 2);

    if (cut.copied)
        track_.destroySegmentObject(copy);
    if (!cut.resized)
        return;
    try {
        track_.resizeSegmentObject(cut.formerIn.editGraph(), 1.0 / (1.0 - cut.share),
                                   kResizeKeepTail);
    } catch (...) {
        return; // what the hook refuses stays as it is; the rest is taken back all the same
    }
}

void Cel::RangeEdit::putBackTaken() noexcept
{
    std::vector<ChannelEvent>& events = track_.events_;
    const auto at = events.begin() + static_cast<std::ptrdiff_t>(takenFrom_);
    events.insert(at, taken_.begin(), taken_.end());
    std::size_t behind = takenFrom_ + taken_.size();
    for (const double time : timesBehind_)
        events[behind++].edit_time(time);
    for (const ChannelEvent& event : taken_)
        track_.adjustEventCounts(event, true);
}

#include "cel/Cel.h"

#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <typeinfo>

using cel::detail::cutSection;
using cel::detail::isAfter;
using cel::detail::SectionCut;

bool Cel::keepsSegmentObjects() const
{
    return objectStore() || typeid(*this) != typeid(Cel);
}

Cel::CutPlace Cel::placeOfCut(double t) const
{
    const int in = cel::detail::findEvent(events_, t, in_point, -1);
    if (in < 0)
        return {};
    // The in point is found within the tolerance; one that only just differs is the same cut.
    if (!isAfter(t, events_[static_cast<std::size_t>(in)].edit_time()))
        return {in, in, CutPlace::atInPoint};
    const int out = cel::detail::matchingOut(events_, in);
    if (out == numEvents() || !isAfter(events_[static_cast<std::size_t>(out)].edit_time(), t))
        return {};
    return {in, out, CutPlace::insideSection};
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
    return handleAt(openCut(place, t).secondIn);
}

Cel::OpenedCut Cel::openCut(const CutPlace& place, double t)
{
    cel::detail::reserveMore(events_, 2);
    const auto in = static_cast<std::size_t>(place.in);
    const auto out = static_cast<std::size_t>(place.out);
    const OpenedCut opened{place.in,    secondInIndex(place, t), place.out + 2,
                           dirty_,      pendingInIndex_,         events_[in],
                           events_[out]};
    const SectionCut halves = cutSection(opened.formerIn, opened.formerOut, t, resolution_);
    const double share = (t - opened.formerIn.edit_time()) /
                         (opened.formerOut.edit_time() - opened.formerIn.edit_time());

    events_[in] = halves.firstIn;
    events_[out] = halves.secondOut;
    const ChannelEvent between[] = {halves.firstOut, halves.secondIn};
    events_.insert(events_.begin() + (opened.secondIn - 1), std::begin(between), std::end(between));
    adjustEventCounts(halves.firstIn, true);
    adjustEventCounts(halves.firstOut, true);
    if (pendingInIndex_ == place.in)
        pendingInIndex_ = opened.secondIn;
    else if (pendingInIndex_ > place.in)
        pendingInIndex_ += 2;
    dirty_ = 1;

    try {
        shareSegmentObject(opened, share);
    } catch (...) {
        undoCut(opened);
        throw;
    }
    return opened;
}

int Cel::secondInIndex(const CutPlace& place, double t) const
{
    // Level changes up to the cut stay with the first half.
    int index = place.in + 1;
    while (index < place.out && !isAfter(events_[static_cast<std::size_t>(index)].edit_time(), t))
        ++index;
    return index + 1;
}

void Cel::shareSegmentObject(const OpenedCut& cut, double share)
{
    // A hook may lengthen the list of events, so none of them is held across a call.
    const auto first = static_cast<std::size_t>(cut.in);
    const auto second = static_cast<std::size_t>(cut.secondIn);
    ChannelEvent firstIn = events_[first];
    copySegmentObject(handleAt(cut.secondIn), firstIn, {}, 1.0, kResizeKeepHead);
    events_[first] = firstIn;
    resizeSegmentObject(firstIn.editGraph(), share, kResizeKeepHead);
    resizeSegmentObject(IdStamp(events_[second].editGraph()), 1.0 - share, kResizeKeepTail);
}

void Cel::undoCut(const OpenedCut& cut) noexcept
{
    const ChannelEvent firstIn = events_[static_cast<std::size_t>(cut.in)];
    adjustEventCounts(firstIn, false);
    adjustEventCounts(events_[static_cast<std::size_t>(cut.secondIn) - 1], false);
    events_[static_cast<std::size_t>(cut.in)] = cut.formerIn;
    events_[static_cast<std::size_t>(cut.out)] = cut.formerOut;
    const auto between = events_.begin() + (cut.secondIn - 1);
    events_.erase(between, between + 2);
    pendingInIndex_ = cut.formerPending;
    dirty_ = cut.formerDirty;
    destroySegmentObject(firstIn.editGraph());
}

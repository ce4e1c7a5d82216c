#include "cel/Cel.h"

#include "cel/detail/Additions.h"
#include "cel/detail/faults.h"
#include "cel/detail/grid.h"
#include "cel/detail/sections.h"
#include "platform/support/Log.h"

#include <algorithm>
#include <cmath>

using cel::detail::fail;
using cel::detail::kCelModule;

// ---- onto the frames --------------------------------------------------------------------------

Kt::Ptr<Cel> Cel::quantise() const
{
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size());
    const auto eventAt = [this](std::size_t i) -> const ChannelEvent& { return events_[i]; };
    const auto ontoGrid = [this](ChannelEvent& event, std::size_t) {
        event.edit_time(cel::detail::toGrid(event.edit_time(), resolution_));
    };
    const auto repair = [&](std::size_t i) {
        track->repairQuantised(events_[i].quantise(resolution_),
                               i == 0 ? nullptr : &events_[i - 1]);
    };
    track->addEvents(events_.size(), eventAt, ontoGrid, repair);
    return track;
}

void Cel::repairQuantised(const ChannelEvent& refused, const ChannelEvent* before)
{
    if (!before)
        fail("cel:failed to fixup invalid quantisation\n", kCelModule, __LINE__);
    events_.pop_back();
    ChannelEvent repaired = refused;
    repaired.edit_time(before->edit_time());
    repaired.strip_time(refused.strip_time() - (refused.edit_time() - before->edit_time()));
    repaired = repaired.quantise(resolution_);
    // An out point has lost its section with this and stays refused.
    pendingInIndex_ = -1;
    if (!addEvent(repaired))
        fail("cel:failed to fixup invalid quantisation\n", kCelModule, __LINE__);
    LogBoth("cel:fixed invalid quantisation old st %.2f et %.2f, new st %.2f et %.2f\n",
            refused.strip_time(), refused.edit_time(), repaired.strip_time(), repaired.edit_time());
}

void Cel::quantiseInPlace()
{
    if (cel::detail::shiftOntoGrid(events_, 0.0, 0.0, resolution_))
        dirty_ = 1;
}

void Cel::quantiseCelEnd()
{
    if (events_.empty())
        return;
    const ChannelEvent onGrid = events_.back().quantise(resolution_);
    if (onGrid.edit_time() != events_.back().edit_time())
        dirty_ = 1;
    events_.back() = onGrid;
}

int Cel::quantise_check() const
{
    const auto off =
        std::find_if(events_.begin(), events_.end(), [this](const ChannelEvent& event) {
            return !isQuantised(event.edit_time(), resolution_);
        });
    return off == events_.end() ? 0 : static_cast<int>(off - events_.begin());
}

// ---- backwards --------------------------------------------------------------------------------

Kt::Ptr<Cel> Cel::reverse() const
{
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size());
    if (events_.empty())
        return track;
    // Identifiers go with the section, whose in point was its out point: one place on.
    const double start = get_start_time();
    const double end = get_end_time();
    const std::size_t last = events_.size() - 1;
    const auto eventAt = [&](std::size_t i) -> const ChannelEvent& { return events_[last - i]; };
    const auto mirror = [&](ChannelEvent& event, std::size_t i) {
        event.mirror(start, end);
        if (i < last)
            event.editGraph(events_[last - i - 1].editGraph());
        else if (last > 0)
            event.editGraph(IdStamp(0, 0, 0));
    };
    track->addEvents(events_.size(), eventAt, mirror, cel::detail::leaveRefused);
    return track;
}

// ---- to another length ------------------------------------------------------------------------

Kt::Ptr<Cel> Cel::rescale(double sourceStart, double sourceEnd, double start, double end,
                          double levelStart, double levelEnd, double quantum, int flags) const
{
    if (sourceStart > sourceEnd) {
        qa_splat("Cel::rescale: ets must be < ete", 0);
        return emptyTrackFor(0);
    }
    const double grid =
        quantum >= cel::kTimeEpsilon && std::isfinite(quantum) ? quantum : resolution_;
    const bool backwards = end < start;
    const double from = std::min(start, end);
    const double to = std::max(start, end);
    const Kt::Ptr<Cel> stretch = extract(sourceStart, sourceEnd, static_cast<unsigned>(flags));
    Kt::Ptr<Cel> track = emptyTrackFor(stretch->events_.size());
    const auto eventAt = [&](std::size_t i) -> const ChannelEvent& { return stretch->events_[i]; };
    const auto scale = [&](ChannelEvent& event, std::size_t) {
        event =
            event.rescale(from, to, sourceStart, sourceEnd, levelStart, levelEnd).quantise(grid);
    };
    const std::size_t count = stretch->events_.size();
    if (!backwards) {
        track->addEvents(count, eventAt, scale, cel::detail::leaveRefused);
        return track;
    }
    // Backwards the events keep their unset speed until reverse() lays them anew: so they play
    // backwards, not in backward order.
    track->events_ = stretch->events_;
    for (ChannelEvent& event : track->events_)
        scale(event, 0);
    return track->reverse();
}

#include "cel/Cel.h"

#include "cel/detail/Additions.h"
#include "cel/detail/Compaction.h"
#include "cel/detail/event_array.h"
#include "cel/detail/room.h"
#include "platform/support/Log.h"

#include <algorithm>
#include <cmath>

using cel::isRealTime;
using cel::kTimeEpsilon;

namespace {

bool refuse(const char* reason)
{
    Cel::reportError(reason);
    return false;
}

/// Speeds that are meant to be still, normal or reverse become exactly that.
float snappedSpeed(float velocity)
{
    for (const float plain : {1.0F, 0.0F, -1.0F})
        if (std::fabs(double(velocity) - double(plain)) <= kTimeEpsilon)
            return plain;
    return velocity;
}

/// The speed of a section whose out point has just come: the out point's own, else the one that
/// its strip time asks for.
float sectionSpeed(const ChannelEvent& in, const ChannelEvent& out)
{
    if (cel::detail::isSetVelocity(out.velocity()))
        return out.velocity();
    const double length = out.edit_time() - in.edit_time();
    if (out.strip_time() == cel::kUnsetTime || length < kTimeEpsilon)
        return 1.0F;
    const auto speed = static_cast<float>((out.strip_time() - in.strip_time()) / length);
    return std::isfinite(speed) ? snappedSpeed(speed) : 1.0F;
}

} // namespace

void Cel::reportError(const char* text)
{
    logStacktrace(text);
}

int Cel::addEvent(const ChannelEvent& event)
{
    events_.push_back(event);
    return admitLast();
}

int Cel::admitLast()
{
    const std::size_t added = events_.size() - 1;
    const ce_info kind = events_[added].info();

    if ((kind & in_point) && !admitInPoint(added))
        return 0;
    if ((kind & out_point) && !admitOutPoint(added))
        return 0;
    if ((kind & level_change) && pendingInIndex_ == -1)
        return refuse("Cel::addEvent() : invalid in point");
    if (!(events_[added].level_sc() >= cel::detail::kLowestLevel))
        return refuse("Cel::addEvent() : invalid level");
    if (added > 0 && events_[added - 1].edit_time() > events_[added].edit_time() + kTimeEpsilon)
        return refuse("Cel::addEvent() : invalid event time");

    adjustEventCounts(events_[added], true);
    dirty_ = 1;
    return 1;
}

bool Cel::admitInPoint(std::size_t index)
{
    ChannelEvent& in = events_[index];
    if (pendingInIndex_ != -1)
        return refuse("Cel::addEvent() : unmatched events");
    // Kept: both texts say "end" although it is the start; log readers know them so.
    if (!isRealTime(in.strip_time()))
        return refuse("Cel::addEvent() : invalid end strip time");
    if (!isRealTime(in.edit_time()))
        return refuse("Cel::addEvent() : invalid end edit time");
    if (!cel::detail::isSetVelocity(in.velocity()))
        in.velocity(1.0F);
    pendingInIndex_ = static_cast<std::int32_t>(index);
    return true;
}

bool Cel::admitOutPoint(std::size_t index)
{
    ChannelEvent& out = events_[index];
    const ChannelEvent* in =
        pendingInIndex_ == -1 ? nullptr : &events_[static_cast<std::size_t>(pendingInIndex_)];

    if (!isRealTime(out.strip_time()) && out.strip_time() != cel::kUnsetTime) {
        if (!in || !cel::detail::isSetVelocity(in->velocity()))
            return refuse("Cel::addEvent() : invalid out_point strip time");
        Log("Cel::addEvent() : (5) Fixing invalid out_point strip time\n");
        out.strip_time((out.edit_time() - in->edit_time()) * double(in->velocity()) +
                       in->strip_time());
    }
    if (!isRealTime(out.edit_time()))
        return refuse("Cel::addEvent() : unspecified edit time");
    if (!in)
        return refuse("Cel::addEvent() : invalid in point");

    closePendingSection(index, sectionSpeed(*in, out));
    return true;
}

void Cel::closePendingSection(std::size_t outIndex, float velocity)
{
    const auto inIndex = static_cast<std::size_t>(pendingInIndex_);
    const std::span section = std::span(events_).subspan(inIndex, outIndex - inIndex + 1);
    for (ChannelEvent& event : section)
        event.velocity(velocity);
    cel::detail::layOnStripLine(section, double(velocity));
    pendingInIndex_ = -1;
}

ce_handle Cel::appendEventPair(const Cookie& material, double stripStart, double duration,
                               double editStart)
{
    return insertEventPair(numEvents(), material, stripStart, duration, editStart);
}

ce_handle Cel::insertEventPair(int index, const Cookie& material, double stripStart,
                               double duration, double editStart)
{
    if (index < 0 || index % 2 != 0 || index > numEvents())
        return {};
    if (!std::isfinite(stripStart) || !std::isfinite(duration))
        return {};

    double inEdit = 0.0;
    if (events_.empty())
        inEdit = editStart >= 0.0 ? editStart : 0.0;
    else if (index > 0)
        inEdit = events_[static_cast<std::size_t>(index) - 1].edit_time();
    cel::detail::reserveMore(events_, 2);
    const IdStamp freshId(0, 0, 0);
    ChannelEvent in(inEdit, stripStart, material, 1.0F, in_point, freshId, 0);
    ChannelEvent out(inEdit + duration, stripStart + duration, material, 1.0F, out_point, freshId,
                     0);

    if (index == numEvents()) {
        const int inAccepted = addEvent(in);
        // Also after a refusal, so that the events stay in pairs.
        const int outAccepted = addEvent(out);
        return inAccepted && outAccepted ? handleAt(numEvents() - 2) : ce_handle();
    }

    in.velocity(1.0F);
    out.velocity(1.0F);
    const ChannelEvent pair[] = {in, out};
    events_.insert(events_.begin() + index, std::begin(pair), std::end(pair));
    adjustEventCounts(in, true);
    adjustEventCounts(out, true);
    if (pendingInIndex_ >= index)
        pendingInIndex_ += 2;
    if (duration != 0.0)
        cel::detail::shiftEditTimes(std::span(events_).subspan(static_cast<std::size_t>(index) + 2),
                                    duration);
    dirty_ = 1;
    return handleAt(index);
}

int Cel::removeEventPairs(int index, int pairs, bool shuffle)
{
    if (index < 0 || index % 2 != 0 || index >= numEvents() || pairs <= 0)
        return 0;
    const int taken = std::min(pairs, (numEvents() - index) / 2);
    if (taken == 0)
        return 0;

    RemovedObjects removed(*this);
    for (const ChannelEvent& event : std::span(events_).subspan(
             static_cast<std::size_t>(index), static_cast<std::size_t>(taken) * 2))
        removed.add(event);
    takePairs(index, taken, shuffle);
    return taken;
}

void Cel::takePairs(int index, int pairs, bool shuffle)
{
    const int count = pairs * 2;
    const auto first = events_.begin() + index;
    const auto last = first + count;
    const double length = (last - 1)->edit_time() - first->edit_time();
    for (auto event = first; event != last; ++event)
        adjustEventCounts(*event, false);
    events_.erase(first, last);
    if (pendingInIndex_ >= index + count)
        pendingInIndex_ -= count;
    else if (pendingInIndex_ >= index)
        pendingInIndex_ = -1;
    if (shuffle && std::isfinite(length))
        cel::detail::shiftEditTimes(std::span(events_).subspan(static_cast<std::size_t>(index)),
                                    -length);
    dirty_ = 1;
}

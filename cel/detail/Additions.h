#pragma once

#include "cel/Cel.h"

#include "cel/detail/counts.h"
#include "cel/detail/event_array.h"

/// Admission of sections as they mostly are, in the loops that add many: what it says is what
/// `addEvent` says of the two events of such a section, one after the other.
namespace cel::detail {

inline constexpr double kLowestLevel = -1e-6;

/// What was refused stays on the track, and the log says so.
inline void leaveRefused(std::size_t) {}

} // namespace cel::detail

/// Admits the last two events if they are a section that admission takes as it is.
/// @return false, having changed nothing, when they need a closer look.
inline bool Cel::admitPlainSection()
{
    const std::size_t first = events_.size() - 2;
    ChannelEvent& in = events_[first];
    ChannelEvent& out = events_[first + 1];
    const auto isAdmissible = [](const ChannelEvent& event) {
        return cel::isRealTime(event.edit_time()) && cel::isRealTime(event.strip_time()) &&
               event.level_sc() >= cel::detail::kLowestLevel;
    };
    const auto inOrder = [](const ChannelEvent& a, const ChannelEvent& b) {
        return !(a.edit_time() > b.edit_time() + cel::kTimeEpsilon);
    };
    const float speed = out.velocity();
    if (pendingInIndex_ != -1 || in.info() != in_point || out.info() != out_point ||
        !isAdmissible(in) || !isAdmissible(out) || !cel::detail::isSetVelocity(speed) ||
        !inOrder(in, out) || (first > 0 && !inOrder(events_[first - 1], in)))
        return false;

    in.velocity(speed);
    const double strip = in.strip_time();
    in.strip_time(0.0 * double(speed) + strip);
    out.strip_time((out.edit_time() - in.edit_time()) * double(speed) + strip);
    adjustEventCounts(in, true);
    adjustEventCounts(out, true);
    dirty_ = 1;
    return true;
}

/// Adds `count` events, each as `addEvent` does, at the cost of copying them where they are plain
/// sections.
/// @param eventAt  the event to copy for a place in the order of addition.
/// @param change   makes of the copy, where it stands, what is to be added. Events are not changed
///                 on their way: reading back as a whole what was written in parts stalls.
/// @param repair   called with the place of an event that was refused.
template <class EventAt, class Change, class Repair>
void Cel::addEvents(std::size_t count, const EventAt& eventAt, const Change& change,
                    const Repair& repair)
{
    const auto append = [&](std::size_t i) {
        events_.push_back(eventAt(i));
        change(events_.back(), i);
    };
    for (std::size_t i = 0; i < count; ++i) {
        append(i);
        if (i + 1 < count) {
            append(i + 1);
            if (admitPlainSection()) {
                ++i;
                continue;
            }
            events_.pop_back();
        }
        if (!admitLast())
            repair(i);
    }
}

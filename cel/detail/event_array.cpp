#include "cel/detail/event_array.h"

#include "cel/detail/event_search.h"
#include "cel/detail/grid.h"

namespace cel::detail {

int findEvent(ConstEventSpan events, double t, ce_info filter, int seed)
{
    return searchEvents(events, t, filter, seed);
}

int matchingIn(ConstEventSpan events, int index)
{
    while (index >= 0 && events[static_cast<std::size_t>(index)].info() != in_point)
        --index;
    return index;
}

int matchingOut(ConstEventSpan events, int index)
{
    return nextOut(events, index);
}

int nextIn(ConstEventSpan events, int index)
{
    const int count = static_cast<int>(events.size());
    while (index < count && events[static_cast<std::size_t>(index)].info() != in_point)
        ++index;
    return index;
}

bool trimMark(const ChannelEvent& event, const ChannelEvent* in)
{
    const trim_type own = event.get_trim_type();
    if (event.info() == in_point)
        return own == trim_black || own == trim_roll_black;
    if (event.info() != out_point)
        return false;
    const trim_type ofIn = in ? in->get_trim_type() : trim_none;
    const bool turned = ofIn == trim_start || ofIn == trim_roll_black;
    return turned != (own == trim_end);
}

void shiftEditTimes(EventSpan events, double seconds)
{
    for (ChannelEvent& event : events)
        event.edit_time(event.edit_time() + seconds);
}

bool shiftOntoGrid(EventSpan events, double closed, double opened, double quantum)
{
    const double countable = countableOnGrid(quantum);
    bool moved = false;
    for (ChannelEvent& event : events) {
        const double shifted = (event.edit_time() + closed) + opened;
        const bool counts = shifted >= 0.0 && shifted < countable;
        const double time = counts ? countToGrid(shifted, quantum) : toGrid(shifted, quantum);
        moved |= time != event.edit_time();
        event.edit_time(time);
    }
    return moved;
}

void layOnStripLine(EventSpan section, double speed)
{
    const double edit = section.front().edit_time();
    const double strip = section.front().strip_time();
    for (ChannelEvent& event : section)
        event.strip_time((event.edit_time() - edit) * speed + strip);
}

double effectiveSpeed(const ChannelEvent& event)
{
    return isSetVelocity(event.velocity()) ? double(event.velocity()) : 1.0;
}

} // namespace cel::detail

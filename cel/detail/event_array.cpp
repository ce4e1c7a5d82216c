#include "cel/detail/event_array.h"

#include "cel/detail/grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace cel::detail {

namespace {

/// Search bracket: everything up to `lo` is before the time, everything from `hi` on is not.
struct Bracket
{
    std::int64_t lo;
    std::int64_t hi;
};

/// The same test, bit for bit, wherever a search asks: else a seed could change its answer.
bool isBefore(const ChannelEvent& event, double t)
{
    return t - kTimeEpsilon > event.edit_time();
}

Bracket gallopForward(ConstEventSpan events, double t, std::int64_t seed)
{
    const auto count = static_cast<std::int64_t>(events.size());
    Bracket bracket{seed, seed + 1};
    for (std::int64_t step = 1;
         bracket.hi < count && isBefore(events[static_cast<std::size_t>(bracket.hi)], t);) {
        bracket.lo = bracket.hi;
        step *= 2;
        bracket.hi += step;
    }
    bracket.hi = std::min(bracket.hi, count);
    return bracket;
}

Bracket gallopBackward(ConstEventSpan events, double t, std::int64_t seed)
{
    Bracket bracket{seed - 1, seed};
    for (std::int64_t step = 1;
         bracket.lo >= 0 && !isBefore(events[static_cast<std::size_t>(bracket.lo)], t);) {
        bracket.hi = bracket.lo;
        step *= 2;
        bracket.lo = bracket.hi - step;
    }
    bracket.lo = std::max<std::int64_t>(bracket.lo, -1);
    return bracket;
}

Bracket initialBracket(ConstEventSpan events, double t, int seed)
{
    if (seed < 0)
        return {-1, static_cast<std::int64_t>(events.size())};
    const bool forward = isBefore(events[static_cast<std::size_t>(seed)], t);
    return forward ? gallopForward(events, t, seed) : gallopBackward(events, t, seed);
}

bool isAt(const ChannelEvent& event, double t)
{
    return !(event.edit_time() > t + kTimeEpsilon) && !isBefore(event, t);
}

/// An event at the time, else the last one before it, else -1 outside the track.
std::int64_t bisect(ConstEventSpan events, double t, Bracket bracket)
{
    const double latest = t + kTimeEpsilon;
    const double earliest = t - kTimeEpsilon;
    auto [lo, hi] = bracket;
    while (hi - lo > 1) {
        const std::int64_t mid = lo + (hi - lo) / 2;
        const double time = events[static_cast<std::size_t>(mid)].edit_time();
        if (time > latest)
            hi = mid;
        else if (earliest > time)
            lo = mid;
        else
            return mid;
    }
    const auto count = static_cast<std::int64_t>(events.size());
    if (hi == count)
        return -1;
    // Galloping may end with the event at the time as the upper end; looked at here, a seed never
    // changes the answer.
    return isAt(events[static_cast<std::size_t>(hi)], t) ? hi : lo;
}

} // namespace

int findEvent(ConstEventSpan events, double t, ce_info filter, int seed)
{
    if (events.empty() || std::isnan(t))
        return -1;
    std::int64_t found = bisect(events, t, initialBracket(events, t, seed));
    if (found < 0)
        return -1;

    const auto last = static_cast<std::int64_t>(events.size()) - 1;
    while (found < last &&
           !(events[static_cast<std::size_t>(found + 1)].edit_time() > t + kTimeEpsilon))
        ++found;
    while (found >= 0 && (events[static_cast<std::size_t>(found)].info() & filter) == 0)
        --found;
    return static_cast<int>(found);
}

int matchingIn(ConstEventSpan events, int index)
{
    while (index >= 0 && events[static_cast<std::size_t>(index)].info() != in_point)
        --index;
    return index;
}

int matchingOut(ConstEventSpan events, int index)
{
    const int count = static_cast<int>(events.size());
    while (index < count && events[static_cast<std::size_t>(index)].info() != out_point)
        ++index;
    return index;
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

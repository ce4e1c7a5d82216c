#pragma once

#include "cel/ChannelEvent.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

/// Searches by time. `Events` is an array of events, or what looks like one: it has a size and
/// entries with an edit time and a kind. Safe on any of them, whatever the order of the times.
namespace cel::detail {

/// Whether `a` is later than `b` by more than the tolerance.
inline bool isAfter(double a, double b)
{
    return a > b + kTimeEpsilon;
}

/// Search bracket: everything up to `lo` is before the time, everything from `hi` on is not.
struct Bracket
{
    std::int64_t lo;
    std::int64_t hi;
};

template <class Events>
double timeAt(const Events& events, std::int64_t index)
{
    return events[static_cast<std::size_t>(index)].edit_time();
}

/// The same test, bit for bit, wherever a search asks: else a seed could change its answer.
inline bool isBefore(double eventTime, double t)
{
    return t - kTimeEpsilon > eventTime;
}

template <class Events>
Bracket gallopForward(const Events& events, double t, std::int64_t seed)
{
    const auto count = static_cast<std::int64_t>(events.size());
    Bracket bracket{seed, seed + 1};
    for (std::int64_t step = 1; bracket.hi < count && isBefore(timeAt(events, bracket.hi), t);) {
        bracket.lo = bracket.hi;
        step *= 2;
        bracket.hi += step;
    }
    bracket.hi = std::min(bracket.hi, count);
    return bracket;
}

template <class Events>
Bracket gallopBackward(const Events& events, double t, std::int64_t seed)
{
    Bracket bracket{seed - 1, seed};
    for (std::int64_t step = 1; bracket.lo >= 0 && !isBefore(timeAt(events, bracket.lo), t);) {
        bracket.hi = bracket.lo;
        step *= 2;
        bracket.lo = bracket.hi - step;
    }
    bracket.lo = std::max<std::int64_t>(bracket.lo, -1);
    return bracket;
}

template <class Events>
Bracket initialBracket(const Events& events, double t, int seed)
{
    if (seed < 0)
        return {-1, static_cast<std::int64_t>(events.size())};
    return isBefore(timeAt(events, seed), t) ? gallopForward(events, t, seed)
                                             : gallopBackward(events, t, seed);
}

/// An event at the time, else the last one before it, else -1 outside the track.
template <class Events>
std::int64_t bisect(const Events& events, double t, Bracket bracket)
{
    const double latest = t + kTimeEpsilon;
    const double earliest = t - kTimeEpsilon;
    auto [lo, hi] = bracket;
    while (hi - lo > 1) {
        const std::int64_t mid = lo + (hi - lo) / 2;
        const double time = timeAt(events, mid);
        if (time > latest)
            hi = mid;
        else if (earliest > time)
            lo = mid;
        else
            return mid;
    }
    if (hi == static_cast<std::int64_t>(events.size()))
        return -1;
    // Galloping may end with the event at the time as the upper end; looked at here, a seed never
    // changes the answer.
    const double above = timeAt(events, hi);
    return !(above > latest) && !isBefore(above, t) ? hi : lo;
}

/// See `findEvent`.
template <class Events>
int searchEvents(const Events& events, double t, ce_info filter, int seed)
{
    const auto last = static_cast<std::int64_t>(events.size()) - 1;
    if (last < 0 || std::isnan(t))
        return -1;
    std::int64_t found = bisect(events, t, initialBracket(events, t, seed));
    if (found < 0)
        return -1;

    while (found < last && !(timeAt(events, found + 1) > t + kTimeEpsilon))
        ++found;
    while (found >= 0 && (events[static_cast<std::size_t>(found)].info() & filter) == 0)
        --found;
    return static_cast<int>(found);
}

/// Index of the first out point from `index` on; the size when there is none.
template <class Events>
int nextOut(const Events& events, int index)
{
    const int count = static_cast<int>(events.size());
    while (index < count && events[static_cast<std::size_t>(index)].info() != out_point)
        ++index;
    return index;
}

/// Where a cut at a time falls.
struct CutPlace
{
    enum { nowhere, atInPoint, insideSection } kind = nowhere;
    int in = -1;
    int out = -1;
};

/// Whether a place is of the shape that tracks without level changes have: the section is a pair at
/// an even index.
inline bool isPlain(const CutPlace& place)
{
    if (place.kind == CutPlace::nowhere)
        return true;
    return place.in % 2 == 0 && (place.kind == CutPlace::atInPoint || place.out == place.in + 1);
}

template <class Events>
CutPlace placeOfCut(const Events& events, double t)
{
    const int in = searchEvents(events, t, in_point, -1);
    if (in < 0)
        return {};
    // The in point is found within the tolerance; one that only just differs is the same cut.
    if (!isAfter(t, timeAt(events, in)))
        return {CutPlace::atInPoint, in, in};
    const int out = nextOut(events, in);
    if (out == static_cast<int>(events.size()) || !isAfter(timeAt(events, out), t))
        return {};
    return {CutPlace::insideSection, in, out};
}

} // namespace cel::detail

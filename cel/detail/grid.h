#pragma once

#include "cel/edit_time.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace cel::detail {

/// `std::floor` as straight-line code: the baseline processor has no instruction for it, and a call
/// per event would cost more than all else that an edit does to the event.
inline double floorOf(double value)
{
    constexpr double kIntegersOnly = 0x1p52; // from here on every double is a whole number
    const double magnitude = std::fabs(value);
    double rounded = std::copysign((magnitude + kIntegersOnly) - kIntegersOnly, value);
    rounded -= rounded > value ? 1.0 : 0.0;
    return magnitude < kIntegersOnly ? rounded : value;
}

/// Times from 0 to here have a place on the grid that an integer can count: below every sentinel.
inline double countableOnGrid(double quantum)
{
    return std::min(kEndlessTime, 0x1p52 * quantum);
}

/// The nearest multiple of a quantum to a countable time. Cut off toward zero, which is the floor
/// from 0 on: without a branch that every second time would take.
inline double countToGrid(double t, double quantum)
{
    return static_cast<double>(static_cast<std::int64_t>(t / quantum + 0.5)) * quantum;
}

/// The nearest multiple of a quantum that was checked already; sentinel times stay.
inline double toGrid(double t, double quantum)
{
    if (t >= 0.0 && t < countableOnGrid(quantum)) [[likely]]
        return countToGrid(t, quantum);
    const bool sentinel = t == kInvalidTime || t == kEndlessTime || t == kUnsetTime;
    return sentinel ? t : floorOf(t / quantum + 0.5) * quantum;
}

} // namespace cel::detail

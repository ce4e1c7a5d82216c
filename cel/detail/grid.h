#pragma once

#include "cel/edit_time.h"

#include <cmath>

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

/// The nearest multiple of a quantum that was checked already; sentinel times stay.
inline double toGrid(double t, double quantum)
{
    const bool sentinel = t == kInvalidTime || t == kEndlessTime || t == kUnsetTime;
    return sentinel ? t : floorOf(t / quantum + 0.5) * quantum;
}

} // namespace cel::detail

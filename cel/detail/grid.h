#pragma once

#include "cel/edit_time.h"

#include <cmath>

namespace cel::detail {

/// The nearest multiple of a quantum that was checked already; sentinel times stay. Straight-line
/// code, so that a loop over a track's times stays one.
inline double toGrid(double t, double quantum)
{
    const bool sentinel = t == kInvalidTime || t == kEndlessTime || t == kUnsetTime;
    return sentinel ? t : std::floor(t / quantum + 0.5) * quantum;
}

} // namespace cel::detail

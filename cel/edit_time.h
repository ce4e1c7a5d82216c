#pragma once

#include "platform/export.h"

#include <cstdint>

/// Arithmetic of edit times: seconds on a track, held as `double`, against the grid of the track's
/// frames. Pure functions, O(1), safe on any argument.

/// Rounds a time to the grid toward zero, counting a time less than 1e-6 s short of a grid point
/// as being on it.
/// @param res  grid size in seconds; not checked, so a size of 0 gives the infinities of IEEE.
/// A NaN time is reported through `qa_splat` and returned as it is.
CEL_API double res_round(double t, double res);

/// Rounds a time to the nearest multiple of a quantum; half way between two goes up, also below
/// zero. The sentinel times 1e99, 1e12 and 2e81 come back unchanged.
/// @throws Kt::Exception::RuntimeError "quantiseTime: quanta to small" for a quantum below 1e-6 s
/// or a NaN.
CEL_API double quantiseTime(double t, double q);

/// Whether a time lies on the grid of a quantum, within 1e-6 s. Times of 5e11 s and more always do.
CEL_API bool isQuantised(double t, double q);

namespace cel {

/// Times not further apart than this, in seconds, are the same time.
inline constexpr double kTimeEpsilon = 1e-6;

/// Sentinel times, compared exactly.
inline constexpr double kUnsetTime =
    2e81; ///< a time never set; asks an accessor for the event's own
inline constexpr double kInvalidTime = 1e99; ///< a time that no track accepts
inline constexpr double kEndlessTime =
    1e12; ///< beyond the end; the largest magnitude of a real time

/// Whether a time can stand on a track: not a sentinel (1e12 itself may stand), not infinite, not
/// a NaN.
constexpr bool isRealTime(double t)
{
    return t <= kEndlessTime && t >= -kEndlessTime;
}

/// Conversions from `double` toward zero that are defined for every value: what does not fit, and
/// a NaN, gives the smallest integer, as the conversion instructions of x86-64 do.
CEL_API std::int32_t truncateToInt32(double value);
CEL_API std::int64_t truncateToInt64(double value);

} // namespace cel

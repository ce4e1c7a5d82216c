#pragma once

#include "platform/audio/DynamicLevelControl.h"

#include <cstddef>
#include <span>

namespace cel::detail {

/// The longest run of nodes that one chord may replace: the nodes from `anchor` on as long as the
/// area between the chord to the next of them and the line through all is at most `maxArea`.
///
/// The area is signed and is summed over the segments in the written order of operations, since
/// what comes out depends on it: a last segment whose end lies on the wrong side of the chord by a
/// rounding error counts as crossing, and a crossing is measured by another rule. Where the sum is
/// known without that, or to be far enough from the limit, it is not formed; decisions are the
/// same.
///
/// @param end  no node from this index on is looked at.
/// @return the index of the first node that is too far, or `end`.
/// Linear where levels stay the same or lie on one side of the chord, else the square of the run.
std::size_t endOfStraightRun(std::span<const Aud::DynamicLevelControl::Store::Node> nodes,
                             std::size_t anchor, std::size_t end, double maxArea);

} // namespace cel::detail

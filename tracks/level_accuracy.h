#pragma once

#include "platform/audio/DynamicLevelControl.h"
#include "platform/export.h"

#include <cstddef>
#include <vector>

/// How far one level envelope is from another, and the fewest nodes that stay within a distance.
///
/// Levels are magnitudes; distances are those of the ear, in decibels: 20 log10 of the ratio of the
/// two levels, 6 dB for a factor of 2. A ratio with silence has no end, so there is a floor: levels
/// at or below -120 dB (0 and negative ones too) are silence, and all silence is alike.

namespace cel {

/// The highest level that counts as silence.
inline constexpr double kSilentLevel = 1e-6;

struct LevelError
{
    double decibels = 0.0; ///< never negative; infinite where a level is no number in one alone
    double time = 0.0;     ///< the first at which it is that large; 0 when it is nowhere
};

/// The largest distance between two envelopes over all times, before the first node and behind the
/// last one too. Exact but for rounding: both are straight between their nodes, so the distance is
/// largest at a node, on either side of it, or where one of them rises out of silence. Nodes that
/// lie at no real time count as not there. Linear.
CEL_API LevelError worstLevelError(const Aud::DynamicLevelControl::Store& original,
                                   const Aud::DynamicLevelControl::Store& thinned);

/// The fewest nodes of an envelope, as indices in order, whose straight lines stay within a number
/// of decibels of it at every time, before the first and behind the last one too. No smaller choice
/// of its nodes does.
///
/// Pinned, so always chosen: guards; nodes at which audio black begins or ends, and then the first
/// node; nodes whose level or time is no real number, and their neighbours. With `decibels` below 0
/// or not a number all nodes are chosen.
///
/// Where a line can pass over all nodes between two pinned ones it is found in one pass over them,
/// else the cost is the nodes times those that one line can pass over: at worst the square.
CEL_API std::vector<std::size_t> fewestNodesWithin(const Aud::DynamicLevelControl::Store& levels,
                                                   double decibels);

} // namespace cel

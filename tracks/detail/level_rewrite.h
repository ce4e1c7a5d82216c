#pragma once

#include "platform/audio/DynamicLevelControl.h"

#include <algorithm>
#include <cstddef>

namespace cel::detail {

inline constexpr double kNodeTolerance = Aud::DynamicLevelControl::Store::kTolerance;

/// A stretch of an envelope that is written anew.
struct LevelStretch
{
    double from; ///< nodes from here
    double to;   ///< up to here, exclusive, go; none if this is the earlier of the two
    Aud::DynamicLevelControl::Store::Shift shift; ///< of those behind,
    double earliest;                              ///< and what is put in lies between this time
    double latest;                                ///< and this
};

/// Erases and moves the nodes of a stretch and lets `write` put in up to `room` nodes, all in one
/// splice. `write` sees a small store with all nodes near enough to matter to the order, as they
/// would be after erasing and moving; the envelope itself changes once, when nothing can fail.
template <class Write>
void rewrite(Aud::DynamicLevelControl::Store& nodes, const LevelStretch& stretch, std::size_t room,
             const Write& write)
{
    using Node = Aud::DynamicLevelControl::Store::Node;
    const auto all = nodes.nodes();
    const std::size_t behind = nodes.indexOf(stretch.to);
    const std::size_t first = std::min(nodes.indexOf(stretch.from), behind);
    double earliest = stretch.earliest;
    if (behind < all.size()) // of huge times only the first digits are moved, and too far
        earliest = std::min(earliest, stretch.shift(all[behind].getRawTime()));
    const std::size_t begin = std::min(first, nodes.indexOf(earliest));
    const auto comesEarly = [&stretch](const Node& node) {
        return stretch.shift(node.getRawTime()) <= stretch.latest;
    };
    const auto later = all.subspan(behind);
    const auto early = static_cast<std::size_t>(
        std::partition_point(later.begin(), later.end(), comesEarly) - later.begin());

    Aud::DynamicLevelControl::Store window;
    window.reserve(first - begin + early + room);
    window.insert_noAdjust(all.subspan(begin, first - begin));
    for (const Node& node : later.first(early))
        window.insert_noAdjust({stretch.shift(node.getRawTime()), node.getLevel(),
                                node.getNodeType(), node.isInAudioBlack()});
    write(window);
    nodes.splice(begin, behind + early, window.nodes(), stretch.shift);
}

} // namespace cel::detail

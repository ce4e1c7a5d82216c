#pragma once

#include "cel/plays_same.h"
#include "interchange/Cut.h"
#include "tracks/level_accuracy.h"

#include <string>
#include <vector>

namespace cel::tool {

/// Levels that are no farther apart count as the same: what rounding leaves is far below.
constexpr double kSameDecibels = 0.001;

/// How a track of one cut plays against the track of the same name in another.
struct TrackComparison
{
    std::string name;
    enum { inBoth, onlyInFirst, onlyInSecond } where = inBoth;
    std::vector<DifferingStretch> stretches;
    LevelError levels;             ///< where the level envelopes differ most
    double levelsDifferFrom = 0.0; ///< and where they begin to

    bool playsSame() const
    {
        return where == inBoth && stretches.empty() && !(levels.decibels > kSameDecibels);
    }
};

/// Two cuts compared, track by track.
struct CutComparison
{
    std::vector<TrackComparison> tracks;
    MaterialTable materials; ///< names the Cookies of all stretches

    bool playsSame() const;
};

/// Compares what two cuts play. Tracks belong together by name (several of one name in their
/// order), clips by what they are called, not by their number in either table.
/// @param names  tracks to compare; all of both cuts without.
/// @throws Failure `kUsage` for a name that neither cut has.
CutComparison compareCuts(const Cut& first, const Cut& second,
                          const std::vector<std::string>& names);

} // namespace cel::tool

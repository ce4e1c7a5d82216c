#pragma once

#include "cel/plays_same.h"
#include "interchange/Cut.h"

#include <string>
#include <vector>

namespace cel::tool {

/// How a track of one cut plays against the track of the same name in another.
struct TrackComparison
{
    std::string name;
    enum { inBoth, onlyInFirst, onlyInSecond } where = inBoth;
    std::vector<DifferingStretch> stretches;

    bool playsSame() const { return where == inBoth && stretches.empty(); }
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

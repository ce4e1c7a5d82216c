#pragma once

#include "interchange/Cut.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cel::tool {

/// One thing that was done to a track to mend it.
struct MendingStep
{
    std::size_t trackNumber; ///< from 1
    std::string track;       ///< its name
    std::string done;        ///< "holes filled with black"
    std::string mended;      ///< "2 gap, 1 order": the findings that are gone with it
};

/// A cut with what could be mended, and what was done; shares the tracks that stay as they are.
struct MendedCut
{
    Cut cut;
    std::vector<MendingStep> steps;
};

/// Mends what putting events in order and simplifying can mend. A step is taken only when the track
/// plays as before and its audit gets better: fewer faults, or as many and fewer warnings, or as
/// many of both and fewer notes.
/// @param cut  as its file holds it, read without the repair of the order.
MendedCut mend(const Cut& cut);

} // namespace cel::tool

#pragma once

#include "interchange/cut_levels.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"

#include <cstddef>
#include <string>

namespace cel::tool {

/// The envelope of one track, to be shown.
struct ShownLevels
{
    const Cut& cut;
    std::size_t track; ///< in the cut
    AudLevelsCel::Store nodes;
    TimeRange stretch;   ///< of the cut, with a length
    bool present = true; ///< whether the track has an envelope at all
};

/// The curve, and under it the nodes of the stretch: the first ones, unless `all`.
std::string describeLevels(const ShownLevels& shown, const Terminal& terminal, bool all);

/// The nodes of the stretch, every one.
Json levelsAsJson(const ShownLevels& shown);

/// A worst difference, as {"decibels", "seconds", "timecode"}; infinite ones are null.
Json errorAsJson(const Cut& cut, const LevelError& error);

} // namespace cel::tool

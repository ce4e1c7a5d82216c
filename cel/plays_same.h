#pragma once

#include "platform/export.h"
#include "platform/support/Cookie.h"

#include <optional>
#include <string>
#include <vector>

class Cel;

namespace cel {

/// The first moment at which two tracks do not play the same.
struct Difference
{
    double time;       ///< edit time in seconds
    const char* field; ///< one word for a script: "material", "active", "strip", "speed", "level",
                       ///< "display", "ramp"
    std::string text;  ///< both sides, for a person
};

/// Compares what two tracks play, not how they are cut: at every time the same material at the same
/// time of the material, with the same speed and level, within 1e-6.
///
/// Black and holes are the same, as is whatever lies beyond a track's end, and it does not matter
/// which time of black plays. Sections of no length play nothing. A section that is not active
/// differs from one that is. Audio ramps are compared at the cuts that both tracks have. Effects
/// are objects of the store and not looked at.
/// One pass over both tracks.
CEL_API std::optional<Difference> explainDifference(const Cel& a, const Cel& b);

/// Whether `explainDifference` finds none.
CEL_API bool playsSame(const Cel& a, const Cel& b);

/// A stretch in which two tracks do not play the same, from its first moment to where they agree
/// again. What is said of it holds at its first moment; further on other things may differ.
struct DifferingStretch
{
    double from; ///< edit times in seconds; both are the cut's for ramps
    double to;
    const char* field; ///< as in `Difference`
    std::string text;

    struct Played
    {
        Cookie material;    ///< the invalid Cookie where a track has nothing
        double strip = 0.0; ///< time in the material, in seconds
    };
    Played first; ///< what each of the two plays
    Played second;
};

/// All of them in the order of time, none touching the next. Judged as by `explainDifference`,
/// whose answer is the first. One pass over both tracks.
CEL_API std::vector<DifferingStretch> listDifferences(const Cel& a, const Cel& b);

} // namespace cel

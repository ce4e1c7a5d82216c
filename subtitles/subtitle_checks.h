#pragma once

#include "cel/audit.h"
#include "platform/export.h"
#include "subtitles/SubtitleTrack.h"

#include <cstddef>
#include <vector>

/// Whether subtitles can be read and are made as those who order them ask for.

namespace cel {

/// What is asked for; the values are the ones that are asked for most. A limit of 0 is not checked.
struct SubtitleLimits
{
    double charactersPerSecond = 17.0; ///< read at most, blanks included
    std::size_t charactersPerLine = 42;
    std::size_t lines = 2;
    double shortest = 5.0 / 6.0; ///< seconds: 20 frames of film
    double longest = 7.0;        ///< seconds
    double gapFrames = 2.0;      ///< between two subtitles, in frames of the track
};

/// Checks every subtitle and lists what does not keep to the limits, in the order of the track: the
/// name of the check, the event index of the subtitle's in point, its edit time, the severity, and
/// a sentence with the figures. Linear.
///
/// Neighbours with the same words count as one subtitle. A character is a letter with whatever
/// accents are written apart from it; the tags <b>, <i>, <u> and <font ...> are none.
CEL_API std::vector<Finding> checkSubtitles(const SubtitleTrack& track,
                                            const SubtitleLimits& limits = {});

/// The same for subtitles that lie on no track yet, where they may also overlap; the index of a
/// finding is the place in `elements`.
/// @param frame  duration of a frame in seconds.
CEL_API std::vector<Finding>
checkSubtitles(const std::vector<SubtitleTrack::RangedElement>& elements, double frame,
               const SubtitleLimits& limits = {});

/// Names of all checks, each with a sentence on what it demands.
CEL_API const std::vector<InvariantInfo>& checksOfSubtitles();

} // namespace cel

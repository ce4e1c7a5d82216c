#pragma once

#include "interchange/timecode.h"
#include "subtitles/subtitle_checks.h"

#include <cstddef>
#include <string>

namespace cel::tool {

class Command;

/// What `cel check` asks of subtitles, as its options give it.
struct SubtitleLimitOptions
{
    std::string readingSpeed = "17";
    std::size_t lineLength = 42;
    std::size_t lines = 2;
    std::string shortest; ///< empty for the usual ones
    std::string longest;
    std::size_t gap = 2;
};

/// Adds the options to a command.
void describeLimits(Command& command, SubtitleLimitOptions& options);

/// The limits in the units of tracks of that frame rate. Where a frame is a millisecond, as in a
/// subtitle file, frames of a gap are those of 25 a second.
/// @throws Failure `kUsage` for what is no number or length.
SubtitleLimits limitsOf(const SubtitleLimitOptions& options, const FrameRate& rate);

/// The names of the checks, each on a line with what it demands.
std::string listOfSubtitleChecks();

} // namespace cel::tool

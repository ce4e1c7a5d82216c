#pragma once

#include "interchange/subtitle_cues.h"

#include <string>

namespace cel::test {

/// A cue in one line: [identifier] start-end in seconds, placement unless at the bottom, text with
/// '|' between its lines, settings in braces.
///
///     [7] 1.5-2.75 LT You there?|<i>Yes.</i> {line:0}
std::string describe(const SubtitleCue& cue);

/// The cues of a file, separated by " / ".
std::string describe(const SubtitleCues& file);

} // namespace cel::test

#pragma once

#include "interchange/subtitle_cues.h"
#include "interchange/timecode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cel {

/// A subtitle as a track can hold it: on whole frames, over no other.
struct LaidCue
{
    std::int64_t start = 0; ///< frames from the start of the track
    std::int64_t end = 0;
    std::string text;
    CuePlacement placement = CuePlacement::bottom;
    std::size_t line = 0; ///< of the file
};

struct CueLayout
{
    std::vector<LaidCue> cues; ///< in the order of time
    LossLedger losses;
};

/// Lays the cues of a file end to end, as a track needs them. Times go to the nearest frame and
/// last a frame at least. Where a cue starts while another is shown, that one ends there; cues that
/// start at one frame become one with the lines of both. What is left out or changed, and what no
/// track holds (names of cues, settings beyond the nine placements, blocks), is in the ledger.
/// @param shift  seconds that are added to all times; what then lies before 0 is cut off.
/// O(n), O(n log n) when the cues are not in the order of time.
CueLayout layCues(SubtitleCues file, const FrameRate& rate, double shift = 0.0);

} // namespace cel

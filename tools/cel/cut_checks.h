#pragma once

#include "cel/audit.h"
#include "interchange/LossLedger.h"
#include "interchange/cel_stream.h"
#include "subtitles/subtitle_checks.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cel::tool {

/// Something wrong with a cut: with a place in its file, with an event, with a track or the whole.
struct CutFinding
{
    Severity severity = Severity::fault;
    std::string invariant; ///< one word, for scripts
    std::string text;
    std::size_t trackNumber = 0;       ///< from 1; 0 when no track is meant
    std::string track;                 ///< its name
    int index = -1;                    ///< of the event; -1 when none is meant
    std::string place;                 ///< of what is no event, in words: "node 3 of its levels"
    double time = kUnsetTime;          ///< edit time of the event, in seconds
    std::optional<std::size_t> offset; ///< byte of the file
};

/// All that is wrong with a cut as it was read: damage of its file, then of each track how it fits
/// into the cut, its audit, and what subtitles do not keep to, in the order of its events.
std::vector<CutFinding> checkCut(const Cut& cut, const std::vector<LoadFinding>& damage,
                                 const SubtitleLimits& limits = {});

/// The overlaps that a subtitle file had before its subtitles were laid on the first track.
std::vector<CutFinding> overlapsOf(const Cut& cut, const LossLedger& losses);

} // namespace cel::tool

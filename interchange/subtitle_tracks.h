#pragma once

#include "interchange/Cut.h"
#include "interchange/subtitle_cues.h"
#include "subtitles/SubtitleTrack.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Subtitle tracks among the tracks of a cut, and the files that they come from and go to.

namespace cel {

/// A section of a subtitle track with its text.
struct PlacedSubtitle
{
    double start = 0.0; ///< seconds
    double end = 0.0;
    int event = 0;                  ///< index of its in point
    IdStamp id;                     ///< of its text on the track
    std::vector<std::string> lines; ///< UTF-8
    std::string style;              ///< id of its style

    /// The lines, separated by '\n'.
    std::string text() const;
};

/// The subtitles of a track in the order of time; empty for a track of another kind. One pass.
std::vector<PlacedSubtitle> subtitlesOf(const Cel& track);

/// The id of the style of a place: empty for the usual one at the bottom, else its text, "LT".
std::string_view styleOfPlacement(CuePlacement placement);

/// The place of a style: as the registry of styles has it, else as its id says, else the bottom.
CuePlacement placementOfStyle(const std::string& style);

/// Lays the cues of a file on a subtitle track, in place of what was there.
/// @param shift  seconds that are added to all times.
/// @param end    seconds to which black fills the track up at least.
/// @return what the track cannot hold, as `layCues`.
LossLedger laySubtitles(SubtitleCues file, const FrameRate& rate, Cel& track, double shift = 0.0,
                        double end = 0.0);

/// The subtitles of a track as the cues of a file, numbered from 1, and what such a file cannot
/// hold: subtitles without a text or before 0, empty lines, control characters.
/// @param shift  seconds that are added to all times.
SubtitleImport cuesOf(const Cel& track, double shift = 0.0);

/// A stretch of a track as a track of its own, at its own times; sections that it cuts into keep
/// their texts.
Kt::Ptr<Cel> stretchOf(const Kt::Ptr<Cel>& track, const Cel::Range& range);

/// The two kinds of files.
enum class SubtitleForm { subRip, webVtt };

/// Reads a file of either form into cues.
std::optional<SubtitleImport> readSubtitles(SubtitleForm form, std::string_view bytes,
                                            std::string& error);
SubtitleExport writeSubtitles(SubtitleForm form, const SubtitleCues& file);

} // namespace cel

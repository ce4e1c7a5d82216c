#pragma once

#include "interchange/subtitle_cues.h"

#include <optional>
#include <string>
#include <string_view>

namespace cel {

/// Reads a SubRip file of any encoding that `decodeSubtitles` knows. A line of times begins a cue,
/// whether a counter and a blank line stand before it or not; "{\an8}" and its like give the
/// placement. What makes no cue is in the ledger with its line.
/// @return nothing, with `error` saying why, when there is text and no cue that can be read.
/// Linear, one pass over the decoded text.
std::optional<SubtitleImport> readSubRip(std::string_view bytes, std::string& error);

/// Writes cues as SubRip: UTF-8, lines ended by '\n', counters from 1, "{\an8}" for a placement
/// other than the usual one at the bottom.
SubtitleExport writeSubRip(const SubtitleCues& file);

} // namespace cel

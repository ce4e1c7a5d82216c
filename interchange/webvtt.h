#pragma once

#include "interchange/subtitle_cues.h"

#include <optional>
#include <string>
#include <string_view>

namespace cel {

/// Reads a WebVTT file. Cue settings stay as they are written and give the nearest of the nine
/// placements; NOTE, STYLE and REGION blocks and the header are kept beside the cues. What makes no
/// cue is in the ledger with its line.
/// @return nothing, with `error` saying why, when the file does not begin as WebVTT. Linear, one
/// pass over the decoded text.
std::optional<SubtitleImport> readWebVtt(std::string_view bytes, std::string& error);

/// Writes cues as WebVTT: UTF-8, lines ended by '\n'. A cue without settings gets those of its
/// placement.
SubtitleExport writeWebVtt(const SubtitleCues& file);

/// The nearest of the nine placements to cue settings: the column from `align`, else from
/// `position`; the row from `line`. What is not understood counts as not there.
CuePlacement placementOfSettings(std::string_view settings);

/// The settings that mean a placement; empty for the usual one at the bottom.
std::string_view settingsOfPlacement(CuePlacement placement);

/// Whether settings mean nothing beyond their placement.
bool saysNoMoreThan(std::string_view settings, CuePlacement placement);

} // namespace cel

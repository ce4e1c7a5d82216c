#pragma once

#include "interchange/subtitle_cues.h"

#include <string>
#include <string_view>

/// The text of a WebVTT cue and the text of ours.

namespace cel {

/// Reads a cue's text: b, i, u and the eight colour classes become tags, characters written by name
/// or number become themselves. Other tags go, and are in the ledger.
std::string fromWebVttText(std::string_view text, std::size_t line, CountedLosses& losses);

/// The inverse; colours that WebVTT has no class for are in the ledger.
std::string toWebVttText(std::string_view text, std::size_t line, CountedLosses& losses);

} // namespace cel

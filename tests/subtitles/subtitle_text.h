#pragma once

#include "subtitles/SubtitleTrack.h"

#include <string>
#include <string_view>
#include <vector>

/// Subtitle tracks as text: "2-3 Ahoy; 4-5.5 Who goes/there" are two, the second of two lines;
/// black is ".". A style stands in front of the text: "2-3 {s1}Ahoy".
namespace cel::test {

std::vector<SubtitleTrack::RangedElement> elements(std::string_view notation);

/// A track on frames of 0.04 s that ends with its last element, or at `end`.
SubtitleTrack subtitles(std::string_view notation, double end = 0.0);

/// Every section with the text that it has; "?" for a subtitle without one.
std::string describe(const SubtitleTrack& track);

/// What is wrong between the list and its texts: a text without a section, an identifier that two
/// sections share, or anything that the audit of the list finds. Empty when nothing is.
std::string faultsOf(const SubtitleTrack& track);

/// The same track after it was stored and read again. @param notes  what the reader had to say.
SubtitleTrack stored(const SubtitleTrack& track, std::string* notes = nullptr);

} // namespace cel::test

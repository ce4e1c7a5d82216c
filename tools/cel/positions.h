#pragma once

#include "interchange/Cut.h"

#include <string>

/// Times as people give them to a command and as it tells them back.
namespace cel::tool {

/// Nothing that a command is asked for may last longer or lie later: a hundred hours.
constexpr double kLongestCut = 360'000.0;

/// Reads a position: seconds, or a timecode as the cut counts.
/// @param what  names the argument in the complaint.
/// @return seconds from the start of the cut. @throws Failure `kUsage` for text that is neither.
double positionOf(const std::string& what, const std::string& text, const Cut& cut);

/// Reads a length, or a distance when it begins with '-': seconds, or a timecode counted from 0.
double lengthOf(const std::string& what, const std::string& text, const FrameRate& rate);

/// "10:00:12:00 (12 s)".
std::string describePosition(const Cut& cut, double seconds);

/// "00:00:02:12 (2.48 s)", with '-' in front of both for a distance backwards.
std::string describeLength(const FrameRate& rate, double seconds);

} // namespace cel::tool

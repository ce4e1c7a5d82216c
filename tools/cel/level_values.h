#pragma once

#include "platform/audio/DynamicLevelControl.h"

#include <string>

namespace cel::tool {

/// The loudest level that a command takes: a factor of 1000, 60 dB.
constexpr double kLoudest = 1000.0;

/// 20 log10 of a level; minus infinity for silence, levels of up to -120 dB.
double decibelsOf(double level);

/// "-6.02 dB"; "silent", and "no number" for what is none.
std::string describeDecibels(double decibels);

/// Reads a level: a factor (0.5) or decibels (-6dB, "-6 dB"); "silent" is 0.
/// @param what  names the argument in the complaint.
/// @throws Failure `kUsage` for other text and for levels above `kLoudest`.
float levelFrom(const std::string& what, const std::string& text);

/// Reads a number of decibels from 0 to 120, with or without the unit.
double decibelsFrom(const std::string& what, const std::string& text);

/// "node", "start guard", "end guard", "type 7".
std::string describeType(Aud::DynamicLevelControl::Store::eNodeType type);

} // namespace cel::tool

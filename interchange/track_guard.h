#pragma once

#include "cel/Cel.h"
#include "interchange/timecode.h"

#include <string>

namespace cel {

/// What would play differently if `decoded` took the place of `original`: one sentence for an
/// editor, empty when nothing would. Trim selections and modification sets do not play.
/// @param rate  for the timecode of the first difference. One pass over both.
std::string whatDiffers(const Cel& original, const Cel& decoded, const FrameRate& rate);

} // namespace cel

#pragma once

#include "tools/cel/listed_sections.h"

#include <cstddef>
#include <string>

namespace cel::tool {

/// The sections of a track that show in a stretch, one a line under a line of headings: number,
/// record and source timecodes, reel, clip, speed and level.
std::string sectionTable(const Cut& cut, std::size_t track, const TimeRange& stretch);

} // namespace cel::tool

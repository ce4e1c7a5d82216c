#pragma once

#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"

#include <string>
#include <vector>

namespace cel::tool {

/// Draws a stretch of a cut for a terminal: a timecode ruler, then a row of boxes per track, in the
/// order of `tracks` (indices into the cut's), then what the marks in it mean.
///
///          01:00:00:00    01:00:10:00
///          ╵              ╵
///       ┌─────────┬───┬───────────┐
///     V1│LAKE     │···│» 200 % BUS│
///       └─────────┴───┴───────────┘
///
/// A line under the ruler points at the `marks`, each a place or a stretch of the cut.
///
/// Slopes on the upper border of a box, next to its cuts, are the fades of its ends.
///
/// Under a track with a level envelope a line of blocks shows how loud it is.
///
/// A box border is a cut; where several cuts fall into one column a bar grows with their number. A
/// stretch that no section covers stays empty. Reads `tracks` only; safe on malformed ones.
std::string drawTimeline(const Cut& cut, const std::vector<std::size_t>& tracks,
                         const TimeRange& stretch, const Terminal& terminal,
                         const std::vector<TimeRange>& marks = {});

/// The two lines of the ruler alone, for a picture of a stretch that spans the columns from
/// `margin` to `width`.
std::string drawRuler(const Cut& cut, const TimeRange& stretch, std::size_t margin,
                      std::size_t width, bool colour);

/// The tracks of a cut from top to bottom as a timeline shows them: pictures with the last one on
/// top, the others below in their order.
std::vector<std::size_t> tracksFromTop(const Cut& cut);

} // namespace cel::tool

#pragma once

#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"
#include "tracks/AudLevelsCel.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace cel::tool {

/// The most and the least level of an envelope anywhere in a stretch, its ends included. Levels
/// that are no number count as silence.
struct LevelSpan
{
    double least = 0.0;
    double most = 0.0;
};
LevelSpan levelsIn(const AudLevelsCel::Store& levels, const TimeRange& stretch);

/// One character for a level: blocks that are 6 dB apart, with 0 dB at `▆`, and `_` for silence.
std::string_view levelBlock(double level);

/// A line of them, a character for each column of a stretch: the most of the levels there. Blank
/// outside `held`.
std::string drawLevelBlocks(const AudLevelsCel::Store& levels, const TimeRange& stretch,
                            std::size_t columns, const TimeRange& held);

/// What the blocks mean, for a legend.
inline constexpr const char* kLevelBlocks = "▁▂▃▄▅▆▇█ level, 6 dB apart, 0 dB is ▆, _ silent";

/// Draws a stretch of an envelope for a terminal: decibels upwards, timecode above, and below the
/// places of its nodes.
///
///              01:00:00:00
///     +6 dB ┤
///      0 dB ┤⠒⠒⠒⠒⠢⣀
///     -6 dB ┤        ⠑⠒⠒⠒
///     nodes  ●   │       ●
std::string drawEnvelope(const Cut& cut, const AudLevelsCel::Store& levels,
                         const TimeRange& stretch, const Terminal& terminal);

/// The same as an SVG picture.
std::string envelopeAsSvg(const Cut& cut, std::string_view title, const AudLevelsCel::Store& levels,
                          const TimeRange& stretch);

/// The scale of such a picture, in decibels: from `bottom` to `top`, both multiples of `step`.
struct DecibelScale
{
    double top = 0.0;
    double bottom = 0.0;
    double step = 6.0;

    int steps() const { return static_cast<int>((top - bottom) / step + 0.5); }
};

/// The scale that shows all levels of the stretch, down to -60 dB.
DecibelScale scaleFor(const AudLevelsCel::Store& levels, const TimeRange& stretch);

} // namespace cel::tool

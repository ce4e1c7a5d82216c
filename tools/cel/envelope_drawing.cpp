#include "tools/cel/envelope_drawing.h"

#include "tools/cel/level_values.h"
#include "tools/cel/text.h"
#include "tools/cel/timeline_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;

constexpr double kFloor = -60.0; ///< what is below is drawn there
constexpr std::size_t kMargin = 10;
constexpr std::size_t kFewestColumns = 20;

/// A grid of dots, two by four in each character.
class DotGrid
{
public:
    static constexpr std::size_t kAcross = 2;
    static constexpr std::size_t kDown = 4;

    DotGrid(std::size_t columns, std::size_t rows)
        : columns_(columns)
        , cells_(columns * rows)
    {
    }

    void set(std::size_t x, std::size_t y)
    {
        // The bits of a braille character, column by column; the lowest row came later.
        static constexpr unsigned char kBits[kDown][kAcross] = {
            {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
        unsigned char& cell = cells_[y / kDown * columns_ + x / kAcross];
        cell = static_cast<unsigned char>(cell | kBits[y % kDown][x % kAcross]);
    }

    std::string row(std::size_t index) const
    {
        std::string text;
        for (std::size_t i = 0; i < columns_; ++i) {
            const unsigned char dots = cells_[index * columns_ + i];
            // U+2800 and the dots; a blank where there are none.
            text += dots == 0 ? std::string(" ")
                              : std::string{'\xE2', static_cast<char>(0xA0 | dots >> 6),
                                            static_cast<char>(0x80 | (dots & 0x3F))};
        }
        return text;
    }

private:
    std::size_t columns_;
    std::vector<unsigned char> cells_;
};

double secondsPerColumn(const TimeRange& stretch, std::size_t columns)
{
    return (stretch.to - stretch.from) / static_cast<double>(columns - 1);
}

double drawnDecibels(double level)
{
    return std::max(kFloor, decibelsOf(std::isfinite(level) ? level : 0.0));
}

/// The curve on its grid: in each column of dots all that the level passes there.
DotGrid drawCurve(const Store& levels, const TimeRange& stretch, const DecibelScale& scale,
                  std::size_t columns)
{
    const std::size_t rows = static_cast<std::size_t>(scale.steps()) + 1;
    const std::size_t across = columns * DotGrid::kAcross;
    const double lowest = static_cast<double>(rows * DotGrid::kDown - 1);
    const double dotsPerDecibel = DotGrid::kDown / scale.step;
    const auto dotOf = [&](double level) {
        const double down = scale.top + scale.step / 2 - drawnDecibels(level);
        return static_cast<std::size_t>(std::clamp(std::floor(down * dotsPerDecibel), 0.0, lowest));
    };
    DotGrid grid(columns, rows);
    // A column of characters reaches half its width to both sides of its time.
    const double width = secondsPerColumn(stretch, columns) / DotGrid::kAcross;
    for (std::size_t x = 0; x < across; ++x) {
        const double from = stretch.from + width * (static_cast<double>(x) - 1.0);
        const LevelSpan span = levelsIn(levels, {from, from + width});
        for (std::size_t y = dotOf(span.most); y <= dotOf(span.least); ++y)
            grid.set(x, y);
    }
    return grid;
}

/// A mark in every column with nodes: a ball, or a bar where all of them are guards.
std::string drawNodes(const Store& levels, const TimeRange& stretch, std::size_t columns)
{
    std::vector<std::string_view> marks(columns, " ");
    const double last = static_cast<double>(columns - 1);
    for (const Store::Node& node : levels.nodes()) {
        const double place = (node.getRawTime() - stretch.from) / (stretch.to - stretch.from);
        if (!(place >= 0.0 && place <= 1.0))
            continue; // outside, or no time at all
        std::string_view& mark = marks[static_cast<std::size_t>(std::floor(place * last))];
        if (!node.isGuardNode())
            mark = "●";
        else if (mark == " ")
            mark = "│";
    }
    std::string text;
    for (const std::string_view mark : marks)
        text += mark;
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string labelOf(double decibels)
{
    return decibels <= kFloor ? "silent" : (decibels > 0 ? "+" : "") + number(decibels) + " dB";
}

} // namespace

LevelSpan levelsIn(const Store& levels, const TimeRange& stretch)
{
    LevelSpan span{INFINITY, -INFINITY};
    const auto take = [&span](double level) {
        const double heard = level == level ? level : 0.0;
        span.least = std::min(span.least, heard);
        span.most = std::max(span.most, heard);
    };
    take(levels.getLevelAtTime(stretch.from));
    take(levels.getLevelAtTime(stretch.to));
    const auto nodes = levels.nodes();
    for (std::size_t i = levels.indexOf(stretch.from);
         i < nodes.size() && nodes[i].getRawTime() <= stretch.to; ++i)
        take(nodes[i].getLevel());
    return span;
}

std::string_view levelBlock(double level)
{
    static constexpr std::array<std::string_view, 8> kBlocks = {"▁", "▂", "▃", "▄",
                                                                "▅", "▆", "▇", "█"};
    constexpr double kUnity = 5.0;
    constexpr double kDecibelsApart = 6.0;
    const double decibels = decibelsOf(level);
    if (!(decibels > -INFINITY))
        return "_";
    const double place = std::clamp(std::round(decibels / kDecibelsApart) + kUnity, 0.0, 7.0);
    return kBlocks[static_cast<std::size_t>(place)];
}

std::string drawLevelBlocks(const Store& levels, const TimeRange& stretch, std::size_t columns,
                            const TimeRange& held)
{
    std::string text;
    const double width = secondsPerColumn(stretch, columns);
    for (std::size_t i = 0; i < columns; ++i) {
        const double t = stretch.from + width * static_cast<double>(i);
        const bool inside = t >= held.from && t <= held.to;
        text += inside ? levelBlock(levelsIn(levels, {t - width / 2, t + width / 2}).most) : " ";
    }
    return text;
}

DecibelScale scaleFor(const Store& levels, const TimeRange& stretch)
{
    constexpr int kMostSteps = 11;
    constexpr int kFewestSteps = 6;
    const LevelSpan span = levelsIn(levels, stretch);
    const double most = drawnDecibels(span.most);
    const double least = drawnDecibels(span.least);
    DecibelScale scale;
    for (const double step : {1.0, 2.0, 3.0, 6.0, 12.0}) {
        // Room above the curve, unless it is as loud as it gets.
        scale = {std::ceil(most / step + 0.5) * step, std::floor(least / step) * step, step};
        if (scale.steps() <= kMostSteps)
            break;
    }
    scale.bottom = std::max(kFloor, std::min(scale.bottom, scale.top - kFewestSteps * scale.step));
    return scale;
}

std::string drawEnvelope(const Cut& cut, const Store& levels, const TimeRange& stretch,
                         const Terminal& terminal)
{
    const std::size_t columns =
        std::max(kFewestColumns, terminal.width > kMargin ? terminal.width - kMargin : 0);
    const DecibelScale scale = scaleFor(levels, stretch);
    const DotGrid curve = drawCurve(levels, stretch, scale, columns);
    std::string text = drawRuler(cut, stretch, kMargin, kMargin + columns, terminal.colour);
    for (int row = 0; row <= scale.steps(); ++row) {
        const std::string label = labelOf(scale.top - row * scale.step);
        std::string dots = curve.row(static_cast<std::size_t>(row));
        dots.erase(dots.find_last_not_of(' ') + 1);
        text += std::string(kMargin - 2 - std::min(kMargin - 2, label.size()), ' ') + label + " ┤" +
                styled(dots, Style::sound, terminal.colour) + "\n";
    }
    const std::string nodes = drawNodes(levels, stretch, columns);
    if (nodes.empty())
        return text;
    return text + padded("   nodes", kMargin) + nodes + "\n● node   │ guards of a cut\n";
}

} // namespace cel::tool

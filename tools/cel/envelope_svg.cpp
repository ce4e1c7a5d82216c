#include "tools/cel/envelope_drawing.h"
#include "tools/cel/level_values.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;

// Of the picture, in its own units.
constexpr double kWidth = 1000.0;
constexpr double kHeight = 360.0;
constexpr double kLeft = 70.0;
constexpr double kRight = 20.0;
constexpr double kTop = 50.0;
constexpr double kBottom = 40.0;

std::string coordinate(double value)
{
    char digits[32];
    return {digits,
            std::to_chars(digits, digits + sizeof digits, std::round(value * 100) / 100).ptr};
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text)
        result += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    return result;
}

/// Where times and levels lie in the picture.
class Plot
{
public:
    Plot(const TimeRange& stretch, const DecibelScale& scale)
        : stretch_(stretch)
        , scale_(scale)
    {
    }

    double x(double seconds) const
    {
        const double share = (seconds - stretch_.from) / (stretch_.to - stretch_.from);
        return kLeft + std::clamp(share, 0.0, 1.0) * (kWidth - kLeft - kRight);
    }
    double yOf(double decibels) const
    {
        const double shown = std::clamp(decibels, scale_.bottom, scale_.top);
        return kTop +
               (scale_.top - shown) / (scale_.top - scale_.bottom) * (kHeight - kTop - kBottom);
    }
    double y(double level) const
    {
        return yOf(std::isfinite(level) ? decibelsOf(level) : scale_.bottom);
    }

private:
    TimeRange stretch_;
    DecibelScale scale_;
};

std::string textAt(double x, double y, const char* anchor, const std::string& text)
{
    return "  <text x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" text-anchor=\"" +
           anchor + "\">" + escaped(text) + "</text>\n";
}

std::string grid(const Plot& plot, const DecibelScale& scale)
{
    std::string text;
    for (int i = 0; i <= scale.steps(); ++i) {
        const double decibels = scale.top - i * scale.step;
        const std::string y = coordinate(plot.yOf(decibels));
        text += "  <line x1=\"" + coordinate(kLeft) + "\" x2=\"" + coordinate(kWidth - kRight) +
                "\" y1=\"" + y + "\" y2=\"" + y + "\" class=\"grid\"/>\n" +
                textAt(kLeft - 8, plot.yOf(decibels) + 4, "end",
                       (decibels > 0 ? "+" : "") + number(decibels) + " dB");
    }
    return text;
}

/// The curve: straight in level, so bent in decibels between two nodes.
std::string curve(const Store& levels, const TimeRange& stretch, const Plot& plot)
{
    constexpr int kPoints = 900;
    std::string points;
    const auto add = [&](double seconds, double level) {
        points += coordinate(plot.x(seconds)) + "," + coordinate(plot.y(level)) + " ";
    };
    const auto nodes = levels.nodes();
    std::size_t next = levels.indexOf(stretch.from);
    for (int i = 0; i <= kPoints; ++i) {
        const double t = stretch.from + (stretch.to - stretch.from) * i / kPoints;
        for (; next < nodes.size() && nodes[next].getRawTime() <= t; ++next)
            add(nodes[next].getRawTime(), nodes[next].getLevel());
        add(t, levels.getLevelAtTime(t));
    }
    points.pop_back();
    return "  <polyline class=\"curve\" points=\"" + points + "\"/>\n";
}

std::string nodeMarks(const Store& levels, const TimeRange& stretch, const Plot& plot)
{
    std::string text;
    for (const Store::Node& node : levels.nodes()) {
        const double seconds = node.getRawTime();
        if (!(seconds >= stretch.from && seconds <= stretch.to))
            continue;
        text += "  <circle class=\"" + std::string(node.isGuardNode() ? "guard" : "node") +
                "\" cx=\"" + coordinate(plot.x(seconds)) + "\" cy=\"" +
                coordinate(plot.y(node.getLevel())) + "\" r=\"" +
                (node.isGuardNode() ? "2.5" : "4") + "\"/>\n";
    }
    return text;
}

} // namespace

std::string envelopeAsSvg(const Cut& cut, std::string_view title, const Store& levels,
                          const TimeRange& stretch)
{
    const DecibelScale scale = scaleFor(levels, stretch);
    const Plot plot(stretch, scale);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + coordinate(kWidth) + " " +
           coordinate(kHeight) +
           "\" font-family=\"sans-serif\" font-size=\"12\">\n"
           "  <style>.grid{stroke:#ddd} .curve{fill:none;stroke:#07a;stroke-width:1.5} "
           ".node{fill:#07a} .guard{fill:#c60}</style>\n"
           "  <rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n" +
           textAt(kLeft, kTop / 2, "start", std::string(title)) + grid(plot, scale) +
           curve(levels, stretch, plot) + nodeMarks(levels, stretch, plot) +
           textAt(kLeft, kHeight - kBottom / 2, "start", cut.timecodeAt(stretch.from)) +
           textAt(kWidth - kRight, kHeight - kBottom / 2, "end", cut.timecodeAt(stretch.to)) +
           "</svg>\n";
}

} // namespace cel::tool

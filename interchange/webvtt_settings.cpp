#include "interchange/text_lines.h"
#include "interchange/webvtt.h"

#include <array>
#include <charconv>
#include <cmath>

namespace cel {

namespace {

/// Lines of text that a picture has, for lines that are counted.
constexpr double kLinesOfPicture = 15.0;

/// A number, with or without a '%' behind it; settings may go on after a comma.
struct Measure
{
    double value = 0.0;
    bool isPercentage = false;
};

std::optional<Measure> measureOf(std::string_view text)
{
    text = text.substr(0, text.find(','));
    Measure measure;
    const auto [end, fault] =
        std::from_chars(text.data(), text.data() + text.size(), measure.value);
    const std::string_view rest = text.substr(static_cast<std::size_t>(end - text.data()));
    measure.isPercentage = rest == "%";
    const bool understood = fault == std::errc() && (rest.empty() || measure.isPercentage) &&
                            std::isfinite(measure.value);
    return understood ? std::optional(measure) : std::nullopt;
}

/// 0 to 2 for the first, second and last third.
int thirdOf(double share)
{
    return share < 1.0 / 3.0 ? 0 : share > 2.0 / 3.0 ? 2 : 1;
}

std::optional<int> columnOfAlign(std::string_view value)
{
    if (value == "start" || value == "left")
        return 0;
    if (value == "center" || value == "middle")
        return 1;
    if (value == "end" || value == "right")
        return 2;
    return std::nullopt;
}

std::optional<int> rowOfLine(std::string_view value)
{
    const auto measure = measureOf(value);
    if (!measure)
        return std::nullopt;
    if (measure->isPercentage)
        return thirdOf(measure->value / 100.0);
    // Lines count from the top, or with a minus from the bottom.
    const bool fromBottom = std::signbit(measure->value);
    const double line = fromBottom ? kLinesOfPicture + measure->value : measure->value;
    return thirdOf(line / kLinesOfPicture);
}

constexpr std::array<std::string_view, 9> kSettings = {
    "line:0 align:left",  "line:50% align:left",  "align:left",  "line:0", "line:50%", "",
    "line:0 align:right", "line:50% align:right", "align:right",
};

} // namespace

CuePlacement placementOfSettings(std::string_view settings)
{
    std::optional<int> column;
    std::optional<int> columnOfPosition;
    std::optional<int> row;
    for (const std::string_view setting : wordsOf(settings)) {
        const std::size_t colon = setting.find(':');
        if (colon == setting.npos)
            continue;
        const std::string_view name = setting.substr(0, colon);
        const std::string_view value = setting.substr(colon + 1);
        const auto measure = measureOf(value);
        // Of settings that are given twice the last that is understood counts.
        if (name == "align")
            column = columnOfAlign(value) ? columnOfAlign(value) : column;
        else if (name == "line")
            row = rowOfLine(value) ? rowOfLine(value) : row;
        else if (name == "position" && measure && measure->isPercentage)
            columnOfPosition = thirdOf(measure->value / 100.0);
    }
    constexpr int kCentre = 1;
    constexpr int kBottom = 2;
    return placementAt(column.value_or(columnOfPosition.value_or(kCentre)), row.value_or(kBottom));
}

std::string_view settingsOfPlacement(CuePlacement placement)
{
    return kSettings[static_cast<std::size_t>(placement) - 1];
}

bool saysNoMoreThan(std::string_view settings, CuePlacement placement)
{
    if (settings.empty() || settings == settingsOfPlacement(placement))
        return true;
    // The usual values, and the other words for the same.
    for (const std::string_view setting : wordsOf(settings)) {
        const bool aligns = setting.starts_with("align:") && columnOfAlign(setting.substr(6));
        const bool isUsual = setting == "position:50%" || setting == "size:100%" ||
                             setting == "line:-1" || setting == "line:auto" ||
                             setting == "position:auto" || setting == "line:0" ||
                             setting == "line:50%";
        if (!aligns && !isUsual)
            return false;
    }
    return placementOfSettings(settings) == placement;
}

} // namespace cel

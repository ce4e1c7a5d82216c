#include "tools/cel/level_values.h"

#include "tools/cel/commands.h"
#include "tools/cel/text.h"
#include "tracks/level_accuracy.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

namespace cel::tool {

namespace {

using Store = Aud::DynamicLevelControl::Store;

std::optional<double> numberFrom(std::string_view text)
{
    double value = 0.0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = fault == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// The text without "dB" and blanks before it. @return whether it had the unit.
bool takeUnit(std::string_view& text)
{
    constexpr std::size_t kUnit = 2;
    const std::string_view end = text.substr(text.size() - std::min(kUnit, text.size()));
    if (end != "dB" && end != "db" && end != "DB")
        return false;
    text.remove_suffix(kUnit);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return true;
}

} // namespace

double decibelsOf(double level)
{
    if (level != level)
        return level;
    return level > kSilentLevel ? 20.0 * std::log10(level)
                                : -std::numeric_limits<double>::infinity();
}

std::string describeDecibels(double decibels)
{
    if (decibels != decibels)
        return "no number";
    if (decibels < 0.0 && std::isinf(decibels))
        return "silent";
    return number(std::round(decibels * 1e3) / 1e3) + " dB";
}

float levelFrom(const std::string& what, const std::string& text)
{
    std::string_view digits = text;
    const bool isDecibels = takeUnit(digits);
    if (isDecibels && digits.starts_with('+') && !digits.starts_with("+-"))
        digits.remove_prefix(1);
    std::optional<double> level = text == "silent" ? std::optional(0.0) : numberFrom(digits);
    if (level && isDecibels)
        level = std::pow(10.0, *level / 20.0);
    if (!level || !(*level >= 0.0 && *level <= kLoudest))
        throw Failure(kUsage, what + " " + printable(text) +
                                  " is neither a factor from 0 to 1000 (0.5) nor decibels up to 60 "
                                  "(-6dB)");
    return static_cast<float>(*level);
}

double decibelsFrom(const std::string& what, const std::string& text)
{
    constexpr double kMost = 120.0;
    std::string_view digits = text;
    takeUnit(digits);
    const std::optional<double> decibels = numberFrom(digits);
    if (!decibels || !(*decibels >= 0.0 && *decibels <= kMost))
        throw Failure(kUsage, what + " " + printable(text) +
                                  " is no number of decibels from 0 to "
                                  "120 (0.5dB)");
    return *decibels;
}

std::string describeType(Store::eNodeType type)
{
    switch (type) {
    case Store::kOrdinary:
        return "node";
    case Store::kStartGuard:
        return "start guard";
    case Store::kEndGuard:
        return "end guard";
    }
    return "type " + std::to_string(int{type});
}

} // namespace cel::tool

#include "interchange/subtitle_cues.h"

#include "interchange/text_lines.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace cel {

namespace {

constexpr std::int64_t kMostHours = 1'000'000;
constexpr std::int64_t kMillisecondsPerHour = 3'600'000;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Takes digits off the front. @return nothing without any, or for a number out of proportion.
std::optional<std::int64_t> takeNumber(std::string_view& text)
{
    std::int64_t value = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (fault != std::errc() || !isDigit(text.front()) || value > kMostHours)
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

/// Milliseconds of the digits behind the mark, of which there may be any number.
std::int64_t takeFraction(std::string_view& text)
{
    std::int64_t milliseconds = 0;
    for (std::int64_t unit = 100; !text.empty() && isDigit(text.front()); unit /= 10) {
        milliseconds += (text.front() - '0') * unit;
        text.remove_prefix(1);
    }
    return milliseconds;
}

void appendPadded(std::string& text, std::int64_t number, std::size_t digits)
{
    const std::string plain = std::to_string(number);
    text.append(digits - std::min(digits, plain.size()), '0').append(plain);
}

} // namespace

bool hasOnlyDigits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), isDigit);
}

std::optional<std::int64_t> takeCueTime(std::string_view& text)
{
    constexpr std::size_t kMostParts = 3;
    std::int64_t parts[kMostParts] = {};
    std::size_t count = 0;
    std::string_view rest = text;
    for (;;) {
        const auto number = rest.empty() ? std::nullopt : takeNumber(rest);
        if (!number)
            return std::nullopt;
        parts[count++] = *number;
        if (count == kMostParts || !rest.starts_with(':'))
            break;
        rest.remove_prefix(1);
    }
    if (count < 2)
        return std::nullopt;
    const std::int64_t hours = count == kMostParts ? parts[0] : 0;
    const std::int64_t minutes = parts[count - 2];
    const std::int64_t seconds = parts[count - 1];
    if (minutes > 59 || seconds > 59)
        return std::nullopt;
    std::int64_t fraction = 0;
    if (rest.size() > 1 && (rest[0] == ',' || rest[0] == '.') && isDigit(rest[1])) {
        rest.remove_prefix(1);
        fraction = takeFraction(rest);
    }
    text = rest;
    return hours * kMillisecondsPerHour + (minutes * 60 + seconds) * 1000 + fraction;
}

std::string cueTime(double seconds, char mark)
{
    const std::int64_t total = std::llround(seconds * 1000.0);
    std::string text;
    appendPadded(text, total / kMillisecondsPerHour, 2);
    text += ':';
    appendPadded(text, total / 60'000 % 60, 2);
    text += ':';
    appendPadded(text, total / 1000 % 60, 2);
    text += mark;
    appendPadded(text, total % 1000, 3);
    return text;
}

std::optional<CueTimes> parseCueTimes(std::string_view line)
{
    line = trimmed(line);
    // Nearly every line is no such line, and its first character tells.
    if (line.empty() || !isDigit(line.front()))
        return std::nullopt;
    const auto start = takeCueTime(line);
    line = trimmed(line);
    constexpr std::string_view kArrow = "-->";
    if (!start || !line.starts_with(kArrow))
        return std::nullopt;
    line = trimmed(line.substr(kArrow.size()));
    const auto end = takeCueTime(line);
    // Coordinates ("X1:40 ...") are told apart from a time without a blank as well.
    const bool endsThere =
        line.empty() || line.front() == ' ' || line.front() == '\t' || line.starts_with("X1:");
    if (!end || !endsThere)
        return std::nullopt;
    return CueTimes{*start, *end, trimmed(line)};
}

void CountedLosses::add(std::size_t line, const char* kind, std::string_view text)
{
    auto count = counts_.find(std::string_view(kind));
    if (count == counts_.end())
        count = counts_.emplace(kind, 0).first;
    if (++count->second <= kMostOfAKind)
        ledger_.add(line, kind, text);
}

LossLedger CountedLosses::finished() const
{
    LossLedger all = ledger_;
    for (const auto& [kind, count] : counts_)
        if (count > kMostOfAKind)
            all.add(0, kind, "and " + std::to_string(count - kMostOfAKind) + " more of this kind");
    return all;
}

} // namespace cel

#include "interchange/timecode.h"

#include "interchange/text_lines.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>

namespace cel {

namespace {

constexpr int kLargestDenominator = 1'000'000;
constexpr double kSlowestRate = 1.0;
constexpr double kFastestRate = 1000.0;

/// People write 23.976 as 23.98 too.
constexpr double kWrittenRateTolerance = 0.006;

/// Takes `suffix`, in small letters, off the end of `text`.
bool takeSuffix(std::string_view& text, std::string_view suffix)
{
    if (text.size() < suffix.size())
        return false;
    const std::size_t start = text.size() - suffix.size();
    for (std::size_t i = 0; i < suffix.size(); ++i)
        if ((text[start + i] | 0x20) != suffix[i])
            return false;
    text = trimmed(text.substr(0, start));
    return true;
}

template <class Number>
std::optional<Number> wholeNumber(std::string_view text)
{
    Number value{};
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (fault != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

FrameRate reduced(int numerator, int denominator)
{
    const int divisor = std::gcd(numerator, denominator);
    return {numerator / divisor, denominator / divisor, false};
}

std::optional<FrameRate> rateFromRatio(std::string_view text)
{
    const std::size_t slash = text.find('/');
    const auto numerator = wholeNumber<int>(text.substr(0, slash));
    const auto denominator = wholeNumber<int>(text.substr(slash + 1));
    if (!numerator || !denominator || *numerator <= 0 || *denominator <= 0)
        return std::nullopt;
    return reduced(*numerator, *denominator);
}

std::optional<FrameRate> rateFromDecimal(std::string_view text)
{
    const auto value = wholeNumber<double>(text);
    if (!value || !(*value >= kSlowestRate - kWrittenRateTolerance && *value <= kFastestRate))
        return std::nullopt;
    const int nearest = static_cast<int>(std::lround(*value));
    if (std::fabs(*value - nearest) < 1e-6)
        return FrameRate{nearest, 1, false};
    if (std::fabs(*value - nearest * 1000.0 / 1001.0) < kWrittenRateTolerance)
        return reduced(nearest * 1000, 1001);
    return reduced(static_cast<int>(std::lround(*value * 1000.0)), 1000);
}

/// Frame numbers that a minute of drop-frame timecode leaves out: 2 at 30 a second, 4 at 60.
constexpr std::int64_t droppedPerMinute(std::int64_t base)
{
    return base / 15;
}

std::string fixed(std::int64_t value, std::size_t digits)
{
    const std::string text = std::to_string(value);
    return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

} // namespace

bool canDropFrames(const FrameRate& rate)
{
    return rate.timecodeBase() % 30 == 0;
}

bool isUsable(const FrameRate& rate)
{
    return rate.numerator > 0 && rate.denominator > 0 && rate.denominator <= kLargestDenominator &&
           rate.framesPerSecond() >= kSlowestRate - kWrittenRateTolerance &&
           rate.framesPerSecond() <= kFastestRate && (!rate.dropFrame || canDropFrames(rate));
}

std::optional<FrameRate> parseFrameRate(std::string_view text)
{
    text = trimmed(text);
    const bool plain = takeSuffix(text, "ndf");
    const bool drop = !plain && (takeSuffix(text, "df") || takeSuffix(text, "drop"));
    auto rate =
        text.find('/') == std::string_view::npos ? rateFromDecimal(text) : rateFromRatio(text);
    if (rate)
        rate->dropFrame = drop;
    return rate && isUsable(*rate) ? rate : std::nullopt;
}

FrameRate rateOfFrameDuration(double seconds)
{
    const double rate = 1.0 / seconds;
    if (!(rate >= kSlowestRate && rate <= kFastestRate))
        return rate > kFastestRate ? FrameRate{1000, 1, false} : FrameRate{1, 1, false};
    const int nearest = static_cast<int>(std::lround(rate));
    // Text gives durations to 12 places, which is 1e-7 of a frame a second at 1000.
    for (const int denominator : {1, 1001}) {
        const FrameRate exact = reduced(nearest * (denominator == 1 ? 1 : 1000), denominator);
        if (std::fabs(exact.framesPerSecond() - rate) < 1e-6)
            return exact;
    }
    return reduced(static_cast<int>(std::lround(rate * 10'000)), 10'000);
}

std::string describe(const FrameRate& rate)
{
    const auto thousandths = static_cast<std::int64_t>(std::llround(rate.framesPerSecond() * 1000));
    std::string text = std::to_string(thousandths / 1000) + "." + fixed(thousandths % 1000, 3);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    const auto readBack = parseFrameRate(text);
    if (!readBack || readBack->numerator != rate.numerator ||
        readBack->denominator != rate.denominator)
        text = std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator);
    return rate.dropFrame ? text + " drop" : text;
}

std::optional<TimecodeFields> splitTimecode(std::string_view text)
{
    constexpr std::size_t kFieldCount = 4;
    constexpr std::size_t kMostDigits = 3;
    std::array<std::int16_t, kFieldCount> fields{};
    char mark = 0;
    for (std::size_t i = 0; i < kFieldCount; ++i) {
        const std::size_t end = i + 1 < kFieldCount ? text.find_first_of(":;.,") : text.size();
        if (end == std::string_view::npos || end == 0 || end > kMostDigits)
            return std::nullopt;
        const auto value = wholeNumber<std::int16_t>(text.substr(0, end));
        if (!value || *value < 0)
            return std::nullopt;
        fields[i] = *value;
        if (end < text.size())
            mark = text[end];
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (fields[0] > 99 || fields[1] > 59 || fields[2] > 59)
        return std::nullopt;
    return TimecodeFields{fields[0], fields[1], fields[2], fields[3], mark};
}

std::optional<std::int64_t> framesOf(const TimecodeFields& fields, const FrameRate& rate)
{
    const std::int64_t base = rate.timecodeBase();
    if (fields.frames >= base)
        return std::nullopt;
    const std::int64_t minutes = fields.hours * std::int64_t(60) + fields.minutes;
    const std::int64_t counted = (minutes * 60 + fields.seconds) * base + fields.frames;
    if (!rate.dropFrame || !canDropFrames(rate))
        return counted;
    const std::int64_t dropped = droppedPerMinute(base);
    if (fields.seconds == 0 && fields.minutes % 10 != 0 && fields.frames < dropped)
        return std::nullopt;
    return counted - dropped * (minutes - minutes / 10);
}

std::optional<std::int64_t> framesFromTimecode(std::string_view text, const FrameRate& rate)
{
    const auto fields = splitTimecode(text);
    if (!fields)
        return std::nullopt;
    FrameRate counting = rate;
    counting.dropFrame = rate.dropFrame || fields->mark != ':';
    return framesOf(*fields, counting);
}

std::string timecodeFromFrames(std::int64_t frames, const FrameRate& rate)
{
    // The lowest count has no positive counterpart; it is out of any timecode's reach anyway.
    const bool negative = frames < 0;
    const std::int64_t largest = std::numeric_limits<std::int64_t>::max() / 2;
    std::int64_t count = negative ? -std::max(frames, -largest) : std::min(frames, largest);

    const std::int64_t base = rate.timecodeBase();
    const bool drop = rate.dropFrame && canDropFrames(rate);
    if (drop) {
        const std::int64_t dropped = droppedPerMinute(base);
        const std::int64_t perMinute = base * 60 - dropped;
        const std::int64_t perTenMinutes = perMinute * 10 + dropped;
        const std::int64_t tens = count / perTenMinutes;
        const std::int64_t rest = count % perTenMinutes;
        count += dropped * 9 * tens;
        // The first minute of ten is the one that keeps all its numbers.
        if (rest >= base * 60)
            count += dropped * ((rest - base * 60) / perMinute + 1);
    }
    const std::int64_t seconds = count / base;
    return (negative ? "-" : "") + fixed(seconds / 3600, 2) + ":" + fixed(seconds / 60 % 60, 2) +
           ":" + fixed(seconds % 60, 2) + (drop ? ";" : ":") +
           fixed(count % base, base > 100 ? 3 : 2);
}

std::int64_t framesPerDay(const FrameRate& rate)
{
    constexpr std::int64_t kMinutesPerDay = 24 * 60;
    const std::int64_t base = rate.timecodeBase();
    const std::int64_t counted = kMinutesPerDay * 60 * base;
    if (!rate.dropFrame || !canDropFrames(rate))
        return counted;
    return counted - droppedPerMinute(base) * (kMinutesPerDay - kMinutesPerDay / 10);
}

std::optional<double> parsePosition(std::string_view text, const FrameRate& rate,
                                    std::int64_t startFrame)
{
    text = trimmed(text);
    if (text.find_first_of(":;") == std::string_view::npos) {
        const auto seconds = wholeNumber<double>(text);
        return seconds && std::isfinite(*seconds) ? seconds : std::nullopt;
    }
    const auto frames = framesFromTimecode(text, rate);
    if (!frames)
        return std::nullopt;
    std::int64_t fromStart = *frames - startFrame;
    // A cut may run over midnight, where the clock starts again.
    if (fromStart < -framesPerDay(rate) / 2)
        fromStart += framesPerDay(rate);
    return secondsOfFrames(fromStart, rate);
}

double secondsOfFrames(std::int64_t frames, const FrameRate& rate)
{
    return static_cast<double>(frames) * rate.denominator / rate.numerator;
}

std::int64_t nearestFrame(double seconds, const FrameRate& rate)
{
    constexpr double kLargest = 9.0e18;
    const double frames = std::round(seconds * rate.numerator / rate.denominator);
    if (!(frames > -kLargest))
        return frames <= -kLargest ? static_cast<std::int64_t>(-kLargest) : 0;
    return static_cast<std::int64_t>(std::min(frames, kLargest));
}

} // namespace cel

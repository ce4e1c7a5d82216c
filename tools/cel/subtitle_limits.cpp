#include "tools/cel/subtitle_limits.h"

#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <charconv>

namespace cel::tool {

namespace {

double speedOf(const std::string& text)
{
    constexpr double kFastest = 1e6;
    double speed = 0.0;
    const char* const last = text.data() + text.size();
    const auto [end, fault] = std::from_chars(text.data(), last, speed);
    if (fault != std::errc() || end != last || !(speed >= 0.0 && speed <= kFastest))
        throw Failure(kUsage, "--reading-speed " + printable(text) +
                                  " is no number of characters a second");
    return speed;
}

/// The length that an option gives, in seconds; `usual` when it is not given.
double lengthOr(double usual, const char* option, const std::string& text, const FrameRate& rate)
{
    if (text.empty())
        return usual;
    const double length = lengthOf(option, text, rate);
    if (length < 0.0)
        throw Failure(kUsage, std::string(option) + " " + printable(text) + " is below 0");
    return length;
}

} // namespace

void describeLimits(Command& command, SubtitleLimitOptions& options)
{
    constexpr std::size_t kMost = 100'000;
    command.option("--reading-speed", options.readingSpeed,
                   "Subtitles: characters a second at most (17; 0, here and below: any)");
    command.option("--line-length", options.lineLength, "Subtitles: characters in a line (42)", 0,
                   kMost);
    command.option("--lines", options.lines, "Subtitles: lines at most (2)", 0, kMost);
    command.option("--shortest", options.shortest,
                   "Subtitles: shown this long at least, seconds or timecode (5/6 s)");
    command.option("--longest", options.longest, "Subtitles: shown this long at most (7 s)");
    command.option("--gap", options.gap, "Subtitles: frames between two at least (2)", 0, kMost);
}

SubtitleLimits limitsOf(const SubtitleLimitOptions& options, const FrameRate& rate)
{
    constexpr double kMillisecondsOfFrame = 40.0;
    const bool inMilliseconds = rate == FrameRate{1000, 1, false};
    SubtitleLimits limits;
    limits.charactersPerSecond = speedOf(options.readingSpeed);
    limits.charactersPerLine = options.lineLength;
    limits.lines = options.lines;
    limits.shortest = lengthOr(limits.shortest, "--shortest", options.shortest, rate);
    limits.longest = lengthOr(limits.longest, "--longest", options.longest, rate);
    limits.gapFrames =
        static_cast<double>(options.gap) * (inMilliseconds ? kMillisecondsOfFrame : 1.0);
    return limits;
}

std::string listOfSubtitleChecks()
{
    std::string text;
    for (const InvariantInfo& check : checksOfSubtitles())
        text += "  " + padded(check.name, 16) + "  " + check.demand + "\n";
    return text;
}

} // namespace cel::tool

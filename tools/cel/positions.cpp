#include "tools/cel/positions.h"

#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace cel::tool {

namespace {

/// Why a text is no time at all, or which rule of timecode it breaks.
std::string whyNoTime(std::string_view text, const FrameRate& rate, const char* example)
{
    const auto fields = splitTimecode(text);
    if (fields && text.find_first_of(":;") != std::string_view::npos) {
        if (fields->frames >= rate.timecodeBase())
            return " is no timecode: its frames go from 0 to " +
                   std::to_string(rate.timecodeBase() - 1);
        FrameRate counting = rate;
        counting.dropFrame = true; // or it would be a number
        TimecodeFields next = *fields;
        while (next.frames < rate.timecodeBase() && !framesOf(next, counting))
            ++next.frames;
        return " is a number that drop-frame timecode leaves out; the next is " +
               timecodeFromFrames(framesOf(next, counting).value_or(0), counting);
    }
    const auto isMark = [](char c) { return c == ':' || c == ';'; };
    const auto isOfTimecode = [&](char c) { return (c >= '0' && c <= '9') || isMark(c); };
    if (std::count_if(text.begin(), text.end(), isMark) == 3 &&
        std::all_of(text.begin(), text.end(), isOfTimecode))
        return " is no timecode: of hours there are up to 99, of minutes and seconds up to 59";
    return std::string(" is neither seconds (") + example;
}

} // namespace

double positionOf(const std::string& what, const std::string& text, const Cut& cut)
{
    if (auto seconds = parsePosition(text, cut.rate, cut.startFrame))
        return *seconds;
    throw Failure(kUsage, what + " " + printable(text) +
                              whyNoTime(text, cut.rate, "12.48) nor a timecode (01:00:12:12)"));
}

double lengthOf(const std::string& what, const std::string& text, const FrameRate& rate)
{
    const bool isTimecode = text.find_first_of(":;") != std::string::npos;
    const bool backwards = isTimecode && text.front() == '-';
    const bool hasSign = backwards || (text.starts_with('+') && !text.starts_with("+-"));
    const std::string_view size = std::string_view(text).substr(hasSign);
    if (auto seconds = parsePosition(size, rate, 0))
        return backwards ? -*seconds : *seconds;
    throw Failure(kUsage, what + " " + printable(text) +
                              whyNoTime(size, rate, "2.48) nor a timecode (00:00:02:12)"));
}

std::string describePosition(const Cut& cut, double seconds)
{
    return recordTimecode(cut, seconds) + " (" + number(seconds) + " s)";
}

std::string describeLength(const FrameRate& rate, double seconds)
{
    const std::int64_t frames = nearestFrame(seconds, rate);
    if (frames == 0 && seconds != 0.0)
        return number(seconds) + " s"; // less than any timecode says
    return timecodeFromFrames(frames, rate) + " (" + number(seconds) + " s)";
}

} // namespace cel::tool

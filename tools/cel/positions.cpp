#include "tools/cel/positions.h"

#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/text.h"

#include <string_view>

namespace cel::tool {

double positionOf(const std::string& what, const std::string& text, const Cut& cut)
{
    if (auto seconds = parsePosition(text, cut.rate, cut.startFrame))
        return *seconds;
    throw Failure(kUsage, what + " " + printable(text) +
                              " is neither seconds (12.48) nor a timecode (01:00:12:12)");
}

double lengthOf(const std::string& what, const std::string& text, const FrameRate& rate)
{
    const bool isTimecode = text.find_first_of(":;") != std::string::npos;
    const bool backwards = isTimecode && text.front() == '-';
    if (auto seconds = parsePosition(std::string_view(text).substr(backwards), rate, 0))
        return backwards ? -*seconds : *seconds;
    throw Failure(kUsage, what + " " + printable(text) +
                              " is neither seconds (2.48) nor a timecode (00:00:02:12)");
}

std::string describePosition(const Cut& cut, double seconds)
{
    return recordTimecode(cut, seconds) + " (" + number(seconds) + " s)";
}

std::string describeLength(const FrameRate& rate, double seconds)
{
    return timecodeFromFrames(nearestFrame(seconds, rate), rate) + " (" + number(seconds) + " s)";
}

} // namespace cel::tool

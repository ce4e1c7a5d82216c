#include "tests/interchange/cue_text.h"

#include <algorithm>
#include <sstream>

namespace cel::test {

std::string describe(const SubtitleCue& cue)
{
    constexpr const char* kPlacements[] = {"LT", "LM", "LB", "T", "C", "B", "RT", "RM", "RB"};
    std::ostringstream text;
    text.precision(15);
    if (!cue.identifier.empty())
        text << "[" << cue.identifier << "] ";
    text << cue.start << "-" << cue.end << " ";
    if (cue.placement != CuePlacement::bottom)
        text << kPlacements[static_cast<std::size_t>(cue.placement) - 1] << " ";
    std::string lines = cue.text;
    std::replace(lines.begin(), lines.end(), '\n', '|');
    text << lines;
    if (!cue.settings.empty())
        text << " {" << cue.settings << "}";
    return text.str();
}

std::string describe(const SubtitleCues& file)
{
    std::string text;
    for (const SubtitleCue& cue : file.cues)
        text += (text.empty() ? "" : " / ") + describe(cue);
    return text;
}

} // namespace cel::test

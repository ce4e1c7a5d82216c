#include "subtitles/subtitle_checks.h"
#include "tests/subtitles/subtitle_text.h"
#include "tests/support/table.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace cel::test {
namespace {

/// Findings as "index name time".
std::string shown(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& finding : findings) {
        const auto known = std::any_of(
            checksOfSubtitles().begin(), checksOfSubtitles().end(),
            [&finding](const InvariantInfo& info) { return info.name == finding.invariant; });
        EXPECT_TRUE(known) << finding.invariant;
        text += text.empty() ? "" : "; ";
        text += std::to_string(finding.index) + " " + finding.invariant;
        text += finding.severity == Severity::fault ? "!" : "";
    }
    return text;
}

TEST(SubtitleChecks, TellWhatCannotBeRead)
{
    for (const TableRow& row : table("subtitles", "check"))
        EXPECT_EQ(shown(checkSubtitles(elements(row[1]), 0.04)), row[2]) << row.place;
}

TEST(SubtitleChecks, NameEventsOfATrackAndKeepToOtherLimits)
{
    const SubtitleTrack track =
        subtitles("1-1.4 short; 1.44-9 long/er/est; 9-10 long/er/est", 12.0);
    const auto findings = checkSubtitles(track);
    EXPECT_EQ(shown(findings), "2 too-short; 6 short-gap; 6 too-long; 6 line-count");
    EXPECT_EQ(findings[0].text, "it is shown for 0.4 s; the least is 0.83 s");
    EXPECT_EQ(findings[1].text,
              "it follows the one in front of it after 1 frame; the least is 2 frames");
    EXPECT_EQ(findings[2].text, "it is shown for 8.56 s; the most is 7 s");
    EXPECT_DOUBLE_EQ(findings[1].time, 1.44);
    const SubtitleLimits none{0.0, 0, 0, 0.0, 0.0, 0.0};
    EXPECT_EQ(shown(checkSubtitles(track, none)), "");
    const SubtitleLimits strict{1.0, 3, 1, 1.0, 8.0, 1.0};
    EXPECT_EQ(
        shown(checkSubtitles(track, strict)),
        "2 too-short; 2 line-length; 2 reading-speed; 6 too-long; 6 line-length; 6 line-count; "
        "6 reading-speed");
    EXPECT_TRUE(checkSubtitles(SubtitleTrack::createInvalid()).empty());
}

} // namespace
} // namespace cel::test

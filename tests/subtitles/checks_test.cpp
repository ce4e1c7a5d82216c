#include "subtitles/subtitle_checks.h"
#include "tests/subtitles/subtitle_text.h"

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
    // clang-format off
    struct Case { const char* name; std::string elements; const char* expected; };
    static const Case cases[] = {
        {"nothing to say",           "1-3 Who goes there?; 3.08-5 I do.", ""},
        {"as fast as is allowed",    "0-1 12345678901234567",  ""},
        {"one character more",       "0-1 123456789012345678", "0 reading-speed"},
        {"over all lines",           "0-1 123456789/123456789", "0 reading-speed"},
        {"accents are part of a letter", "0-1 1234567890123456e\xCC\x81", ""},
        {"tags are no text",         "0-1 <i>1234567890123<B> <font color=red>456", ""},
        {"a sign is no tag",         "0-1 1 < 2 and 33 >= 22", "0 reading-speed"},
        {"as long as is allowed",    "0-7 " + std::string(42, 'x'), ""},
        {"a line too long",          "0-7 " + std::string(43, 'x') + "/y", "0 line-length"},
        {"lines",                    "0-7 a/b/c", "0 line-count"},
        {"empty lines do not count", "0-7 a//b", ""},
        {"too short",                "0-0.8 a", "0 too-short"},
        {"20 frames of film",        "0-0.833334 a", ""},
        {"no time",                  "1-1 a", "0 too-short!"},
        {"too long",                 "0-7.04 a", "0 too-long"},
        {"a frame between",          "0-1 a; 1.04-2 b", "1 short-gap"},
        {"nothing between",          "0-1 a; 1-2 b", "1 short-gap"},
        {"one subtitle in two",      "0-1 a; 1-2 a; 2.08-3 a", ""},
        {"overlap",                  "0-2 a; 1.96-3 b", "1 overlap!"},
        {"overlap over another",     "0-5 a; 1-2 b; 4-6 c", "1 overlap!; 2 overlap!"},
        {"empty",                    "0-1 ; 2-3 /", "0 no-text; 1 no-text"},
        {"backwards, no number",     "2-1 a; nan-3 b", "0 too-short!; 1 too-short!"},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(shown(checkSubtitles(elements(c.elements), 0.04)), c.expected) << c.name;
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

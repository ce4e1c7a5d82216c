#include "interchange/subrip.h"
#include "interchange/subtitle_layout.h"
#include "tests/interchange/cut_text.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr FrameRate kPal{25, 1, false};

/// "25-50 A|B": frames and text of each laid cue.
std::string laid(const CueLayout& layout)
{
    std::string text;
    for (const LaidCue& cue : layout.cues)
        text += (text.empty() ? "" : " / ") + std::to_string(cue.start) + "-" +
                std::to_string(cue.end) + " " + cue.text;
    std::replace(text.begin(), text.end(), '\n', '|');
    return text;
}

/// A cue of the table: milliseconds and text.
struct Row
{
    int start;
    int end;
    const char* text;
};

SubtitleCues fileOf(const std::vector<Row>& rows)
{
    SubtitleCues file;
    for (const Row& row : rows) {
        SubtitleCue cue;
        cue.start = row.start / 1000.0;
        cue.end = row.end / 1000.0;
        cue.text = row.text;
        cue.line = file.cues.size() + 1;
        file.cues.push_back(cue);
    }
    return file;
}

TEST(SubtitleLayout, LaysCuesEndToEndOnFramesAndTellsWhatThatTook)
{
    // clang-format off
    struct Case { const char* name; std::vector<Row> cues; const char* laid; const char* losses; };
    const Case cases[] = {
        {"nothing",              {},                                            "", ""},
        {"apart and touching",   {{1000, 2000, "A"}, {2000, 3000, "B"}, {4000, 5000, "C"}}, "25-50 A / 50-75 B / 100-125 C", ""},
        {"between frames",       {{1010, 2030, "A"}},                           "25-51 A", "0 frame"},
        {"a frame in ms",        {{1040, 1080, "A"}},                           "26-27 A", ""},
        {"shorter than a frame", {{1000, 1010, "A"}, {2000, 3000, "B"}},        "25-26 A / 50-75 B", "1 short, 0 frame"},
        {"overlap",              {{1000, 3000, "A"}, {2000, 4000, "B"}},        "25-50 A / 50-100 B", "1 overlap"},
        {"one inside another",   {{1000, 9000, "A"}, {2000, 3000, "B"}},        "25-50 A / 50-75 B", "1 overlap"},
        {"at once",              {{1000, 2000, "A"}, {1000, 3000, "B"}, {2000, 4000, "C"}}, "25-50 A|B / 50-100 C", "2 overlap, 1 overlap"},
        {"at once in frames",    {{1000, 2000, "A"}, {1010, 2000, "B"}},        "25-50 A|B", "2 overlap, 0 frame"},
        {"out of order",         {{3000, 4000, "A"}, {1000, 2000, "B"}},        "25-50 B / 75-100 A", "2 order"},
        {"backwards, no length", {{3000, 1000, "A"}, {2000, 2000, "B"}, {4000, 5000, "C"}}, "100-125 C", "1 duration, 2 duration"},
        {"without text",         {{1000, 2000, ""}},                            "", "1 empty"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CueLayout layout = layCues(fileOf(c.cues), kPal);
        EXPECT_EQ(laid(layout), c.laid);
        EXPECT_EQ(kindsOf(layout.losses), c.losses) << describe(layout.losses);
    }
}

TEST(SubtitleLayout, MovesAllTimesAndCutsOffWhatLiesBeforeTheTrack)
{
    const SubtitleCues file = fileOf({{1000, 2000, "A"}, {2000, 4000, "B"}, {5000, 6000, "C"}});
    EXPECT_EQ(laid(layCues(file, kPal, 10.0)), "275-300 A / 300-350 B / 375-400 C");
    const CueLayout earlier = layCues(file, kPal, -3.0);
    EXPECT_EQ(laid(earlier), "0-25 B / 50-75 C");
    EXPECT_EQ(kindsOf(earlier.losses), "1 before, 2 before");
}

TEST(SubtitleLayout, FindsTheSameFramesInTheMillisecondsThatItGave)
{
    for (const FrameRate& rate :
         {FrameRate{24, 1, false}, FrameRate{24000, 1001, false}, FrameRate{60, 1, false},
          FrameRate{30000, 1001, true}, FrameRate{120, 1, false}, FrameRate{1000, 1, false}}) {
        SubtitleCues file;
        for (int i = 0; i < 500; ++i) {
            SubtitleCue cue;
            const std::int64_t frame = i * std::int64_t(1'234'567);
            cue.start = secondsOfFrames(frame, rate);
            cue.end = secondsOfFrames(frame + 1, rate);
            cue.text = "A";
            file.cues.push_back(cue);
        }
        std::string error;
        const CueLayout again = layCues(readSubRip(writeSubRip(file).text, error)->file, rate);
        EXPECT_EQ(laid(again), laid(layCues(file, rate)));
        EXPECT_TRUE(again.losses.empty()) << describe(again.losses);
    }
}

TEST(SubtitleLayout, TellsWhatNoTrackHolds)
{
    SubtitleCues file = fileOf({{1000, 2000, "A"}, {2000, 3000, "B"}});
    file.header = "\nKind: captions";
    file.blocks.push_back({1, 7, "NOTE x"});
    file.cues[0].identifier = "12";
    file.cues[1].identifier = "intro";
    file.cues[1].settings = "size:40%";
    EXPECT_EQ(kindsOf(layCues(file, kPal).losses), "1 header, 7 block, 2 identifier, 2 setting");
}

} // namespace
} // namespace cel::test

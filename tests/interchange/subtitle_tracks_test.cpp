#include "interchange/cel_stream.h"
#include "interchange/subtitle_tracks.h"
#include "subtitles/SubtitleStyleManager.h"
#include "tests/interchange/cue_text.h"
#include "tests/interchange/cut_text.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr const char* kFile = "1\n00:00:01,000 --> 00:00:02,000\n{\\an7}<i>A</i>\nB\n\n"
                              "2\n00:00:02,000 --> 00:00:03,000\nC\n\n"
                              "3\n00:01:00,000 --> 00:01:01,000\n\xE6\x97\xA5\n\n";

SubtitleCues cues(const char* text)
{
    std::string error;
    return readSubtitles(SubtitleForm::subRip, text, error)->file;
}

/// A cut of one subtitle track with the cues of the file.
Cut cutOf(const SubtitleCues& file, const FrameRate& rate = {25, 1, false})
{
    Cut cut;
    cut.rate = rate;
    laySubtitles(file, rate, *cut.addTrack(kSubtitleCookie));
    return cut;
}

TEST(SubtitleTracks, GiveBackTheFileThatWasLaidOnThem)
{
    for (const FrameRate& rate : {FrameRate{24, 1, false}, FrameRate{25, 1, false},
                                  FrameRate{30000, 1001, true}, FrameRate{1000, 1, false}}) {
        const Cut cut = cutOf(cues(kFile), rate);
        EXPECT_EQ(kindOf(*cut.tracks[0]), kSubtitleCookie);
        const std::string written =
            writeSubtitles(SubtitleForm::subRip, cuesOf(*cut.tracks[0]).file).text;
        const Cut again = cutOf(cues(written.c_str()), rate);
        EXPECT_EQ(describe(cuesOf(*again.tracks[0]).file), describe(cuesOf(*cut.tracks[0]).file));
        if (rate.denominator == 1) {
            EXPECT_EQ(written, kFile) << "seconds are whole frames";
        }
    }
}

TEST(SubtitleTracks, KeepTheirTextsThroughStreamsCopiesAndRipples)
{
    const Cut cut = cutOf(cues(kFile));
    std::string error;
    const auto loaded = readCut(writeCut(cut), error);
    ASSERT_TRUE(loaded) << error;
    EXPECT_EQ(describe(cuesOf(*loaded->cut.tracks[0]).file), describe(cuesOf(*cut.tracks[0]).file));

    const Kt::Ptr<Cel> copy = copyOfTrack(*cut.tracks[0]);
    copy->remove({1.5, 60.5});
    EXPECT_EQ(describe(cuesOf(*copy).file), "[1] 1-1.5 LT <i>A</i>|B / [2] 1.5-2 \xE6\x97\xA5");
    EXPECT_EQ(subtitlesOf(*cut.tracks[0]).size(), 3U) << "the original";
    EXPECT_TRUE(subtitlesOf(*Kt::Ptr<Cel>(new Cel(0, 0.04))).empty());
}

TEST(SubtitleTracks, FillUpWithBlackAndMoveAllTimes)
{
    Cut cut;
    Cel& track = *cut.addTrack(kSubtitleCookie);
    laySubtitles(cues(kFile), cut.rate, track, 10.0, 100.0);
    EXPECT_DOUBLE_EQ(track.get_end_time(), 100.0);
    EXPECT_DOUBLE_EQ(subtitlesOf(track).at(0).start, 11.0);
    EXPECT_EQ(describe(cuesOf(track, -10.0).file.cues.at(1)), "[2] 2-3 C");
    EXPECT_EQ(kindsOf(laySubtitles(cues(kFile), cut.rate, *cut.addTrack(kVideoCookie))), "0 track");
}

TEST(SubtitleTracks, AreCleanedForAFileWhichTellsOfIt)
{
    // clang-format off
    struct Case { const char* name; std::vector<LightweightString<wchar_t>> lines; double shift; const char* cues; const char* losses; };
    const Case cases[] = {
        {"an empty line",      {L"A", L"", L"B"},     0.0,  "[1] 1-2 A|B", "0 blank"},
        {"a line of two",      {L"A\r\n\tB\x1B"},    0.0,  "[1] 1-2 A|\tB ", "0 text, 0 blank"},
        {"an unclosed tag",    {L"<I>A", L"{\\an8}"}, 0.0,  "[1] 1-2 <i>A|{\\an8}</i>", ""},
        {"no text",            {L"<i></i>", L""},     0.0,  "", "0 empty"},
        {"before the file",    {L"A"},                -2.0, "", "0 before"},
        {"over its beginning", {L"A"},                -1.5, "[1] 0-0.5 A", "0 before"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SubtitleTrack::RangedElement element;
        element.lines = c.lines;
        element.start = 1.0;
        element.end = 2.0;
        const SubtitleTrack track({element}, 3.0, 0.04);
        const SubtitleImport made = cuesOf(*track.getCel(), c.shift);
        EXPECT_EQ(describe(made.file), c.cues);
        EXPECT_EQ(kindsOf(made.losses), c.losses) << describe(made.losses);
    }
}

TEST(SubtitleTracks, TakeThePlaceOfAStyleFromTheRegistryAndElseFromItsName)
{
    for (int place = 1; place <= 9; ++place) {
        const auto placement = static_cast<CuePlacement>(place);
        EXPECT_EQ(placementOfStyle(std::string(styleOfPlacement(placement))), placement);
    }
    EXPECT_EQ(placementOfStyle("of another system"), CuePlacement::bottom);
    SubtitleStyle sign;
    sign.id = "sign";
    sign.pos = SubtitleStyle::kRightTop;
    SubtitleStyleManager::instance().addStyle(sign);
    EXPECT_EQ(placementOfStyle("sign"), CuePlacement::rightTop);
    SubtitleStyleManager::instance().removeStyle(sign);
}

} // namespace
} // namespace cel::test

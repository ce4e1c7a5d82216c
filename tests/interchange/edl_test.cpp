#include "interchange/edl.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

const std::filesystem::path kData = CEL_TEST_DATA;
const std::filesystem::path kExamples = kData / ".." / ".." / "examples";

EdlImport import(std::string_view text, std::optional<FrameRate> rate = {})
{
    std::string error;
    auto result = importEdl(text, rate, error);
    EXPECT_TRUE(result) << error;
    return result ? std::move(*result) : EdlImport();
}

std::string errorOf(std::string_view text)
{
    std::string error;
    EXPECT_FALSE(importEdl(text, {}, error));
    return error;
}

std::string event(std::string_view times, std::string_view reel = "R1",
                  std::string_view rest = "V C")
{
    return "001 " + std::string(reel) + " " + std::string(rest) + " " + std::string(times) + "\n";
}

// ---- reading ----------------------------------------------------------------------------------

/// Each list in the data folder has beside it what must come of it: the guess, the cut, the losses.
struct EdlFile
{
    const char* name;
    const char* exportLosses;
};

class EdlFiles : public testing::TestWithParam<EdlFile>
{
protected:
    std::string content(const char* extension) const
    {
        return contentOf(kData / "edl" / (std::string(GetParam().name) + extension));
    }
};

TEST_P(EdlFiles, BecomeTheCutAndTheLossesBesideThem)
{
    const EdlImport result = import(content(".edl"));
    EXPECT_EQ("because " + result.rateReason + "\n" + describe(result.cut) + "losses\n" +
                  describe(result.losses),
              content(".txt"));
}

TEST_P(EdlFiles, ComeBackTheSameAfterAnExport)
{
    const EdlImport first = import(content(".edl"));
    const EdlExport written = exportEdl(first.cut);
    EXPECT_EQ(kindsOf(written.losses), GetParam().exportLosses) << describe(written.losses);
    const EdlImport second = import(written.text, first.cut.rate);
    EXPECT_EQ(describe(second.losses), "");
    if (kindsOf(written.losses).find("reel") == std::string::npos) {
        EXPECT_EQ(describe(second.cut), describe(first.cut));
    }
    EXPECT_EQ(exportEdl(second.cut).text, written.text);
}

INSTANTIATE_TEST_SUITE_P(Of, EdlFiles,
                         testing::Values(EdlFile{"speeds", ""}, EdlFile{"transitions", ""},
                                         EdlFile{"channels", "13 reel"}, EdlFile{"drop", ""},
                                         EdlFile{"odd_lines", "0 rate"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(EdlExample, IsACleanCutOfFourTracks)
{
    const EdlImport result = import(contentOf(kExamples / "harbour.edl"));
    EXPECT_EQ(kindsOf(result.losses), "80 dissolve, 224 dissolve");
    std::string tracks;
    for (const Kt::Ptr<Cel>& track : result.cut.tracks)
        tracks += std::string(track->editChannelName().view()) + ":" +
                  std::to_string(track->numEvents() / 2) + " ";
    EXPECT_EQ(tracks, "V1:38 V2:15 A1:21 A2:16 ");
    const EdlExport written = exportEdl(result.cut);
    EXPECT_TRUE(written.losses.empty()) << describe(written.losses);
    EXPECT_EQ(describe(import(written.text).cut), describe(result.cut));
}

TEST(EdlRate, IsGuessedFromWhatTheListShows)
{
    // clang-format off
    struct Case { const char* name; std::string list; const char* rate; };
    const Case cases[] = {
        {"no frame above 23",        event("1:00:00:00 1:00:00:20 0:00:00:00 0:00:00:20"), "24"},
        {"a frame 24",               event("1:00:00:00 1:00:00:24 0:00:00:00 0:00:00:24"), "25"},
        {"a frame 29",               event("1:00:00:00 1:00:00:29 0:00:00:00 0:00:00:29"), "30"},
        {"a frame 30",               event("1:00:00:00 1:00:00:30 0:00:00:00 0:00:00:30"), "50"},
        {"a frame 59",               event("1:00:00:00 1:00:00:59 0:00:00:00 0:00:00:59"), "60"},
        {"equal durations say 25",   event("1:00:10:00 1:00:10:20 0:00:04:15 0:00:05:10"), "25"},
        {"equal durations say 30",   event("1:00:10:00 1:00:10:20 0:00:04:15 0:00:05:05"), "30"},
        {"durations below a frame",  event("1:00:10:00 1:00:10:24 0:00:04:20 0:00:05:20"), "25"},
        {"FCM: DROP FRAME",          "FCM: DROP FRAME\n" +
                                     event("1:00:00:00 1:00:00:20 0:00:00:00 0:00:00:20"), "29.97 drop"},
        {"a mark for drop",          event("1:00:00;00 1:00:00;20 0:00:00;00 0:00:00;20"), "29.97 drop"},
        {"drop and a frame 59",      event("1:00:00;00 1:00:00;59 0:00:00;00 0:00:00;59"), "59.94 drop"},
        {"drop in the source alone", event("1:00:00;00 1:00:00;20 0:00:00:00 0:00:00:20"), "24"},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(describe(import(c.list).cut.rate), c.rate) << c.name;

    std::string manyAndOneSlip;
    for (int i = 0; i < 5; ++i)
        manyAndOneSlip += event("1:00:00:00 1:00:00:24 0:00:00:00 0:00:00:24");
    EXPECT_EQ(
        describe(
            import(manyAndOneSlip + event("1:00:00:00 1:00:00:74 0:00:00:00 0:00:00:24")).cut.rate),
        "25");
}

TEST(EdlRate, ThatIsGivenIsTakenWithTheCountingOfTheList)
{
    const std::string list = event("1:00:00;00 1:00:01;00 0:00:00;00 0:00:01;00");
    EXPECT_EQ(describe(import(list, FrameRate{30000, 1001, false}).cut.rate), "29.97 drop");
    const EdlImport pal = import(list, FrameRate{25, 1, false});
    EXPECT_EQ(describe(pal.cut.rate), "25");
    EXPECT_FALSE(pal.rateGuessed);
    EXPECT_EQ(kindsOf(import(event("1:00:00:00 1:00:00:24 0:00:00:00 0:00:00:24") +
                                 event("1:00:00:00 1:00:00:10 0:00:01:00 0:00:01:10"),
                             FrameRate{24, 1, false})
                          .losses),
              "1 timecode")
        << "an event whose frame does not exist is left out";
}

TEST(EdlText, ThatIsNoListNamesTheReason)
{
    EXPECT_EQ(errorOf(""), "nothing in the edit list can be read as an event; no line of it is an "
                           "event");
    EXPECT_EQ(errorOf("TITLE: X\n001 A V C 1:00:00:00\n"),
              "nothing in the edit list can be read as an event; line 2: an event cannot be read, "
              "it has no four timecodes: \"001 A V C 1:00:00:00\"");
    EXPECT_EQ(errorOf("\xFF\xFET"), "the edit list is UTF-16 text; save it as UTF-8");
    EXPECT_EQ(errorOf(std::string((std::size_t(64) << 20) + 1, '\n')),
              "the edit list is larger than 64 MiB");
}

TEST(EdlText, BeyondTheLimitsIsNamed)
{
    const std::string one = event("1:00:00:00 1:00:00:10 0:00:00:00 0:00:00:10");
    EXPECT_EQ(kindsOf(import(one + "* " + std::string(5000, 'x') + "\n").losses), "2 limit");
    EXPECT_EQ(kindsOf(import(one + std::string(1'000'000, '\n') + one).losses), "1000001 limit");
    EXPECT_EQ(kindsOf(import("* caf\xE9\r" + one + "* \x1B[31m\r").losses),
              "0 text, 0 text, 1 comment, 3 comment");

    std::string channels;
    for (int i = 1; i <= 64; ++i)
        channels += "V" + std::to_string(i) + "A" + std::to_string(i);
    std::string wide;
    for (int i = 0; i < 7813; ++i)
        wide += event("1:00:00:00 1:00:00:10 0:00:00:00 0:00:00:10", "R", channels + " C");
    const LossLedger losses = import(wide).losses;
    EXPECT_EQ(losses.entries().front().text, "989808 more overlaps were resolved in the same way");
    EXPECT_EQ(losses.entries().back().text,
              "more than 1000000 sections; this event and all later ones are left out");
}

// ---- writing ----------------------------------------------------------------------------------

/// A cut whose shots 'A' to 'E' are material of these reels; 'F' is in no table.
Cut cutOf(std::initializer_list<const char*> tracks)
{
    Cut cut;
    cut.title = "T";
    for (const char* reel : {"R1", "LONG REEL 1", "LONG REEL 2", "bl", ""})
        cut.materials.add({kVideoCookie, "clip", reel, ""});
    for (const char* notation : tracks) {
        const Kt::Ptr<Cel> track = cut.addTrack(kVideoCookie);
        fill(*track, notation);
        for (int i = 0; i < track->numEvents(); ++i)
            for (char shot = 'A'; shot <= 'F'; ++shot)
                if (track->get_event(i).strip_name() == material(shot))
                    track->getChanEventPtr(i)->strip_name(
                        Cookie(kVideoCookie, shot - 'A' + 1, 0, 0));
    }
    return cut;
}

TEST(EdlExport, WritesTheColumnsOfTheFormat)
{
    Cut cut = cutOf({".0-1 A1-2@10*0.5 A2-3@10*0 .3-4 A4-5@10*-1", "A6-7"});
    cut.startFrame = 90000;
    EXPECT_EQ(exportEdl(cut).text,
              "TITLE: T\n"
              "FCM: NON-DROP FRAME\n"
              "001  BL       V     C        00:00:00:00 00:00:01:00 01:00:00:00 01:00:01:00\n"
              "002  R1       V     C        00:00:10:00 00:00:10:13 01:00:01:00 01:00:02:00\n"
              "M2   R1             012.5                00:00:10:00\n"
              "* FROM CLIP NAME: clip\n"
              "003  R1       V     C        00:00:10:00 00:00:10:01 01:00:02:00 01:00:03:00\n"
              "M2   R1             000.0                00:00:10:00\n"
              "* FROM CLIP NAME: clip\n"
              "004  BL       V     C        00:00:00:00 00:00:01:00 01:00:03:00 01:00:04:00\n"
              "005  R1       V     C        00:00:10:00 00:00:11:00 01:00:04:00 01:00:05:00\n"
              "M2   R1             -025.0               00:00:10:00\n"
              "* FROM CLIP NAME: clip\n"
              "006  R1       V2    C        00:00:00:00 00:00:01:00 01:00:06:00 01:00:07:00\n"
              "* FROM CLIP NAME: clip\n");
}

TEST(EdlExport, NamesWhatTheFormCannotCarry)
{
    // clang-format off
    struct Case { const char* name; const char* track; const char* losses; };
    static const Case cases[] = {
        {"nothing",                 "A0-1 .1-2 A2-3*2",       ""},
        {"level at one end",        "A0-1:1>0",               "3 level"},
        {"level change inside",     "A<0@0 A=0.5:0.5 A>1@1",  "3 level"},
        {"fade",                    "A0-1~20",                "3 ramp"},
        {"switched off",            "A0-1!",                  "3 inactive"},
        {"effect",                  "A0-1#7",                 "3 effect"},
        {"speed mark",              "A0-1%3",                 "3 modifier"},
        {"cut between frames",      "A0-1.01",                "3 subframe"},
        {"source between frames",   "A0-1@0.01",              "3 subframe"},
        {"speed with more digits",  "A0-1*0.333",             "3 speed"},
        {"two speeds",              "A0-1@0>1*2>1",           "3 speed"},
        {"source before midnight",  "A0-1@-5",                "3 timecode"},
        {"less than half a frame",  "A0-0.01",                "0 empty, 0 track"},
        {"an end without a start",  "A>1",                    "0 section, 0 track"},
        {"reels that do not fit",   "B0-1 C1-2 B2-3",         "3 reel, 5 reel"},
        {"a reel like black",       "D0-1",                   "3 reel"},
        {"no reel",                 "E0-1",                   "3 reel"},
        {"unknown material",        "F0-1",                   "3 material"},
        {"nothing at all",          "",                       "0 track"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Cut cut = cutOf({c.track});
        LossLedger losses = exportEdl(cut).losses;
        std::string kinds = kindsOf(losses);
        // So short a list has no frame that tells 25 from 24.
        if (kinds.ends_with("0 rate"))
            kinds.erase(kinds.size() < 8 ? 0 : kinds.size() - 8);
        EXPECT_EQ(kinds, c.losses) << describe(losses);
    }
}

TEST(EdlExport, KeepsShortenedReelsApart)
{
    const std::string text = exportEdl(cutOf({"B0-1 C1-2 B2-3"})).text;
    EXPECT_NE(text.find("001  LONG_REE V"), std::string::npos) << text;
    EXPECT_NE(text.find("002  LONG_RE2 V"), std::string::npos);
    EXPECT_NE(text.find("003  LONG_REE V"), std::string::npos);
}

} // namespace
} // namespace cel::test

#include "interchange/edl.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

const std::filesystem::path kData = CEL_TEST_DATA;

EdlImport import(std::string_view text, std::optional<FrameRate> rate = {})
{
    std::string error;
    auto result = importEdl(text, rate, error);
    EXPECT_TRUE(result) << error;
    return result ? std::move(*result) : EdlImport();
}

std::string event(std::string_view times, std::string_view reel = "R1",
                  std::string_view rest = "V C")
{
    return "001 " + std::string(reel) + " " + std::string(rest) + " " + std::string(times) + "\n";
}

// ---- reading ----------------------------------------------------------------------------------

TEST(EdlFiles, BecomeTheCutBesideThemAndComeBackTheSameAfterAnExport)
{
    for (const TableRow& c : table("lists", "edl files")) {
        SCOPED_TRACE(c[0]);
        const EdlImport first = import(contentOf(kData / "edl" / (c[0] + ".edl")));
        EXPECT_EQ("because " + first.rateReason + "\n" + describe(first.cut) + "losses\n" +
                      describe(first.losses),
                  contentOf(kData / "edl" / (c[0] + ".txt")));

        const EdlExport written = exportEdl(first.cut);
        EXPECT_EQ(kindsOf(written.losses), c[1]) << describe(written.losses);
        const EdlImport second = import(written.text, first.cut.rate);
        EXPECT_EQ(describe(second.losses), "");
        if (c[1].find("reel") == std::string::npos) {
            EXPECT_EQ(describe(second.cut), describe(first.cut));
        }
        EXPECT_EQ(exportEdl(second.cut).text, written.text);
    }
}

TEST(EdlExample, IsACleanCutOfFourTracks)
{
    const EdlImport result = import(contentOf(kData / "../../examples/harbour.edl"));
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
    for (const TableRow& c : table("lists", "edl rates"))
        EXPECT_EQ(describe(import(c[2]).cut.rate), c[1]) << c.place;
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
    std::string error;
    for (const TableRow& c : table("lists", "edl reasons")) {
        EXPECT_FALSE(importEdl(c[0], {}, error));
        EXPECT_EQ(error, c[1]);
    }
    EXPECT_FALSE(importEdl(std::string((std::size_t(64) << 20) + 1, '\n'), {}, error));
    EXPECT_EQ(error, "the edit list is larger than 64 MiB");
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
    EXPECT_EQ(losses.entries().end()[-2].text,
              "more than 1000000 sections; this event and all later ones are left out");
    EXPECT_EQ(losses.entries().back().text, "989808 more overlaps were resolved in the same way");
}

// ---- writing ----------------------------------------------------------------------------------

/// A cut whose shots 'A' to 'E' are material of these reels; 'F' is in no table.
Cut cutOfReels(std::initializer_list<std::string_view> tracks)
{
    Cut cut = cutOf(tracks);
    cut.title = "T";
    for (const char* reel : {"R1", "LONG REEL 1", "LONG REEL 2", "bl", ""})
        cut.materials.add({kVideoCookie, "clip", reel, ""});
    for (const Kt::Ptr<Cel>& track : cut.tracks)
        for (int i = 0; i < track->numEvents(); ++i)
            for (char shot = 'A'; shot <= 'F'; ++shot)
                if (track->get_event(i).strip_name() == material(shot))
                    track->getChanEventPtr(i)->strip_name(
                        Cookie(kVideoCookie, shot - 'A' + 1, 0, 0));
    return cut;
}

TEST(EdlExport, WritesTheColumnsOfTheFormat)
{
    Cut cut = cutOfReels({".0-1 A1-2@10*0.5 A2-3@10*0 .3-4 A4-5@10*-1", "A6-7"});
    cut.startFrame = 90000;
    EXPECT_EQ(exportEdl(cut).text, contentOf(kData / "edl/written.edl"));
}

TEST(EdlExport, NamesWhatTheFormCannotCarry)
{
    for (const TableRow& c : table("lists", "edl export")) {
        SCOPED_TRACE(c.place);
        const LossLedger losses = exportEdl(cutOfReels({c[1]})).losses;
        std::string kinds = kindsOf(losses);
        // So short a list has no frame that tells 25 from 24.
        if (kinds.ends_with("0 rate"))
            kinds.erase(kinds.size() < 8 ? 0 : kinds.size() - 8);
        EXPECT_EQ(kinds, c[2]) << describe(losses);
    }
}

TEST(EdlExport, KeepsShortenedReelsApart)
{
    const std::string text = exportEdl(cutOfReels({"B0-1 C1-2 B2-3"})).text;
    EXPECT_NE(text.find("001  LONG_REE V"), std::string::npos) << text;
    EXPECT_NE(text.find("002  LONG_RE2 V"), std::string::npos);
    EXPECT_NE(text.find("003  LONG_REE V"), std::string::npos);
}

} // namespace
} // namespace cel::test

#include "interchange/text_list.h"

#include "platform/support/TextFile.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace cel::test {
namespace {

TextFile fileOf(const std::string& text)
{
    TextFile file;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        file.appendLine(line);
    return file;
}

std::string textOf(const TextFile& file)
{
    std::string text;
    for (std::size_t i = 0; i < file.numLines(); ++i)
        text += std::string(file[i].view()) + "\n";
    return text;
}

TextListImport import(const std::string& text)
{
    TextFile file = fileOf(text);
    std::string error;
    auto result = importTextList(file, error);
    EXPECT_TRUE(result) << error;
    return result ? std::move(*result) : TextListImport();
}

std::string tracksOf(const Cut& cut)
{
    std::string text;
    for (const Kt::Ptr<Cel>& track : cut.tracks)
        text += std::string(track->editChannelName().view()) + " " + describe(*track) + "\n";
    return text;
}

constexpr const char* kHeader = "CEL_REVISION 1\nFRAME_RESOLUTION 0.04\n";

TEST(TextListExample, ComesBackAsItWas)
{
    const std::filesystem::path path =
        std::filesystem::path(CEL_TEST_DATA) / ".." / ".." / "examples" / "boat_at_sea.txt";
    const std::string text = contentOf(path);
    const TextListImport result = import(text);
    EXPECT_EQ(kindsOf(result.losses), "0 material");
    EXPECT_EQ(describe(result.cut.rate), "25");
    EXPECT_EQ(describe(result.cut),
              ", 25, from 00:00:00:00\n"
              "V1\n"
              "  00:00:00:00-00:00:02:00 black\n"
              "  00:00:02:00-00:00:08:12 09:11:12:05 86:1:0:0:0\n"
              "  00:00:08:12-00:00:12:12 05:02:17:00 86:2:0:0:0 x0.5\n"
              "  00:00:12:12-00:00:15:12 10:12:00:10 86:3:0:0:0 x0\n"
              "  00:00:15:12-00:00:17:12 05:02:25:00 86:2:0:0:0 x-1\n"
              "A1\n"
              "  00:00:00:00-00:00:02:00 14:30:00:00 83:4:0:0:0 level 0>0.75\n"
              "  00:00:02:00-00:00:15:12 09:11:12:05 83:5:0:0:0\n"
              "  00:00:15:12-00:00:17:12 14:30:15:12 83:4:0:0:0 level 0.75>0\n");
    TextFile written;
    exportTextList(result.cut, written);
    EXPECT_EQ(textOf(written), text);
}

TEST(TextListImport, KeepsGoodPairsAndReportsTheOthers)
{
    // clang-format off
    struct Case { const char* name; const char* lines; const char* events; const char* losses; };
    static const Case cases[] = {
        {"speed runs to the out point", "0 86:1:0:0:0 in 10\n4 86:1:0:0:0 out 12 - 0.5\n",
         "0 10 x0.5, 4 12 x0.5", "0 material"},
        {"a speed that was never set",  "0 86:1:0:0:0 in 10\n4 86:1:0:0:0 out 12 - 2.21e+05\n",
         "0 10 x1, 4 14 x1", "0 material"},
        {"no pair at all",              "", "", ""},
        {"no out line",                 "0 86:1:0:0:0 in 10\n", "", "3 pair"},
        {"no in line",                  "4 86:1:0:0:0 out\n", "", "3 pair"},
        {"one line lost between good",  "0 86:1:0:0:0 in 0\n0 86:1:0:0:0 in 5\n1 86:1:0:0:0 out\n",
         "0 5 x1, 1 6 x1", "0 material, 3 pair"},
        {"two out lines",               "0 86:1:0:0:0 in 5\n1 86:1:0:0:0 out\n2 86:1:0:0:0 out\n",
         "0 5 x1, 1 6 x1", "0 material, 5 pair"},
        {"no material",                 "0 nothing in 5\n1 nothing out\n", "", "3 pair"},
        {"no number",                   "x 86:1:0:0:0 in 5\n1 86:1:0:0:0 out\n", "", "3 pair"},
        {"not a finite number",         "0 86:1:0:0:0 in 5\ninf 86:1:0:0:0 out\n", "", "3 pair"},
        {"far beyond any time",         "0 86:1:0:0:0 in 5\n1e99 86:1:0:0:0 out\n", "", "3 pair"},
        {"ends before it starts",       "4 86:1:0:0:0 in 5\n1 86:1:0:0:0 out\n", "", "3 pair"},
        {"no length",                   "1 86:1:0:0:0 in 5\n1 86:1:0:0:0 out\n", "", "3 empty"},
        {"a level that is none",        "0 86:1:0:0:0 in 5 loud\n1 86:1:0:0:0 out - -2\n",
         "0 5 x1, 1 6 x1", "0 material, 3 level, 4 level"},
        {"a speed that is none",        "0 86:1:0:0:0 in 5\n1 86:1:0:0:0 out 6 - 1e300\n",
         "0 5 x1, 1 6 x1", "0 material, 4 speed"},
        {"words that mean nothing",     "0 86:1:0:0:0 in 5 1 2 3\n1 86:1:0:0:0 out 6\n",
         "0 5 x1, 1 6 x1", "0 material, 3 unknown, 4 unknown"},
        {"a gap is closed",             "2 86:1:0:647:0 in 5\n3 86:1:0:647:0 out\n",
         "0 5 x1, 1 6 x1", "3 gap"},
        {"an overlap is laid out",      "0 86:1:0:647:0 in 5\n2 86:1:0:647:0 out\n"
                                        "1 86:1:0:647:0 in 5\n3 86:1:0:647:0 out\n",
         "0 5 x1, 2 7 x1, 2 5 x1, 4 7 x1", "5 overlap"},
        {"tabs and blank lines",        "\n0\t86:1:0:647:0\tin\t5\n1 86:1:0:647:0 out\n",
         "0 5 x1, 1 6 x1", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TextListImport result = import(std::string(kHeader) + c.lines);
        std::ostringstream events;
        for (const ChannelEvent& event : result.cut.tracks.at(0)->events())
            events << (events.tellp() == 0 ? "" : ", ") << event.edit_time() << ' '
                   << event.strip_time() << " x" << event.velocity();
        EXPECT_EQ(events.str(), c.events);
        EXPECT_EQ(kindsOf(result.losses), c.losses) << describe(result.losses);
    }
}

TEST(TextListImport, TakesEachBlockAsATrack)
{
    const TextListImport result =
        import("stray\n" + std::string(kHeader) + "0 83:1:0:647:0 in 0\n1 83:1:0:647:0 out\n" +
               "END_CHANNEL\n" + kHeader + "END_CHANNEL\nCEL_REVISION 7\nFRAME_RESOLUTION x\n" +
               "CEL_REVISION 2\nFRAME_RESOLUTION 0.041666666667\n" + kHeader);
    EXPECT_EQ(tracksOf(result.cut), "A1 ,0-1\nV1 \nV2 \nV3 \n");
    EXPECT_EQ(kindsOf(result.losses), "1 unknown, 11 block, 13 rate");
}

TEST(TextListImport, OfNoListNamesTheReason)
{
    for (const char* text : {"", "FRAME_RESOLUTION 0.04\n", "CEL_REVISION 1\n",
                             "CEL_REVISION 1\nFRAME_RESOLUTION 1e-9\n"}) {
        TextFile file = fileOf(text);
        std::string error;
        EXPECT_FALSE(importTextList(file, error)) << text;
        EXPECT_EQ(error.find("no block of a text edit list begins in it"), 0U);
    }
}

TEST(TextListExport, NamesWhatTheFormCannotCarry)
{
    // clang-format off
    struct Case { const char* name; const char* track; const char* losses; };
    static const Case cases[] = {
        {"plain cuts",               "A0-1 .1-2 A2-3*0.5",     ""},
        {"a level",                  "A0-1:0.25",              ""},
        {"a level of five decimals", "A0-1:0.12345",           "3 level"},
        {"speed of many digits",     "A0-1*0.33333",           "3 speed"},
        {"speed and level at start", "A0-1*2:0.5>1",           "3 level"},
        {"speed and level at end",   "A0-1*2:1>0.5",           "3 speed"},
        {"two speeds",               "A0-1@0>1*1>2",           "3 speed"},
        {"a fade",                   "A0-1 B1-2~20",           "5 ramp"},
        {"an effect",                "A0-1#7",                 "3 effect"},
        {"a hole",                   "A0-1 B2-3",              "5 gap"},
        {"level changes",            "A<0@0 A=0.5:0.5 A>1@1",  "3 level"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Cut cut;
        fill(*cut.addTrack(kVideoCookie), c.track);
        TextFile file;
        std::string kinds = kindsOf(exportTextList(cut, file).losses);
        EXPECT_EQ(kinds, std::string("0 track") + (*c.losses ? ", " : "") + c.losses);
    }

    Cut cut;
    cut.rate = {50, 1, true};
    cut.title = "T";
    cut.startFrame = 1;
    cut.materials.add({});
    cut.addTrack(kVideoCookie);
    TextFile file;
    EXPECT_EQ(kindsOf(exportTextList(cut, file).losses),
              "0 track, 0 material, 0 title, 0 timecode, 0 counting, 2 rate");
}

} // namespace
} // namespace cel::test

#include "interchange/text_list.h"

#include "platform/support/TextFile.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/table.h"
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

const std::filesystem::path kData = CEL_TEST_DATA;
const std::string kHeader = "CEL_REVISION 1\nFRAME_RESOLUTION 0.04\n";

TEST(TextListExample, ComesBackAsItWas)
{
    const std::string text = contentOf(kData / "../../examples/boat_at_sea.txt");
    const TextListImport result = import(text);
    EXPECT_EQ(kindsOf(result.losses), "0 material");
    EXPECT_EQ(describe(result.cut), contentOf(kData / "boat_at_sea.txt"));
    TextFile written;
    exportTextList(result.cut, written);
    EXPECT_EQ(textOf(written), text);
}

TEST(TextListImport, KeepsGoodPairsAndReportsTheOthers)
{
    for (const TableRow& c : table("lists", "text list pairs")) {
        SCOPED_TRACE(c.place);
        const TextListImport result = import(kHeader + c[1]);
        std::ostringstream events;
        for (const ChannelEvent& event : result.cut.tracks.at(0)->events())
            events << (events.tellp() == 0 ? "" : ", ") << event.edit_time() << ' '
                   << event.strip_time() << " x" << event.velocity();
        EXPECT_EQ(events.str(), c[2]);
        EXPECT_EQ(kindsOf(result.losses), c[3]) << describe(result.losses);
    }
}

TEST(TextListImport, TakesEachBlockAsATrack)
{
    const TextListImport result =
        import("stray\n" + kHeader + "0 83:1:0:647:0 in 0\n1 83:1:0:647:0 out\n" + "END_CHANNEL\n" +
               kHeader + "END_CHANNEL\nCEL_REVISION 7\nFRAME_RESOLUTION x\n" +
               "CEL_REVISION 2\nFRAME_RESOLUTION 0.041666666667\n" + kHeader);
    std::string tracks;
    for (const Kt::Ptr<Cel>& track : result.cut.tracks)
        tracks += std::string(track->editChannelName().view()) + " " + describe(*track) + "; ";
    EXPECT_EQ(tracks, "A1 ,0-1; V1 ; V2 ; V3 ; ");
    EXPECT_EQ(kindsOf(result.losses), "1 unknown, 11 block, 13 rate");
}

TEST(TextListImport, OfNoListNamesTheReason)
{
    for (const TableRow& c : table("lists", "no text lists")) {
        TextFile file = fileOf(c[1]);
        std::string error;
        EXPECT_FALSE(importTextList(file, error)) << c.place;
        EXPECT_EQ(error.find("no block of a text edit list begins in it"), 0U);
    }
}

TEST(TextListExport, NamesWhatTheFormCannotCarry)
{
    for (const TableRow& c : table("lists", "text list export")) {
        TextFile file;
        const std::string kinds = kindsOf(exportTextList(cutOf({c[1]}), file).losses);
        EXPECT_EQ(kinds, "0 track" + (c[2].empty() ? "" : ", " + c[2])) << c.place;
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

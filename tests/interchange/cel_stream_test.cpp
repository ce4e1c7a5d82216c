#include "interchange/cel_stream.h"

#include "cel/inspect.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

std::string text(const std::vector<LoadFinding>& findings)
{
    std::string all;
    for (const LoadFinding& finding : findings)
        all += std::to_string(finding.offset.value()) + " " + finding.where + ": " + finding.text +
               "\n";
    return all;
}

LoadedCut read(std::span<const std::byte> bytes)
{
    std::string error;
    auto loaded = readCut(bytes, error);
    EXPECT_TRUE(loaded) << error;
    return loaded ? std::move(*loaded) : LoadedCut();
}

/// The stream of a cut, with more written behind it.
template <class Write>
std::vector<std::byte> streamWith(const Cut& cut, Write write)
{
    StreamFile file(writeCut(cut));
    PStream stream(file);
    write(stream);
    return {file.bytes().begin(), file.bytes().end()};
}

TEST(CutStream, IsReadAndWrittenAsTheFormatSays)
{
    const std::vector<std::byte> golden = hexFile("cut");
    const LoadedCut loaded = read(golden);
    EXPECT_EQ(text(loaded.findings), "");
    EXPECT_EQ(describe(loaded.cut), "Scene 4, 29.97 drop, from 01:00:00;00\n"
                                    "V1\n"
                                    "  00:00:00;00-00:00:01;00 05:02:17;15 B004 \"Gulls\" "
                                    "[B004C002.mov] x0.5\n"
                                    "  00:00:01;00-00:00:02;00 black\n"
                                    "A1\n"
                                    "  00:00:00;00-00:00:02;00 14:30:00;02 SND1\n");
    EXPECT_EQ(loaded.cut.tracks[1]->editChannelSubType(), "sound");
    EXPECT_EQ(hexText(writeCut(loaded.cut)), hexText(golden));
}

TEST(CutStream, ReportsWhatItDoesNotKnowAndReadsTheRest)
{
    const Cut cut = cutOf({"A0-1"});
    const std::size_t end = writeCut(cut).size();
    const std::vector<std::byte> bytes = streamWith(cut, [&](PStream& stream) {
        writeLayer(stream, "Future", [](PStream& body) {
            body.file().setDouble(1.0);
            return static_cast<unsigned char>(1);
        });
        writeLayer(stream, "M", [](PStream&) { return static_cast<unsigned char>(1); });
        cut.tracks[0]->STRM_hierarchyPack(stream);
        writeLayer(stream, "C", [](PStream& body) {
            body.file().setDouble(1.0);
            return static_cast<unsigned char>(5);
        });
    });
    const LoadedCut loaded = read(bytes);
    EXPECT_EQ(loaded.cut.tracks.size(), 2U);
    const std::string at = std::to_string(end);
    const std::string found = text(loaded.findings);
    EXPECT_EQ(found.find(at + " layer Future: nothing is known of this layer; it was skipped\n"),
              0U)
        << found;
    EXPECT_NE(found.find("layer M: a second layer of this name was skipped"), std::string::npos);
    EXPECT_NE(found.find("the track cannot be read: Unrecognised cel version"), std::string::npos);
    EXPECT_NE(found.find("it should hold 1 tracks, but 2 could be read"), std::string::npos);
}

TEST(CutStream, ThatIsNoneNamesTheReason)
{
    std::string error;
    for (const TableRow& c : table("lists", "no cut streams")) {
        EXPECT_FALSE(readCut(std::as_bytes(std::span(c[0])), error));
        EXPECT_EQ(error, c[1]);
    }
    EXPECT_FALSE(loadCut("/no/such/file.cel", error));
    EXPECT_NE(error.find("/no/such/file.cel"), std::string::npos) << error;
}

TEST(CutStream, WithoutItsFirstLayersIsReadAsFarAsItGoes)
{
    StreamFile file;
    PStream stream(file);
    writeObjectStreamHeader(stream);
    track("A0-1 B1-2", 1001.0 / 24000.0)->STRM_hierarchyPack(stream);
    const LoadedCut loaded = read(file.bytes());
    EXPECT_EQ(loaded.cut.tracks.size(), 1U);
    EXPECT_EQ(describe(loaded.cut.rate), "23.976");
    const std::string end = std::to_string(file.bytes().size());
    EXPECT_EQ(text(loaded.findings),
              end +
                  " file: title, frame rate and start are missing; 23.976 frames a second were "
                  "taken\n" +
                  end + " file: the names of the material are missing\n");
}

// ---- saving -----------------------------------------------------------------------------------

TEST(SavingACut, RefusesWhatItsFormWouldDamage)
{
    const LogCapture log;
    const TemporaryFolder folder;
    for (const TableRow& c : table("lists", "saving")) {
        SCOPED_TRACE(c.place);
        const std::filesystem::path path = folder / "cut.cel";
        putContent(path, "old");
        const Cut cut = cutOf({".0-1", c[1]});
        std::string error;
        const bool saved = saveCut(cut, path, SaveGuard::refuse, error);
        EXPECT_EQ(saved, c[2].empty()) << error;
        EXPECT_EQ(cut.tracks[1]->is_dirty(), saved ? 0 : 1);
        if (!saved) {
            EXPECT_EQ(contentOf(path), "old");
            EXPECT_EQ(error,
                      path.string() +
                          " was not written, since it would damage the cut: track V2: " + c[2]);
            error.clear();
            EXPECT_TRUE(saveCut(cut, path, SaveGuard::force, error)) << error;
        }
        EXPECT_EQ(cut.tracks[1]->is_dirty(), 0);
        EXPECT_TRUE(loadCut(path, error)) << error;
    }
}

TEST(SavingACut, ThatFailsLeavesEveryTrackUnsavedAndWritingOneChangesNoMark)
{
    const TemporaryFolder folder;
    const Cut cut = cutOf({"A0-1", "A0-1"});
    std::string error;
    EXPECT_FALSE(saveCut(cut, folder / "none" / "cut.cel", SaveGuard::refuse, error));
    EXPECT_NE(error.find("cut.cel"), std::string::npos) << error;
    EXPECT_EQ(cut.tracks[0]->is_dirty() + cut.tracks[1]->is_dirty(), 2);
    cut.tracks[1]->make_clean();
    EXPECT_EQ(writeCut(cut), writeCut(cut));
    EXPECT_EQ(cut.tracks[0]->is_dirty(), 1);
    EXPECT_EQ(cut.tracks[1]->is_dirty(), 0);
}

} // namespace
} // namespace cel::test

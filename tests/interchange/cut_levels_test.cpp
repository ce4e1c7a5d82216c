#include "interchange/cut_levels.h"

#include "interchange/audio_tracks.h"
#include "interchange/cel_stream.h"
#include "tests/support/level_notation.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

using Store = AudLevelsCel::Store;

std::string text(const AudLevelsCel& levels)
{
    return describe(levels.snapshot().nodes());
}

/// A picture and two tracks of sound, the first of which has an envelope.
Cut cutWithLevels()
{
    Cut cut;
    cut.rate = {25, 1, false};
    fill(*cut.addTrack(kVideoCookie), "A0-4");
    for (int i = 0; i < 2; ++i)
        fill(*cut.addTrack(kAudioCookie), "A0-4 B4-6");
    AudLevelsCel levels = flatLevels(*cut.track("A1"));
    levels.insertNode({2.0, 0.5F, Store::kOrdinary, false});
    setLevels(cut, *cut.track("A1"), levels);
    return cut;
}

TEST(CutLevels, BelongToOneTrackAndFollowItsCopies)
{
    Cut cut = cutWithLevels();
    EXPECT_EQ(text(levelsOf(cut, *cut.track("A1"))), "0=1 2=0.5 6=1");
    EXPECT_FALSE(levelsOf(cut, *cut.track("A2")).valid());
    EXPECT_DOUBLE_EQ(levelsOf(cut, *cut.track("A1")).getResolution(), 0.04);
    EXPECT_TRUE(levelsOf(cut, *Kt::Ptr<Cel>(new Cel(*cut.track("A1")))).valid());

    // A clone has the identity of its original, and two tracks cannot share one.
    setLevels(cut, *cut.track("A2"), levelsOf(cut, *cut.track("A1")).clone());
    levelsOf(cut, *cut.track("A2")).remove({0, 3});
    EXPECT_EQ(text(levelsOf(cut, *cut.track("A1"))), "0=1 2=0.5 6=1");
    EXPECT_EQ(text(levelsOf(cut, *cut.track("A2"))), "[0=0.625 3=1");

    setLevels(cut, *cut.track("A1"), AudLevelsCel::createInvalid());
    EXPECT_FALSE(levelsOf(cut, *cut.track("A1")).valid());
    EXPECT_EQ(cut.objects.all().size(), 1U);
    EXPECT_EQ(cut.objects.names().size(), 1U);
}

TEST(CutLevels, OfATrackWithoutIdentityGiveItOne)
{
    Cut cut;
    cut.tracks.push_back(track("A0-4", 0.04));
    cut.tracks.push_back(track("A0-4", 0.04));
    ASSERT_FALSE(cut.tracks[0]->editChannelId().valid());
    // What a file calls the levels of nothing are nobody's.
    cut.objects.put(IdStamp(1, 1, 1), cut.tracks[1]);
    cut.objects.name({IdStamp(0, 0, 0), "levels", 0}, IdStamp(1, 1, 1));
    EXPECT_FALSE(audioTrack(cut, cut.tracks[1]).getLevelsChanID().valid());
    setLevels(cut, *cut.tracks[1], AudLevelsCel::createInvalid());
    EXPECT_TRUE(cut.objects.find(IdStamp(1, 1, 1)));
    setLevels(cut, *cut.tracks[0], flatLevels(*cut.tracks[0]));
    EXPECT_TRUE(levelsOf(cut, *cut.tracks[0]).valid());
    EXPECT_FALSE(levelsOf(cut, *cut.tracks[1]).valid());
}

TEST(CutLevels, SurviveAStreamAndSoDoObjectsOfUnknownKind)
{
    Cut cut = cutWithLevels();
    const CutObject unknown{IdStamp(7, 7, 7), nullptr, "Future", 3, {std::byte(1), std::byte(2)}};
    cut.objects.put(unknown);
    std::string error;
    const auto loaded = readCut(writeCut(cut), error);
    ASSERT_TRUE(loaded) << error;
    EXPECT_TRUE(loaded->findings.empty()) << loaded->findings.front().text;
    const AudLevelsCel levels = levelsOf(loaded->cut, *loaded->cut.track("A1"));
    EXPECT_EQ(text(levels), "0=1 2=0.5 6=1");
    EXPECT_DOUBLE_EQ(levels.getResolution(), 0.04);
    EXPECT_EQ(levels.id(), levelsOf(cut, *cut.track("A1")).id());
    const CutObject* kept = loaded->cut.objects.find(unknown.id);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->layers, unknown.layers);
    EXPECT_EQ(kept->revision, 3);
}

TEST(CutLevels, ThatAreDamagedAreReportedByTheirTrack)
{
    std::vector<std::byte> bytes = writeCut(cutWithLevels());
    bytes[bytes.size() - 20] ^= std::byte(1); // of the last node
    std::string error;
    const auto loaded = readCut(bytes, error);
    ASSERT_TRUE(loaded && loaded->findings.size() == 1) << error;
    EXPECT_EQ(loaded->findings.front().where, "levels of track A1 (layer O)");
    EXPECT_EQ(loaded->cut.tracks.size(), 3U);
}

TEST(CutLevels, RefuseToBeSavedWhenAJumpWouldBeLost)
{
    const TemporaryFolder folder;
    const Cut cut = cutWithLevels();
    levelsOf(cut, *cut.track("A1"))
        .getNodeStore()
        .insert_noAdjust({2.0, 0.25F, Store::kOrdinary, false});
    std::string error;
    EXPECT_FALSE(saveCut(cut, folder / "a.cel", SaveGuard::refuse, error));
    EXPECT_NE(error.find("track A1: the jump of its level envelope at 00:00:02:00 would be lost"),
              std::string::npos)
        << error;
    EXPECT_TRUE(saveCut(cut, folder / "a.cel", SaveGuard::force, error));
}

} // namespace
} // namespace cel::test

#include "interchange/cel_store.h"

#include "cel/audit.h"
#include "interchange/audio_tracks.h"
#include "interchange/cut_levels.h"
#include "platform/support/FileTagBag.h"
#include "platform/support/layers.h"
#include "platform/support/object_file.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/sql.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

using testing::HasSubstr;

std::string text(const std::vector<LoadFinding>& findings)
{
    std::string all;
    for (const LoadFinding& finding : findings)
        all += finding.where + ": " + finding.text + "\n";
    return all;
}

LoadedCut load(const std::filesystem::path& path)
{
    std::string error;
    auto loaded = loadStoredCut(path, error, StoreCheck::structure);
    EXPECT_TRUE(loaded) << error;
    return loaded ? std::move(*loaded) : LoadedCut();
}

/// @return what went wrong.
std::string save(const Cut& cut, const std::filesystem::path& path,
                 SaveGuard guard = SaveGuard::refuse)
{
    std::string error;
    const bool saved = saveStoredCut(cut, path, guard, error);
    EXPECT_EQ(saved, error.empty());
    return error;
}

CutObject unknown(const IdStamp& id, const std::string& content)
{
    const auto bytes = std::as_bytes(std::span(content));
    return {id, nullptr, "Future", 9, {bytes.begin(), bytes.end()}};
}

TEST(StoredCut, ComesBackAsTheStreamWouldBringIt)
{
    const TemporaryFolder folder;
    std::string error;
    std::vector<std::vector<std::byte>> streams = {hexFile("cut")};
    const LogCapture log;
    // Damaged tracks too: what the form holds is written as it is, and audited as it was.
    for (const char* notation : {"A0-4:1>0~20*2%3! B4-6", "A<0@0 A=1:0.5 A=2 A>3@3", "A'0-4 B4-6",
                                 "B4-6 A0-4", "A0-4", ""})
        streams.push_back(writeCut(cutOf({".0-1", notation})));
    for (const std::vector<std::byte>& stream : streams) {
        const auto path = folder / (std::to_string(stream.size()) + ".celdb");
        const LoadedCut cut = *readCut(stream, error);
        EXPECT_EQ(save(cut.cut, path, SaveGuard::force), "");
        const LoadedCut stored = load(path);
        EXPECT_EQ(text(stored.findings), text(cut.findings));
        EXPECT_EQ(describe(stored.cut), describe(cut.cut));
        EXPECT_EQ(hexText(writeCut(stored.cut)), hexText(writeCut(cut.cut)));
        for (std::size_t i = 0; i < cut.cut.tracks.size(); ++i)
            EXPECT_EQ(audit(*stored.cut.tracks[i]).size(), audit(*cut.cut.tracks[i]).size());
    }
}

TEST(StoredCut, BringsItsObjectsAlongKnownOrNot)
{
    const TemporaryFolder folder;
    Cut cut = cutOf({"A0-4", "B0-4"});
    const IdStamp first = cut.tracks[0]->editChannelId();
    const CutObjects::Place levels{first, "levels", 0};
    cut.objects.put(IdStamp(1, 1, 1), track("C0-1"));
    cut.objects.name(levels, IdStamp(1, 1, 1));
    cut.objects.put(unknown(IdStamp(2, 2, 2), "effect"));
    cut.objects.put(unknown(IdStamp(3, 3, 3), ""));
    cut.objects.name({first, "notes", 5}, IdStamp(3, 3, 3));
    EXPECT_EQ(save(cut, folder / "a.celdb"), "");
    EXPECT_EQ(save(load(folder / "a.celdb").cut, folder / "b.celdb"), "");

    LoadedCut loaded = load(folder / "b.celdb");
    EXPECT_EQ(text(loaded.findings), "");
    EXPECT_EQ(tracksOf(loaded.cut), "A0-4, B0-4");
    EXPECT_EQ(loaded.cut.objects.names(), cut.objects.names());
    const CutObject* const effect = loaded.cut.objects.find(IdStamp(2, 2, 2));
    ASSERT_TRUE(effect);
    EXPECT_EQ(effect->className, "Future");
    EXPECT_EQ(effect->revision, 9);
    EXPECT_EQ(effect->layers, cut.objects.find(IdStamp(2, 2, 2))->layers);
    const CutObject* const known = loaded.cut.objects.find(levels);
    ASSERT_TRUE(known && known->object);
    EXPECT_EQ(describe(*Kt::dynamicCast<Cel>(known->object)), "C0-1");

    Cut& changed = loaded.cut;
    fill(*Kt::dynamicCast<Cel>(changed.objects.find(levels)->object), "D1-2");
    changed.objects.remove(IdStamp(3, 3, 3));
    EXPECT_EQ(save(changed, folder / "b.celdb"), "");
    const Cut again = load(folder / "b.celdb").cut;
    EXPECT_EQ(describe(*Kt::dynamicCast<Cel>(again.objects.find(levels)->object)), "C0-1 D1-2");
    EXPECT_EQ(again.objects.all().size(), 2U);
    EXPECT_EQ(again.objects.names().size(), 1U);
}

TEST(StoredCut, BringsSwitchesAndEnvelopesOfAudioTracks)
{
    const TemporaryFolder folder;
    Cut cut = cutOf({"A0-4"});
    const Kt::Ptr<Cel> sound = cut.addTrack(kAudioCookie);
    fill(*sound, "a0-4");
    setLevels(cut, *sound, flatLevels(*sound));
    AudCel handle = audioTrack(cut, sound);
    const IdStamp levels = handle.getLevelsChanID();
    EXPECT_EQ(handle.id(), sound->editChannelId());
    EXPECT_EQ(levels, levelsOf(cut, *sound).id());
    handle.setSoundOutputEnabled(true);
    handle.setXFadesEnabled(false);
    keepSwitches(cut, handle);
    EXPECT_EQ(save(cut, folder / "cut"), "");

    for (const float level : {1.0F, 0.5F}) {
        Cut loaded = load(folder / "cut").cut;
        const AudCel kept = audioTrack(loaded, loaded.track("A1"));
        EXPECT_TRUE(kept.getSoundOutputEnabled());
        EXPECT_FALSE(kept.getXFadesEnabled());
        EXPECT_EQ(kept.getLevelsChanID(), levels);
        AudLevelsCel envelope = AudLevelsCel::createFromStore(levels, loaded.objects);
        EXPECT_EQ(envelope.levelAt(2.0), level);
        // An envelope that is open is saved as it is, without being put back.
        envelope.insertNode({2.0, 0.5F, AudLevelsCel::Store::kOrdinary, false});
        EXPECT_EQ(save(loaded, folder / "cut"), "");
    }
    Cut loaded = load(folder / "cut").cut;
    AudLevelsCel::extractFromStore(levels, loaded.objects);
    EXPECT_EQ(save(loaded, folder / "cut"), "");
    EXPECT_FALSE(levelsOf(load(folder / "cut").cut, *sound).valid());
    EXPECT_FALSE(audioTrack(loaded, loaded.track("A1")).getLevelsChanID().valid());
}

TEST(StoredCut, KeepsTheOrderOfTracksWhateverTheirIdentities)
{
    const TemporaryFolder folder;
    Cut cut = cutOf({"A0-4", "B0-4", "C0-4", "D0-4"});
    cut.tracks[1]->editChannelInfo("V2", cut.tracks[0]->editChannelId(), "picture", {});
    cut.tracks[2]->editChannelInfo("V3", IdStamp(0, 0, 0), "picture", {});
    cut.tracks[3]->editChannelInfo("V4", IdStamp(0, 0, 1), "picture", {}); // the cut's own
    EXPECT_EQ(save(cut, folder / "cut"), "");
    Cut loaded = load(folder / "cut").cut;
    EXPECT_EQ(tracksOf(loaded), "A0-4, B0-4, C0-4, D0-4");
    std::swap(loaded.tracks[0], loaded.tracks[3]);
    loaded.tracks.erase(loaded.tracks.begin() + 1);
    EXPECT_EQ(save(loaded, folder / "cut"), "");
    EXPECT_EQ(tracksOf(load(folder / "cut").cut), "D0-4, C0-4, A0-4");
}

TEST(StoredCut, NamesWhatIsDamagedAndReadsTheRest)
{
    for (const TableRow& c : table("stores", "damaged cuts")) {
        SCOPED_TRACE(c.place);
        const TemporaryFolder folder;
        Cut cut = cutOf({"A0-4", "B0-4"});
        cut.tracks[0]->editChannelInfo("V1", IdStamp(1, 2, 0x80000003), "picture", {});
        EXPECT_EQ(save(cut, folder / "cut"), "");
        runSql(folder / "cut", c[0]);
        const LoadedCut loaded = load(folder / "cut");
        EXPECT_EQ(tracksOf(loaded.cut), c[1]);
        EXPECT_EQ(text(loaded.findings), c[2]);
        EXPECT_EQ(save(loaded.cut, folder / "cut"), "");
        EXPECT_EQ(text(load(folder / "cut").findings), c[3]);
    }
}

TEST(StoredCut, KeepsLayersThatTheirClassRefusesOrReadsInPart)
{
    const IdStamp id(1, 1, 1);
    for (const TableRow& c : table("stores", "layers")) {
        const TemporaryFolder folder;
        Cut cut = cutOf({"A0-4"});
        const auto revision = static_cast<unsigned char>(c.integer(1));
        StreamFile file;
        PStream stream(file);
        writeLayer(stream, c[0], [revision](PStream& body) {
            body.file().setDouble(1.0);
            return revision;
        });
        const std::vector<std::byte> bytes(file.bytes().begin(), file.bytes().end());
        cut.objects.put({id, nullptr, c[0], revision, bytes});
        EXPECT_EQ(save(cut, folder / "cut"), "");
        const LogCapture log;
        for (int i = 0; i < 2; ++i) {
            const LoadedCut loaded = load(folder / "cut");
            EXPECT_THAT(text(loaded.findings), testing::StartsWith("object 1-1-1 (class " + c[2]));
            EXPECT_EQ(loaded.cut.objects.find(id)->layers, bytes);
            EXPECT_EQ(save(loaded.cut, folder / "cut"), "");
            std::string error;
            const auto bag = openTagBag(folder / "cut", error);
            EXPECT_FALSE(bag->openObject(id).valid());
            EXPECT_TRUE(bag->save(error)) << error;
        }
    }
}

TEST(StoredCut, KeepsThePlacesOfTracksThatAreNotKnown)
{
    const TemporaryFolder folder;
    Cut cut = cutOf({"A0-4", "B0-4"});
    cut.objects.put(unknown(IdStamp(2, 2, 2), "track"));
    cut.objects.name({IdStamp(0, 0, 0), "track", 1}, IdStamp(2, 2, 2));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(save(cut, folder / "cut"), "");
        LoadedCut loaded = load(folder / "cut");
        EXPECT_EQ(tracksOf(loaded.cut), "A0-4, B0-4");
        EXPECT_EQ(text(loaded.findings), "object 2-2-2 (class Future): track 2 is none that is "
                                         "known here; it stays as it is\n");
        EXPECT_EQ(loaded.cut.objects.names(), cut.objects.names());
        cut = std::move(loaded.cut);
    }
}

TEST(StoredCut, HasNoObjectUnderTheIdentitiesOfItsOwn)
{
    const TemporaryFolder folder;
    Cut cut = cutOf({"A0-4"});
    for (const unsigned last : {0U, 1U, 2U})
        cut.objects.put(unknown(IdStamp(0, 0, last), "x"));
    EXPECT_TRUE(cut.objects.all().empty());

    cut.objects.put(unknown(IdStamp(7, 7, 7), "x"));
    std::vector<std::byte> stream = writeCut(cut);
    const auto bytes = [](const IdStamp& id) { return std::as_bytes(std::span(&id, 1)); };
    const IdStamp from(7, 7, 7);
    const IdStamp to(0, 0, 1);
    std::copy_n(bytes(to).begin(), sizeof to,
                std::search(stream.begin(), stream.end(), bytes(from).begin(), bytes(from).end()));
    std::string error;
    const auto read = readCut(stream, error);
    ASSERT_TRUE(read) << error;
    EXPECT_THAT(text(read->findings), HasSubstr("its identity belongs to the cut"));
    EXPECT_EQ(read->cut.objects.all().size(), 1U);
    EXPECT_EQ(save(read->cut, folder / "cut"), "");
}

TEST(StoredCut, ThatIsNoneNamesTheReason)
{
    const TemporaryFolder folder;
    StoreMark mark;
    std::string error;
    ASSERT_TRUE(createObjectFile(folder / "nothing", {}, {}, mark, error)) << error;
    EXPECT_FALSE(loadStoredCut(folder / "nothing", error));
    EXPECT_THAT(error, HasSubstr("it holds nothing that can be read as a cut"));
    EXPECT_THAT(error, HasSubstr((folder / "nothing").string()));
}

TEST(SavingToAStore, RefusesWhatItWouldDamageAndLeavesEveryTrackUnsaved)
{
    const TemporaryFolder folder;
    const LogCapture log;
    const Cut cut = cutOf({".0-1", "A'<0@0 A'=1 A'>2@2"});
    EXPECT_THAT(save(cut, folder / "cut"),
                HasSubstr("was not written, since it would damage the cut: track V2: none of its 3 "
                          "events, which are not in pairs, would be left"));
    EXPECT_FALSE(std::filesystem::exists(folder / "cut"));
    EXPECT_NE(save(cut, folder / "absent/cut", SaveGuard::force), "");
    EXPECT_EQ(cut.tracks[0]->is_dirty() + cut.tracks[1]->is_dirty(), 2);
    EXPECT_EQ(save(cut, folder / "cut", SaveGuard::force), "");
    EXPECT_EQ(cut.tracks[0]->is_dirty() + cut.tracks[1]->is_dirty(), 0);
}

TEST(SavingToAStore, LosesNeitherOfTwoEdits)
{
    const TemporaryFolder folder;
    EXPECT_EQ(save(cutOf({"A0-4"}), folder / "cut"), "");
    Cut first = load(folder / "cut").cut;
    const Cut second = load(folder / "cut").cut;
    fill(*first.tracks[0], "B4-5");
    std::string error;
    ASSERT_TRUE(saveStoredCut(first, folder / "cut", SaveGuard::refuse, error, &first.stored));
    fill(*second.tracks[0], "C4-5");
    EXPECT_THAT(save(second, folder / "cut"), HasSubstr("another program has saved to it"));
    EXPECT_EQ(second.tracks[0]->is_dirty(), 1);
    EXPECT_EQ(save(second, folder / "copy"), "");
    fill(*first.tracks[0], "D5-6");
    EXPECT_EQ(save(first, folder / "cut"), "");
    EXPECT_EQ(tracksOf(load(folder / "cut").cut), "A0-4 B4-5 D5-6");
    EXPECT_EQ(tracksOf(load(folder / "copy").cut), "A0-4 C4-5");
}

TEST(SavingToAStore, HoldsMoreTracksThanAStream)
{
    const TemporaryFolder folder;
    Cut cut;
    for (int i = 0; i < 1500; ++i)
        cut.addTrack(kAudioCookie, i + 1)->appendEventPair(material('a'), 0.0, 1.0, 0.0);
    EXPECT_EQ(save(cut, folder / "cut"), "");
    const LoadedCut loaded = load(folder / "cut");
    EXPECT_EQ(text(loaded.findings), "");
    EXPECT_EQ(describe(loaded.cut), describe(cut));
}

} // namespace
} // namespace cel::test

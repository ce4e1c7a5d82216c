#include "platform/support/TagBag.h"
#include "tests/support/golden.h"
#include "tests/support/level_notation.h"
#include "tests/support/table.h"
#include "tests/tracks/level_stream.h"
#include "tracks/AudCel.h"
#include "tracks/AudLevelsCel.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr const char* kShort = "AudLevelsCelRep::unpack: Failed to read nodes (unexpected size)";

TEST(LevelPersistence, ReadsEveryRevisionAndWritesTheLatest)
{
    for (const TableRow& c : table("levels", "revisions")) {
        SCOPED_TRACE(c.place);
        const int revision = c.integer(1);
        const DecodedLevels read = decodeLevels(hexFile(c[0]), revision);
        EXPECT_EQ(describe(read.levels->nodes().nodes()), c[2]);
        EXPECT_EQ(read.notes, c[3].empty() ? "" : c[3] + "\n");
        EXPECT_EQ(read.levels->nodesRevision(), revision);
        EXPECT_EQ(read.levels->revisionMajor(), 3);
        EXPECT_EQ(read.levels->revisionMinor(), 0);
        EXPECT_EQ(read.levels->getResolution(), 1.0);
        read.levels->checkNodesRevision(AudCel());
        EXPECT_EQ(read.levels->nodesRevision(), 3);
        if (revision == 3) {
            EXPECT_EQ(hexText(encodeLevels(*read.levels)), hexText(hexFile(c[0])));
        }
    }
    EXPECT_EQ(hexText(encodeLevels(*Kt::Ptr<AudLevelsCelRep>(new AudLevelsCelRep(0.04)))),
              hexText(hexFile("levels_empty")));
}

/// The body of nodes in revision 3, times and levels as they are.
std::vector<std::byte> body(std::string_view notation)
{
    std::vector<std::byte> bytes;
    const auto nodes = levelNodes(notation);
    const auto put = [&bytes](auto value) {
        const auto raw = std::as_bytes(std::span(&value, 1));
        bytes.insert(bytes.end(), raw.begin(), raw.end());
    };
    put(static_cast<std::uint32_t>(nodes.size()));
    for (const auto& node : nodes) {
        put(node.getRawTime());
        put(static_cast<double>(node.getLevel()));
        put(static_cast<std::int32_t>(node.getNodeType()));
        put(static_cast<std::uint8_t>(node.isInAudioBlack() ? 1 : 0));
    }
    return bytes;
}

TEST(LevelPersistence, PutsNodesInOrderAndDropsASecondOneAtTheSameTime)
{
    for (const TableRow& c : table("levels", "order")) {
        const DecodedLevels read = decodeLevels(body(c[0]), 3);
        EXPECT_EQ(describe(read.levels->nodes().nodes()), c[1]) << c.place;

        // One by one, each beside the one before it.
        Aud::DynamicLevelControl::Store store;
        auto hint = store.begin();
        double before = -1.0;
        for (const auto& node : levelNodes(c[0])) {
            if (node.getRawTime() != before) {
                hint = store.insert_noAdjust(hint, node);
                before = node.getRawTime();
            }
        }
        EXPECT_EQ(describe(store.nodes()), c[1]) << c.place;
    }
}

TEST(LevelPersistence, NotesWhatIsMissingOrTooMuch)
{
    auto bytes = hexFile("levels_r3");
    bytes.resize(bytes.size() - 1);
    const DecodedLevels read = decodeLevels(bytes, 3);
    EXPECT_EQ(describe(read.levels->nodes().nodes()), "[0=1 2.5=0.5 3.75=0.25]");
    EXPECT_EQ(read.notes, kShort);
    EXPECT_EQ(decodeLevels({}, 3).notes, kShort);
    const std::vector<std::byte> tooMany(6);
    EXPECT_EQ(decodeLevels(tooMany, 3).notes, "2 bytes behind the nodes mean nothing here\n");
}

TEST(LevelPersistence, NamesAndCopiesTheState)
{
    const Kt::Ptr<AudLevelsCelRep> held(new AudLevelsCelRep(0.04));
    AudLevelsCelRep& levels = *held;
    levels.nodes().insert_noAdjust(levelNodes("[1=0.5"));
    levels.isDummy(true);
    EXPECT_EQ(levels.hierarchyName(true, true).view(), "A");
    EXPECT_EQ(levels.hierarchyName(false, false).view(), "AudLevelsCelRep");
    EXPECT_EQ(StreamClassRegistrar::find("A"), StreamClassRegistrar::find("AudLevelsCelRep"));

    const auto twin = Kt::dynamicCast<AudLevelsCelRep>(levels.clone(Streamable::builder));
    const Kt::Ptr<AudLevelsCelRep> other(new AudLevelsCelRep(1.0));
    other->assign(twin.get());
    other->assign(other.get());
    const Kt::Ptr<Cel> track(new Cel(0, 0.04));
    other->assign(track.get());
    for (const auto& copy : {twin, other}) {
        EXPECT_EQ(copy->id(), levels.id());
        EXPECT_TRUE(copy->isDummy());
        EXPECT_EQ(copy->getResolution(), 0.04);
        EXPECT_EQ(describe(copy->snapshot().nodes()), "[1=0.5");
    }
}

TEST(LevelPersistence, SharesWhatTheStoreKeeps)
{
    const auto bag = makeMemoryTagBag();
    AudLevelsCel envelope(0.04);
    const IdStamp id = envelope.id();
    AudLevelsCel::writeToStore(AudLevelsCel::createInvalid(), *bag);
    EXPECT_FALSE(AudLevelsCel::createFromStore(id, *bag).valid());
    AudLevelsCel::writeToStore(envelope, *bag);
    AudLevelsCel opened = AudLevelsCel::createFromStore(id, *bag);
    envelope.remove({0.0, 1.0});
    EXPECT_EQ(describe(opened.snapshot().nodes()), "[0=1");
    EXPECT_EQ(opened.id(), id);

    AudLevelsCel::extractFromStore(id, *bag);
    AudLevelsCel::extractFromStore(id, *bag);
    EXPECT_FALSE(AudLevelsCel::createFromStore(id, *bag).valid());
    EXPECT_TRUE(opened.valid());

    // Under the identity there may be anything.
    bag->storeObject(TagBase(id, Kt::Ptr<Taggable>(new Cel(0, 0.04))));
    EXPECT_FALSE(AudLevelsCel::createFromStore(id, *bag).valid());
    AudLevelsCel::extractFromStore(id, *bag);
    EXPECT_TRUE(bag->openObject(id).valid());
}

} // namespace
} // namespace cel::test

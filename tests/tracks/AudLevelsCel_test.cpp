#include "tracks/AudLevelsCel.h"

#include "tests/support/level_notation.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/track_notation.h"
#include "tracks/AudCel.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr double kFrame = 0.04; ///< so the quantum is 0.01

/// An envelope with these nodes.
AudLevelsCel envelope(std::string_view notation)
{
    AudLevelsCel made(kFrame);
    made.getNodeStore().insert_noAdjust(levelNodes(notation));
    return made;
}

std::string text(const AudLevelsCel& handle)
{
    return describe(handle.snapshot().nodes());
}

TEST(AudLevelsCel, IsBornEmptyAndSharedAndCloned)
{
    AudLevelsCel first = AudLevelsCel::createValidButEmpty();
    EXPECT_TRUE(first.valid() && first.performEditOpWithNullSrc());
    EXPECT_EQ(first.getResolution(), 1.0);
    EXPECT_EQ(first.id().getMagicType(), 2);
    EXPECT_EQ(first.getExtents(Editable::kSignificant, true), Editable::invalidRange());
    const AudLevelsCel shared(first);
    AudLevelsCel twin = first.clone();
    first.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    first.is_dummy(true);
    first.setResolution(kFrame);
    EXPECT_EQ(text(shared), "0.1=0.5");
    EXPECT_TRUE(shared.is_dummy());
    EXPECT_EQ(shared.getResolution(), kFrame);
    EXPECT_EQ(text(twin), "");
    EXPECT_FALSE(twin.is_dummy());
    EXPECT_EQ(twin.id(), first.id());

    twin = AudLevelsCel(true, 1.0);
    twin.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    EXPECT_EQ(twin.getExtents(Editable::kAllEvents, false), AudLevelsCel::Range(0.0, 0.0))
        << "one node, on the quantum of 0.25 s";
    twin.insertNode({7.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    EXPECT_EQ(twin.getExtents(Editable::kAllEvents, false), AudLevelsCel::Range(0.0, 7.0));
}

TEST(AudLevelsCel, IsSafeWithoutAnEnvelope)
{
    AudLevelsCel none = AudLevelsCel::createInvalid();
    none.id(IdStamp());
    none.is_dummy(true);
    none.setResolution(1.0);
    none.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    none.getNodeStore().insert({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    none.insert(none, {0.0, 1.0}, 0.0, {});
    none.replace(none, {0.0, 1.0}, 0.0, {}, Editable::kReplacePlain);
    none.remove({0.0, 1.0});
    none.quantiseCelEnd();
    none.replaceClipNodes(AudCel());
    none.checkNodesRevision(AudCel());
    none.tidyGuardNodesForward(1.0);
    none.tidyGuardNodesBackward(1.0);
    none.replaceDependentGuardNodesAtPoint(1.0);
    EXPECT_FALSE(none.simplify(Simplification::kAll, Editable::invalidRange()));
    EXPECT_EQ(none.thinToWithin(1.0), 0U);
    EXPECT_FALSE(none.valid() || none.is_dummy() || none.clone().valid());
    EXPECT_EQ(none.id(), IdStamp(0, 0, 0));
    EXPECT_EQ(none.levelAt(0.0), 1.0F);
    EXPECT_TRUE(none.getNodeStore().empty());
    EXPECT_EQ(none.getExtents(Editable::kAllEvents, false), Editable::invalidRange());
}

/// What a row names as its source, for an edit of `levels`.
AudLevelsCel sourceFor(const std::string& name, const AudLevelsCel& levels)
{
    if (name == "none")
        return AudLevelsCel::createInvalid();
    if (name == "self")
        return levels;
    AudLevelsCel source = envelope(name == "empty" ? "" : name == "dummy" ? "0=0.5" : name);
    source.is_dummy(name == "dummy");
    return source;
}

void edit(AudLevelsCel& levels, const TableRow& c)
{
    const std::string& what = c[2];
    const auto at = [&c] { return c.number(3); };
    const auto range = [&c] { return AudLevelsCel::Range(c.number(4), c.number(5)); };
    if (what == "remove")
        levels.remove(range());
    else if (what == "insert")
        levels.insert(sourceFor(c[7], levels), range(), at(), {});
    else if (what == "replace")
        levels.replace(sourceFor(c[7], levels), range(), at(), {}, Editable::kReplacePlain);
    else if (what == "backward")
        levels.tidyGuardNodesBackward(at());
    else if (what == "forward")
        levels.tidyGuardNodesForward(at());
    else if (what == "anew")
        levels.replaceDependentGuardNodesAtPoint(at());
    else
        FAIL() << "no edit: " << what;
}

TEST(AudLevelsCel, IsEditedAsTheTableSays)
{
    for (const TableRow& c : table("levels", "edits")) {
        SCOPED_TRACE(c.place);
        AudLevelsCel levels = envelope(c[1]);
        edit(levels, c);
        EXPECT_EQ(text(levels), c[6]);
    }
}

/// To the last bit, which the tables do not show.
TEST(AudLevelsCel, ReplacesAsARemovalAndAnInsertionWould)
{
    AudLevelsCel whole = envelope("0=1 0.7=0.5 0.9=1");
    AudLevelsCel steps = whole.clone();
    whole.replace(AudLevelsCel::createInvalid(), {0.0, 0.3}, 0.1, {}, Editable::kReplacePlain);
    steps.remove({0.1, 0.1 + 0.3});
    steps.insert(AudLevelsCel::createInvalid(), {0.0, 0.3}, 0.1, {});
    ASSERT_EQ(text(whole), text(steps));
    for (std::size_t i = 0; i < steps.getNodeStore().size(); ++i)
        EXPECT_EQ(whole.snapshot().nodes()[i].getRawTime(),
                  steps.snapshot().nodes()[i].getRawTime());
    EXPECT_NE(whole.snapshot().nodes().back().getRawTime(), 0.9);
}

TEST(AudLevelsCel, StaysInOrderWithANegativeQuantum)
{
    AudLevelsCel levels = envelope("0=1 2.005=0.5 4.005=0.25 6=1");
    levels.setResolution(-kFrame);
    levels.remove({1.0, 2.0});
    EXPECT_EQ(text(levels), "0=1 [1=0.501247 1.005=0.5 1.01=0.74813] 3.005=0.25 5=1");
    levels.insert(AudLevelsCel::createInvalid(), {0.0, 1.0}, 3.0, {});
    EXPECT_EQ(text(levels),
              "0=1 [1=0.501247 1.005=0.5 1.01=0.74813] [3=1* 3.01=0.25188] [4=0.251248 "
              "4.005=0.25 4.01=1]* 6=1");
}

TEST(AudLevelsCel, GivesEverySectionItsGuards)
{
    for (const TableRow& c : table("levels", "clips")) {
        SCOPED_TRACE(c.place);
        AudCel sound;
        static_cast<ManagedCel_CelSetter&>(sound).setCel(track(c[1]));
        AudLevelsCel levels = envelope(c[2]);
        const LogCapture log;
        levels.replaceClipNodes(sound);
        EXPECT_EQ(text(levels), c[3]);
        EXPECT_EQ(log.text(LogChannel::both),
                  c[4].empty() ? ""
                               : "---- 'replaceClipNodes()' - INVALID audio-channel event - clip "
                                 "start time <" +
                                     c[4] + "> ----\n");
        levels.checkNodesRevision(sound);
        EXPECT_EQ(text(levels), c[3]) << "once more changes nothing";
    }
    AudLevelsCel untouched = envelope("0=1");
    untouched.replaceClipNodes(AudCel());
    EXPECT_EQ(text(untouched), "0=1");
}

} // namespace
} // namespace cel::test

#include "platform/audio/DynamicLevelControl.h"
#include "tests/support/level_notation.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace cel::test {
namespace {

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(LevelStore, AnswersBetweenAtAndOutsideItsNodes)
{
    for (const TableRow& c : table("levels", "lookup")) {
        SCOPED_TRACE(c.place);
        const Store store = levels(c[0]);
        EXPECT_EQ(store.indexOf(c.number(1)), c.number(2));
        EXPECT_EQ(store.getLevelAtTime(c.number(1)), c.number(3));
        EXPECT_EQ(store.isInAudioBlackAtTime(c.number(1)), c[4] == "black");
    }
}

TEST(LevelStore, PutsANodeWhereTheHintAndTheOrderAllow)
{
    for (const TableRow& c : table("levels", "put")) {
        SCOPED_TRACE(c.place);
        Store store = levels(c[0]);
        const Node node = levelNodes(c[1]).front();
        const auto hint = static_cast<std::size_t>(c.number(2));
        const Store::iterator at = store.insert_noAdjust(store.at(hint), node);
        EXPECT_EQ(describe(store.nodes()), c[3]);
        EXPECT_EQ(at.getLevel(), node.getLevel());

        // A block goes where its nodes would go one by one.
        Store blocks = levels(c[0]);
        Store singly = levels(c[0]);
        const auto block = levelNodes(c[1] + " 2=0.25 2.5=0.25");
        blocks.insert_noAdjust(block);
        for (const Node& each : block)
            singly.insert_noAdjust(each);
        EXPECT_EQ(describe(blocks.nodes()), describe(singly.nodes()));
    }
}

TEST(LevelStore, LetsANewNodeTakeThePlaceOfOneWithinAMicrosecond)
{
    for (const TableRow& c : table("levels", "take place")) {
        Store store = levels(c[0]);
        store.insert(levelNodes(c[1]).front());
        EXPECT_EQ(describe(store.nodes()), c[2]) << c.place;
    }
}

TEST(LevelStore, ErasesFlagsAndSplicesStretches)
{
    const char* const nodes = "0=1 1=1 2=1 3=1 4=1";
    Store store = levels(nodes);
    EXPECT_EQ(store.erase_noAdjust(1.0, 3.0).getRawTime(), 3.0) << "up to 3, exclusive";
    EXPECT_EQ(describe(store.nodes()), "0=1 3=1 4=1");
    EXPECT_EQ(store.erase_noAdjust(store.begin()).getRawTime(), 3.0);
    EXPECT_EQ(store.erase_noAdjust(3.0, 1.0).getRawTime(), 3.0) << "nothing lies between";
    EXPECT_EQ(store.erase_noAdjust(store.end()), store.end());
    EXPECT_EQ(describe(store.nodes()), "3=1 4=1");

    store = levels(nodes);
    store.setRangeToBlackSection(1.0000005, 3.0000005);
    store.setRangeToNonBlackSection(2.0, 2.5);
    EXPECT_EQ(describe(store.nodes()), "0=1 1=1* 2=1 3=1 4=1");

    for (const char* with : {"", "9=0", "6=0 7=0 8=0 9=0"}) {
        store = levels(nodes);
        store.splice(1, 3, levelNodes(with), 10.0);
        const std::string block = *with ? std::string(with) + " " : "";
        EXPECT_EQ(describe(store.nodes()), "0=1 " + block + "13=1 14=1");
    }
    store.splice(9, 7, levelNodes("99=0"), 0.0);
    EXPECT_EQ(store.nodes().back().getRawTime(), 99.0) << "indices past the end mean the end";
}

TEST(LevelStore, StepsAndChangesThroughIterators)
{
    Store store = levels("[0.13=1 2=0.5]*", 0.25);
    Store::iterator it = store.begin();
    EXPECT_EQ(--it, store.begin());
    EXPECT_TRUE(it.isStartGuard() && it.isGuardNode() && !it.isInAudioBlack());
    EXPECT_EQ(it.getTime(), 0.25);
    EXPECT_EQ(it.getRawTime(), 0.13);
    it.setTime(0.5);
    it.setNodeType(Store::kOrdinary);
    ++it;
    EXPECT_TRUE(it.isEndGuard() && it.isInAudioBlack() && !it.isMarkedForDelete());
    EXPECT_EQ(++it, store.end());
    EXPECT_EQ(++it, store.end());
    it.setTime(7.0);
    EXPECT_EQ(it.getNode().getLevel(), 1.0F);
    EXPECT_EQ(describe(store.nodes()), "0.5=1 2=0.5]*");
    EXPECT_EQ(Store::iterator().getTime(), 0.0);

    store.setQuantum(kNan);
    EXPECT_EQ(store.begin().getTime(), 0.5) << "on no grid";
    EXPECT_EQ(levels("1e99=1", 0.25).begin().getTime(), 1e99);
}

} // namespace
} // namespace cel::test

#include "platform/audio/DynamicLevelControl.h"
#include "tests/support/level_notation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace cel::test {
namespace {

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(LevelStore, AnswersBetweenAtAndOutsideItsNodes)
{
    // clang-format off
    struct Case { const char* nodes; double t; std::size_t find; float level; bool black; };
    static const Case cases[] = {
        {"",                  0,    0, 1.0F,   false},
        {"2=0.5*",            0,    0, 0.5F,   true},
        {"2=0.5*",            2,    0, 0.5F,   true},
        {"2=0.5*",            9,    1, 0.5F,   true},
        {"0=0 4=1*",          1,    1, 0.25F,  false},
        {"0=0 4=1*",          4,    1, 1.0F,   true},
        {"0=0 4=1 4=0.5 8=0", 4,    1, 0.5F,   false},
        {"0=0 4=1 4=0.5 8=0", 6,    3, 0.25F,  false},
        {"0=0 inf=1",         6,    1, 0.0F,   false},
        {"-inf=0 8=1",        6,    1, 0.0F,   false},
        {"0=0.5 nan=1",       6,    1, 0.5F,   false},
        {"nan=1",             6,    0, 1.0F,   false},
        {"0=0.5 nan=1",       kNan, 1, 1.0F,   false},
        {"0=0.5 8=1",         kInf, 2, 1.0F,   false},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.nodes) + " at " + std::to_string(c.t));
        Store store = levels(c.nodes);
        EXPECT_EQ(store.indexOf(c.t), c.find);
        EXPECT_EQ(store.getLevelAtTime(c.t), c.level);
        EXPECT_EQ(store.isInAudioBlackAtTime(c.t), c.black);
    }
}

TEST(LevelStore, PutsANodeWhereTheHintAndTheOrderAllow)
{
    // clang-format off
    struct Case { const char* nodes; const char* node; std::size_t hint; const char* after; };
    static const Case cases[] = {
        {"1=1 2=1 2=0.5 3=1", "2=0",   0, "1=1 2=0 2=1 2=0.5 3=1"},
        {"1=1 2=1 2=0.5 3=1", "2=0",   2, "1=1 2=1 2=0 2=0.5 3=1"},
        {"1=1 2=1 2=0.5 3=1", "2=0",   4, "1=1 2=1 2=0.5 2=0 3=1"},
        {"1=1 2=1",           "3=0",   0, "1=1 2=1 3=0"},
        {"1=1 2=1",           "0=0",   2, "0=0 1=1 2=1"},
        {"",                  "0=0",   7, "0=0"},
        {"1=1 inf=1",         "nan=0", 0, "1=1 inf=1 nan=0"},
        {"1=1 nan=1",         "nan=0", 0, "1=1 nan=0 nan=1"},
        {"1=1 nan=1",         "nan=0", 9, "1=1 nan=1 nan=0"},
        {"1=1 nan=1",         "2=0",   9, "1=1 2=0 nan=1"},
        {"nan=1",             "-inf=0", 1, "-inf=0 nan=1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.nodes) + " and " + c.node);
        Store store = levels(c.nodes);
        const Node node = levelNodes(c.node).front();
        const Store::iterator at = store.insert_noAdjust(store.at(c.hint), node);
        EXPECT_EQ(describe(store.nodes()), c.after);
        EXPECT_EQ(at.getLevel(), node.getLevel());

        // A block goes where its nodes would go one by one.
        Store blocks = levels(c.nodes);
        Store singly = levels(c.nodes);
        const auto block = levelNodes(std::string(c.node) + " 2=0.25 2.5=0.25");
        blocks.insert_noAdjust(block);
        for (const Node& each : block)
            singly.insert_noAdjust(each);
        EXPECT_EQ(describe(blocks.nodes()), describe(singly.nodes()));
    }
}

TEST(LevelStore, LetsANewNodeTakeThePlaceOfOneWithinAMicrosecond)
{
    // clang-format off
    struct Case { const char* nodes; const char* node; const char* after; };
    static const Case cases[] = {
        {"1=1 2=1",         "1.0000005=0.5*", "1=0.5* 2=1"},
        {"1=1 [2=1",        "1.9999995=0.5*", "1=1 [2=0.5*"},
        {"1=1 2=1",         "[2=0.5",         "1=1 [2=0.5"},
        {"1=1 2=1]",        "[2=0.5",         "1=1 2=0.5]"},
        {"1=1 2=1",         "1.5=0.5",        "1=1 1.5=0.5 2=1"},
        {"1=1 2=1",         "1.0000015=0.5",  "1=1 1.0000015=0.5 2=1"},
        {"1=1 nan=1",       "nan=0.5",        "1=1 nan=1 nan=0.5"},
    };
    // clang-format on
    for (const Case& c : cases) {
        Store store = levels(c.nodes);
        store.insert(levelNodes(c.node).front());
        EXPECT_EQ(describe(store.nodes()), c.after) << c.nodes << " and " << c.node;
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

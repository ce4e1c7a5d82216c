#include "tracks/level_accuracy.h"

#include "tests/support/level_notation.h"
#include "tracks/AudLevelsCel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <random>

namespace cel::test {
namespace {

using Store = AudLevelsCel::Store;
using Node = Store::Node;

TEST(LevelMeter, FindsTheLargestDistanceAndWhenItIsReachedFirst)
{
    // clang-format off
    struct Case { const char* name; const char* a; const char* b; double decibels, time; };
    static const Case cases[] = {
        {"the same",                   "0=0 4=1",             "0=0 4=1",           0,       0},
        {"no nodes are unity",         "",                    "3=1",               0,       0},
        {"half everywhere",            "0=1",                 "5=0.5",             6.0206,  0},
        {"a node more",                "0=1 2=0.5 4=1",       "0=1 4=1",           6.0206,  2},
        {"in front of the first",      "0=1 4=0.25",          "4=0.25",            12.0412, 0},
        {"behind the last",            "0=1 4=0.25",          "0=1",               12.0412, 4},
        {"on the left of a jump",      "0=1 2=0.5 2=1 4=1",   "0=1 4=1",           6.0206,  2},
        {"silence of any depth",       "0=0 4=0",             "0=1e-6 4=-3",       0,       0},
        {"from silence",               "0=0 4=0",             "0=0 2=0.1 4=0",     100,     2},
        {"where it rises from the floor", "0=0 1=0 2=2e-6 3=1", "0=0 1=1e-6 2=2e-6 3=1", 3.5218, 1.5},
        {"at the floor's edge",        "0=0 4=4e-6",          "0=0 1=4e-6 4=4e-6", 12.0412, 1},
        {"no number in one",           "0=1 4=nan",           "0=1 4=1",           INFINITY, 4},
        {"no number in both",          "0=1 4=nan",           "0=1 4=nan",         0,       0},
        {"nodes at no time",           "-inf=5 0=1 nan=7",    "0=1 inf=9",         0,       0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (const bool turned : {false, true}) {
            const Store a = levels(turned ? c.b : c.a);
            const Store b = levels(turned ? c.a : c.b);
            const LevelError error = worstLevelError(a, b);
            if (std::isinf(c.decibels)) {
                EXPECT_EQ(error.decibels, c.decibels);
            } else {
                EXPECT_NEAR(error.decibels, c.decibels, 1e-3);
            }
            EXPECT_NEAR(error.time, c.time, 1e-6);
        }
    }
}

std::string thinned(std::string_view notation, double decibels)
{
    const Store all = levels(notation);
    Store some;
    for (const std::size_t i : fewestNodesWithin(all, decibels))
        some.insert_noAdjust(all.nodes()[i]);
    return describe(some.nodes());
}

TEST(FewestNodes, KeepWhatIsPinnedAndWhatTheEarNeeds)
{
    // clang-format off
    struct Case { const char* name; const char* before; double decibels; const char* after; };
    static const Case cases[] = {
        {"nothing",                     "",                             1,   ""},
        {"one of a flat line",          "0=1 1=1 2=1",                  0,   "0=1"},
        {"a straight line's ends",      "0=0.5 1=0.625 2=0.75 4=1",     0.1, "0=0.5 4=1"},
        {"guards",                      "[0=1 1=1 1.99=1] [2=1 3=1 4=1]", 9, "[0=1 1.99=1] [2=1 4=1]"},
        {"where black begins",          "0=1 1=1 2=1* 3=1*",            9,   "0=1 2=1*"},
        {"a peak",                      "0=0.5 1=1 2=0.5",              5,   "0=0.5 1=1 2=0.5"},
        {"not one that is allowed",     "0=0.5 1=1 2=0.5",              6.1, "0=0.5"},
        {"neighbours of what is none",  "0=1 1=1 2=nan 3=1 4=1 5=1",    9,   "1=1 2=nan 3=1"},
        {"both sides of a jump",        "0=1 1=1 1=0.25 2=0.25",        1,   "1=1 1=0.25"},
        {"nothing inside a jump",       "0=1 1=1 1=9 1=0.25 2=0.25",    1,   "1=1 1=0.25"},
        {"silence is all alike",        "0=0 1=1e-7 2=5e-7 3=0",        0,   "0=0"},
        {"all for no distance",         "0=1 1=1 2=1",                  NAN, "0=1 1=1 2=1"},
        {"all for less than none",      "0=1 1=1 2=1",                  -1,  "0=1 1=1 2=1"},
        {"one for any distance",        "0=1 1=0 2=7",                  INFINITY, "0=1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(thinned(c.before, c.decibels), c.after);
    }
}

/// The size of the smallest choice of nodes, by trying all.
std::size_t fewestByTrial(const Store& all, double decibels)
{
    const auto nodes = all.nodes();
    std::size_t fewest = nodes.size();
    for (unsigned choice = 1; choice < 1U << nodes.size(); ++choice) {
        const auto count = static_cast<std::size_t>(std::popcount(choice));
        if (count >= fewest)
            continue;
        Store some;
        bool allowed = true;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const bool chosen = choice >> i & 1U;
            allowed = allowed && (chosen || !nodes[i].isGuardNode());
            if (chosen)
                some.insert_noAdjust(nodes[i]);
        }
        if (allowed && worstLevelError(all, some).decibels <= decibels)
            fewest = count;
    }
    return fewest;
}

TEST(FewestNodes, AreAsFewAsAnyChoiceWithinTheDistance)
{
    std::mt19937 random(7);
    const auto below = [&random](unsigned count) { return static_cast<int>(random() % count); };
    std::uniform_real_distribution<double> fraction(0.0, 1.0);
    for (int round = 0; round < 4000; ++round) {
        // Slopes, silence, jumps and guards, at levels that are never by chance at the limit.
        Store all;
        double time = 0.0;
        const int kind = below(3);
        for (int i = 1 + below(9); i > 0; --i) {
            time += below(5) == 0 ? 0.0 : fraction(random);
            double level =
                kind == 0 ? fraction(random) : 0.5 + 0.05 * time + 0.1 * fraction(random);
            if (kind == 2)
                level = std::pow(10.0, -4.0 - 3.0 * fraction(random));
            if (below(6) == 0)
                level = 0.0;
            const int type = below(8) == 0 ? 1 + below(2) : 0;
            all.insert_noAdjust(
                {time, static_cast<float>(level), static_cast<Store::eNodeType>(type), false});
        }
        const double decibels = 12.0 * fraction(random);
        Store some;
        for (const std::size_t i : fewestNodesWithin(all, decibels))
            some.insert_noAdjust(all.nodes()[i]);
        const double worst = worstLevelError(all, some).decibels;
        EXPECT_LE(worst, decibels + 1e-9)
            << describe(all.nodes()) << " thinned to " << describe(some.nodes());
        for (int i = 0; i < 20; ++i) { // the meter misses nothing between the nodes
            const double t = (time + 0.2) * fraction(random) - 0.1;
            const auto heard = [t](const Store& store) {
                return std::log10(std::max(static_cast<double>(store.getLevelAtTime(t)), 1e-6));
            };
            EXPECT_LE(20.0 * std::fabs(heard(all) - heard(some)), worst + 1e-5)
                << describe(all.nodes()) << " thinned to " << describe(some.nodes());
        }
        EXPECT_EQ(some.size(), fewestByTrial(all, decibels))
            << describe(all.nodes()) << " within " << decibels;
    }
}

TEST(FewestNodes, ThinAnEnvelopeAsTheyAreChosen)
{
    AudLevelsCel envelope(0.04);
    envelope.getNodeStore() = levels("[0=0.5 1=0.625 2=0.75 4=1");
    EXPECT_EQ(envelope.thinToWithin(-1.0), 0U);
    EXPECT_EQ(envelope.thinToWithin(0.1), 2U);
    EXPECT_EQ(describe(envelope.snapshot().nodes()), "[0=0.5 4=1");
}

} // namespace
} // namespace cel::test

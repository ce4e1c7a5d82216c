#include "tracks/level_accuracy.h"

#include "tests/support/level_notation.h"
#include "tests/support/table.h"
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
    for (const TableRow& c : table("levels", "distance")) {
        SCOPED_TRACE(c.place);
        for (const bool turned : {false, true}) {
            const LevelError error =
                worstLevelError(levels(c[turned ? 2 : 1]), levels(c[turned ? 1 : 2]));
            // Equal infinities have no difference.
            EXPECT_TRUE(error.decibels == c.number(3) ||
                        std::fabs(error.decibels - c.number(3)) <= 1e-3)
                << error.decibels;
            EXPECT_NEAR(error.time, c.number(4), 1e-6);
        }
    }
}

Store thinned(const Store& all, double decibels)
{
    Store some;
    for (const std::size_t i : fewestNodesWithin(all, decibels))
        some.insert_noAdjust(all.nodes()[i]);
    return some;
}

TEST(FewestNodes, KeepWhatIsPinnedAndWhatTheEarNeeds)
{
    for (const TableRow& c : table("levels", "fewest"))
        EXPECT_EQ(describe(thinned(levels(c[1]), c.number(2)).nodes()), c[3]) << c.place;
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
        const Store some = thinned(all, decibels);
        const double worst = worstLevelError(all, some).decibels;
        SCOPED_TRACE(describe(all.nodes()) + " thinned to " + describe(some.nodes()));
        EXPECT_LE(worst, decibels + 1e-9);
        for (int i = 0; i < 20; ++i) { // the meter misses nothing between the nodes
            const double t = (time + 0.2) * fraction(random) - 0.1;
            const auto heard = [t](const Store& store) {
                return std::log10(std::max(static_cast<double>(store.getLevelAtTime(t)), 1e-6));
            };
            EXPECT_LE(20.0 * std::fabs(heard(all) - heard(some)), worst + 1e-5);
        }
        EXPECT_EQ(some.size(), fewestByTrial(all, decibels)) << "within " << decibels;
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

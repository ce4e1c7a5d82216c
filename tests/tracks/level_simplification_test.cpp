#include "tests/support/level_notation.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tracks/AudLevelsCel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace cel::test {
namespace {

using Store = AudLevelsCel::Store;
using Node = Store::Node;

AudLevelsCel envelope(std::string_view notation)
{
    AudLevelsCel made(0.04);
    made.getNodeStore().insert_noAdjust(levelNodes(notation));
    return made;
}

std::string text(const AudLevelsCel& handle)
{
    return describe(handle.snapshot().nodes());
}

constexpr const char* kStyle = "CEL_TRACK_SOUND_SIMPLIFY_STYLE";

TEST(Simplification, ThinsByTheConfiguredStyle)
{
    for (const TableRow& c : table("levels", "simplify")) {
        SCOPED_TRACE(c.place);
        const EnvironmentVariable style(kStyle, c[1]);
        const NumRange<double, Ordered> range(c.number(3), c.number(4));
        const LogCapture log;
        AudLevelsCel levels = envelope(c[2]);
        const bool sameCount = levels.simplify(Simplification::kAll, range);
        EXPECT_EQ(text(levels), c[5]);
        EXPECT_EQ(sameCount, levels.snapshot().size() == levelNodes(c[2]).size());

        AudLevelsCel other = envelope(c[2]);
        EXPECT_FALSE(other.simplify(Simplification::kZeroLength, range)) << "no business of it";
        EXPECT_EQ(text(other), text(envelope(c[2])));
    }
}

TEST(Simplification, SaysWhichStyleItUsesWhenThatChanges)
{
    AudLevelsCel levels = envelope("0=1 1=0 2=1");
    const auto run = [&levels](const char* configured) {
        const EnvironmentVariable style(kStyle, configured);
        const LogCapture log;
        EXPECT_TRUE(levels.simplify(Simplification::kAll, Editable::invalidRange()));
        return log.text(LogChannel::both);
    };
    run("1");
    EXPECT_EQ(run("2"), "AudLevelsCel::Rep::simplify using style 2\n");
    EXPECT_EQ(run("2"), "");
    EXPECT_EQ(run("3"), "AudLevelsCel::Rep::simplify using style 3\nWarning: style 3 not known!\n");
    EXPECT_EQ(run("3"), "Warning: style 3 not known!\n");
    EXPECT_EQ(run("no number"), "AudLevelsCel::Rep::simplify using style 1\n");
}

// ---- the area method step by step -------------------------------------------------------------

double triangle(double x1, double y1, double x2, double y2, double x3, double y3)
{
    return 0.5 * (x1 * y2 - x2 * y1 + x2 * y3 - x3 * y2 + x3 * y1 - x1 * y3);
}

double area(const Node& n0, const Node& n1, const Node& na, const Node& nb)
{
    const double t0 = n0.getRawTime(), t1 = n1.getRawTime();
    const double ta = na.getRawTime(), tb = nb.getRawTime();
    const double L0 = n0.getLevel() + 0.1, L1 = n1.getLevel() + 0.1;
    const double La = na.getLevel() + 0.1, Lb = nb.getLevel() + 0.1;
    const double m = (L1 - L0) / (t1 - t0);
    const double da = (ta - t0) * m + L0 - La;
    const double db = (tb - t0) * m + L0 - Lb;
    if (da * db >= 0.0)
        return (da + db) * 0.5 * (tb - ta);
    const double ms = (Lb - La) / (tb - ta);
    const double tx = (La - ms * ta - (L0 - m * t0)) / (m - ms);
    const double Lx = tx * ms + (La - ms * ta);
    return triangle(t0, L0, tx, Lx, ta, La) + triangle(tx, Lx, tb, Lb, t1, L1);
}

/// Thins a list node by node; every probe sums all segments anew.
std::vector<Node> thinnedStepByStep(std::vector<Node> nodes, double from, double to,
                                    bool keepGuards)
{
    constexpr double kMaxArea = 0.015;
    std::size_t anchor = 0;
    if (nodes.size() < 3)
        return nodes;
    while (anchor < nodes.size() && nodes[anchor].getRawTime() < from)
        ++anchor;
    std::size_t probe = anchor;
    for (bool atEnd = false; !atEnd;) {
        int count = 0;
        for (;; ++probe, ++count) {
            atEnd = probe >= nodes.size() || nodes[probe].getRawTime() > to;
            if (atEnd)
                break;
            double sum = 0.0;
            for (int k = 0; count > 1 && k < count; ++k)
                sum +=
                    area(nodes[anchor], nodes[probe], nodes[anchor + static_cast<std::size_t>(k)],
                         nodes[anchor + static_cast<std::size_t>(k) + 1]);
            if (std::fabs(sum) > kMaxArea)
                break;
        }
        std::size_t next = anchor + 1;
        for (int visits = count - 2; visits > 0; --visits) {
            if (keepGuards && nodes[next].isGuardNode()) {
                ++next;
            } else {
                nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(next));
                --probe;
            }
        }
        anchor = probe;
    }
    return nodes;
}

/// Envelopes of several manners; what is not regular comes in all of them now and then.
std::vector<Node> randomNodes(std::mt19937& random)
{
    std::uniform_real_distribution<double> fraction(0.0, 1.0);
    const auto below = [&random](unsigned count) { return static_cast<int>(random() % count); };
    const int manner = below(6);
    const double bend = 0.01 * fraction(random);
    std::vector<Node> nodes;
    double time = below(2) ? 0.0 : 1000.0 * fraction(random);
    double level = fraction(random);
    for (int i = below(60); i > 0; --i) {
        time += below(40) == 0 ? 0.0 : 0.2 * fraction(random);
        const double step = below(15) ? level : fraction(random);
        const double near = level + 0.05 * (fraction(random) - 0.5);
        // Flat with steps, a slope about which float levels weave, bent to one side, a wave,
        // random.
        const double manners[] = {step, 0.2 + 1e-3 * time, 0.9 - bend * i * i / 60.0,
                                  0.5 + 0.4 * std::sin(3.0 * time), near};
        level = manners[std::min(manner, 4)];
        double strange = time;
        if (below(300) == 0)
            level = std::numeric_limits<double>::quiet_NaN();
        if (below(300) == 0)
            strange = std::numeric_limits<double>::infinity();
        nodes.emplace_back(strange, static_cast<float>(level),
                           static_cast<Store::eNodeType>(below(12) ? 0 : 1 + below(2)), false);
    }
    return nodes;
}

TEST(Simplification, DecidesByAreaAsTheWrittenSumDoes)
{
    const EnvironmentVariable style(kStyle, "2");
    const LogCapture log;
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        AudLevelsCel levels(0.04);
        for (const Node& node : randomNodes(random))
            levels.getNodeStore().insert_noAdjust(node);
        const Store before = levels.snapshot();
        const std::vector<Node> nodes(before.nodes().begin(), before.nodes().end());

        Kt::Ptr<AudLevelsCelRep> rep(new AudLevelsCelRep(0.04));
        rep->nodes() = before;
        rep->simplify2();
        EXPECT_EQ(describe(rep->nodes().nodes()),
                  describe(thinnedStepByStep(nodes, -INFINITY, INFINITY, true)))
            << describe(nodes);

        rep->nodes() = before;
        rep->simplify_section_2(1.0, 4.0);
        EXPECT_EQ(describe(rep->nodes().nodes()),
                  describe(thinnedStepByStep(nodes, 1.0, 4.0, false)))
            << describe(nodes);
    }
}

TEST(Simplification, ReadsTheLargestAreaFromTheConfiguration)
{
    // It is read once in a process, so this needs one of its own.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        const EnvironmentVariable area("CEL_SIMPLIFY2_MAXAREA", "1e6");
        const Kt::Ptr<AudLevelsCelRep> rep(new AudLevelsCelRep(0.04));
        rep->nodes() = levels("0=0 1=1 2=0 3=1 4=0");
        rep->simplify2();
        const bool all = describe(rep->nodes().nodes()) == "0=0 4=0";
        rep->nodes() = levels("0=0 1=1 2=0 3=1 4=0");
        rep->simplify_section_2(1.0, 3.0);
        std::_Exit(all && describe(rep->nodes().nodes()) == "0=0 1=1 3=1 4=0" ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace cel::test

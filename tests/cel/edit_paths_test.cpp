#include "cel/Cel.h"
#include "cel/inspect.h"
#include "cel/plays_same.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>

namespace cel::test {
namespace {

/// A track of a derived class, whose edits go step by step.
class Stepwise : public Cel
{
public:
    explicit Stepwise(const Cel& other)
        : Cel(other)
    {
    }
};

class Dice
{
public:
    explicit Dice(unsigned seed)
        : engine_(seed)
    {
    }
    int upTo(int highest) { return std::uniform_int_distribution(0, highest)(engine_); }
    double between(double a, double b) { return std::uniform_real_distribution(a, b)(engine_); }
    bool oneIn(int n) { return upTo(n - 1) == 0; }

    /// A time on the frames of 25 a second, or anywhere.
    double time(bool onGrid, double a, double b)
    {
        const double t = between(a, b);
        return onGrid ? std::round(t / 0.04) * 0.04 : t;
    }

private:
    std::mt19937 engine_;
};

Cookie anyMaterial(Dice& dice)
{
    static const std::string_view letters = "ABCab.,$";
    return material(letters[static_cast<std::size_t>(dice.upTo(7))]);
}

Kt::Ptr<Cel> anyTrack(Dice& dice, bool onGrid, bool holes, bool levelChanges)
{
    Kt::Ptr<Cel> track(new Cel(0, 0.04));
    double t = holes && dice.oneIn(4) ? dice.time(onGrid, 0, 2) : 0.0;
    for (int i = dice.upTo(8); i > 0; --i) {
        const double length = dice.oneIn(10) ? 0.0 : dice.time(onGrid, 0, 3);
        const Cookie shot = anyMaterial(dice);
        IdStamp id;
        id.setMagicType(dice.upTo(3));
        ChannelEvent in(t, dice.between(0, 100), shot, static_cast<float>(dice.between(0, 1)),
                        in_point, id, dice.upTo(15));
        in.audioRamp_DurationQFrames(static_cast<unsigned>(dice.upTo(200)));
        in.setActive(!dice.oneIn(6));
        track->addEvent(in);
        if (levelChanges && dice.oneIn(3))
            track->addEvent(ChannelEvent(t + length * dice.between(0, 1), 0, shot, 0.5F,
                                         level_change, IdStamp(0, 0, 0), 0));
        ChannelEvent out(t + length, 0, shot, 1.0F, out_point, IdStamp(0, 0, 0), 0);
        out.velocity(dice.oneIn(4) ? static_cast<float>(dice.between(-2, 2)) : 1.0F);
        out.audioRamp_DurationQFrames(static_cast<unsigned>(dice.upTo(300)));
        track->addEvent(out);
        t += length + (holes && dice.oneIn(5) ? dice.time(onGrid, 0.04, 1) : 0.0);
    }
    return track;
}

/// Identifiers that stood on a track before count as what they are, all others as fresh.
class Origin
{
public:
    void remember(const Cel& track)
    {
        for (const ChannelEvent& event : track.events())
            known_.emplace(event.editGraph(), static_cast<int>(known_.size()) + 1);
    }
    int operator()(const IdStamp& id) const
    {
        const auto found = known_.find(id);
        return found == known_.end() ? 0 : found->second;
    }

private:
    std::map<IdStamp, int> known_;
};

void expectSameEvents(const Cel& a, const Cel& b, const Origin& origin)
{
    ASSERT_EQ(a.numEvents(), b.numEvents());
    const CelState one = inspect(a);
    const CelState other = inspect(b);
    EXPECT_EQ(one.eventCount, other.eventCount);
    EXPECT_EQ(one.blackEventCount, other.blackEventCount);
    EXPECT_EQ(one.pendingInIndex, other.pendingInIndex);
    for (int i = 0; i < a.numEvents(); ++i) {
        SCOPED_TRACE(i);
        ChannelEvent x = a.get_event(i);
        ChannelEvent y = b.get_event(i);
        EXPECT_NEAR(x.edit_time(), y.edit_time(), 1e-9);
        EXPECT_NEAR(x.strip_time(), y.strip_time(), 1e-9);
        EXPECT_NEAR(x.level_sc(), y.level_sc(), 1e-6F);
        EXPECT_EQ(origin(x.editGraph()), origin(y.editGraph()));
        y.edit_time(x.edit_time());
        y.strip_time(x.strip_time());
        y.level_sc(x.level_sc());
        y.editGraph(x.editGraph());
        EXPECT_TRUE(x == y);
        EXPECT_EQ(x.infoWord(), y.infoWord());
    }
}

unsigned sequences()
{
    const char* wanted = std::getenv("CEL_RANDOM_SEQUENCES");
    return wanted ? static_cast<unsigned>(std::atoi(wanted)) : 20000U;
}

TEST(RandomEdits, ComeOutTheSameInOneSpliceAndStepByStep)
{
    const LogCapture quiet;
    for (unsigned seed = 0; seed < sequences() && !testing::Test::HasFailure(); ++seed) {
        Dice dice(seed);
        const bool onGrid = dice.oneIn(2);
        const bool holes = dice.oneIn(2);
        const bool levelChanges = dice.oneIn(4);
        const Kt::Ptr<Cel> before = anyTrack(dice, onGrid, holes, levelChanges);
        const Kt::Ptr<Cel> source =
            dice.oneIn(6) ? Kt::Ptr<Cel>() : anyTrack(dice, onGrid, holes, levelChanges);
        const int operation = dice.upTo(6);
        const Cel::Range range(dice.time(onGrid, -1, 9), dice.time(onGrid, -1, 9));
        const double at = dice.time(onGrid, -1, 9);
        SCOPED_TRACE("seed " + std::to_string(seed) + " operation " + std::to_string(operation) +
                     " on " + describe(*before));

        const auto edit = [&](Cel& track) {
            const Cel* from = operation > 4 ? &track : source.get();
            switch (operation) {
            case 0:
                return track.remove(range);
            case 1:
            case 5:
                return track.insert(from, range, at, {});
            case 2:
            case 6:
                return track.replace(from, range, at, {}, Editable::kReplacePlain);
            case 3:
                track.makeCutAt(at);
                return;
            default:
                track.simplifyMatchFrameCuts(range);
            }
        };
        const Kt::Ptr<Cel> atOnce(new Cel(*before));
        const Kt::Ptr<Cel> stepwise(new Stepwise(*before));
        edit(*atOnce);
        edit(*stepwise);

        Origin origin;
        origin.remember(*before);
        if (source)
            origin.remember(*source);
        expectSameEvents(*atOnce, *stepwise, origin);
        if (!holes && !levelChanges && before->get_start_time() == 0.0) {
            EXPECT_TRUE(wellFormed(*atOnce));
        }
        if (operation == 3 && !levelChanges) {
            // A cut shortens ramps, and that alone.
            const auto difference = explainDifference(*before, *atOnce);
            EXPECT_TRUE(!difference || difference->field == std::string_view("ramp"));
        }
    }
}

} // namespace
} // namespace cel::test

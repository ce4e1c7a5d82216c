#include "cel/Cel.h"
#include "cel/inspect.h"
#include "cel/plays_same.h"
#include "tests/support/log_capture.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace cel::test {
namespace {

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

/// A track of a derived class, whose edits go step by step and tell which hooks they call.
class Stepwise : public Cel
{
public:
    Stepwise(const Cel& other, const Origin& origin)
        : Cel(other)
        , origin_(origin)
    {
    }

    /// In their order, but what is destroyed last: an edit destroys only when it is complete.
    std::vector<std::string> hookCalls() const
    {
        std::vector<std::string> calls = calls_;
        calls.insert(calls.end(), destroyed_.begin(), destroyed_.end());
        return calls;
    }

private:
    void copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap,
                           double share, ParamResizeMethod method) override
    {
        calls_.push_back("copy " + std::to_string(origin_(h.getEffectGraph())) + " at " +
                         std::to_string(h.get_index()) + " for " + std::to_string(share));
        Cel::copySegmentObject(h, event, idMap, share, method);
    }
    void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method) override
    {
        calls_.push_back("resize " + std::to_string(origin_(id)) + " to " + std::to_string(share) +
                         " by " + std::to_string(method));
    }
    void destroySegmentObject(const IdStamp& id) override
    {
        destroyed_.push_back("destroy " + std::to_string(origin_(id)));
    }

    const Origin& origin_;
    std::vector<std::string> calls_;
    std::vector<std::string> destroyed_;
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

struct Shape
{
    bool onGrid;
    bool holes;
    bool levelChanges;
    bool damaged;
};

Shape anyShape(Dice& dice)
{
    return {dice.oneIn(2), dice.oneIn(2), dice.oneIn(4), dice.oneIn(4)};
}

void addSection(Cel& track, Dice& dice, double t, double length, bool levelChanges)
{
    const Cookie shot = anyMaterial(dice);
    IdStamp id;
    id.setMagicType(dice.upTo(3));
    ChannelEvent in(t, dice.between(0, 100), shot, static_cast<float>(dice.between(0, 1)), in_point,
                    id, dice.upTo(15));
    in.audioRamp_DurationQFrames(static_cast<unsigned>(dice.upTo(200)));
    in.setActive(!dice.oneIn(6));
    track.addEvent(in);
    for (int i = levelChanges && dice.oneIn(3) ? dice.upTo(3) : 0; i > 0; --i)
        track.addEvent(ChannelEvent(t + length / i * dice.between(0, 1), 0, shot, 0.5F,
                                    level_change, IdStamp(0, 0, 0), 0));
    ChannelEvent out(t + length, 0, shot, 1.0F, out_point, IdStamp(0, 0, 0), 0);
    out.velocity(dice.oneIn(4) ? static_cast<float>(dice.between(-2, 2)) : 1.0F);
    out.audioRamp_DurationQFrames(static_cast<unsigned>(dice.upTo(300)));
    track.addEvent(out);
}

/// What a file or a caller may leave behind: times out of order, events that do not pair up, and a
/// section that is still open.
void damage(Cel& track, Dice& dice)
{
    for (int i = dice.upTo(3); i > 0 && track.numEvents() > 0; --i) {
        ChannelEvent& event = *track.getChanEventPtr(dice.upTo(track.numEvents() - 1));
        if (dice.oneIn(3))
            event.info(static_cast<ce_info>(1 << dice.upTo(3)));
        else
            event.edit_time(dice.time(true, -2, 12));
    }
    for (int i = dice.upTo(2); i > 0; --i)
        track.addEvent(ChannelEvent(dice.time(true, 0, 12), 5, material('A'), 1.0F,
                                    static_cast<ce_info>(1 << dice.upTo(2)), IdStamp(0, 0, 0), 0));
}

Kt::Ptr<Cel> anyTrack(Dice& dice, const Shape& shape)
{
    Kt::Ptr<Cel> track(new Cel(0, 0.04));
    double t = shape.holes && dice.oneIn(4) ? dice.time(shape.onGrid, 0, 2) : 0.0;
    for (int i = dice.upTo(8); i > 0; --i) {
        const double length = dice.oneIn(10) ? 0.0 : dice.time(shape.onGrid, 0, 3);
        addSection(*track, dice, t, length, shape.levelChanges);
        t += length + (shape.holes && dice.oneIn(5) ? dice.time(shape.onGrid, 0.04, 1) : 0.0);
    }
    if (shape.damaged)
        damage(*track, dice);
    return track;
}

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

/// One edit, in the library's way or by the steps that it stands for.
struct Edit
{
    int operation;
    Cel::Range range;
    double at;
    const Cel* source;
    int flags; ///< of a replacement: 0 may keep an effect

    static Edit any(Dice& dice, bool onGrid, const Cel* source, const Cel& track)
    {
        const auto time = [&] {
            // Often just where something happens: at an event, or half a frame from the end.
            if (track.numEvents() == 0 || !dice.oneIn(3))
                return dice.time(onGrid, -1, 9);
            const int index =
                dice.oneIn(3) ? track.numEvents() - 1 : dice.upTo(track.numEvents() - 1);
            const double near[] = {0.0, 0.0, -0.02, 0.02, 5e-7, -2e-6};
            return track.get_event(index).edit_time() + near[dice.upTo(5)];
        };
        Edit edit{dice.upTo(5), Cel::Range(time(), time()), time(), source, dice.upTo(1)};
        if (dice.oneIn(8))
            edit.range = Cel::Range(edit.range.start(), edit.range.start() + dice.between(0, 0.05));
        return edit;
    }

    void operator()(Cel& track) const
    {
        switch (operation) {
        case 0:
            return track.remove(range);
        case 1:
        case 4:
            return track.insert(operation == 4 ? &track : source, range, at, {});
        case 2:
        case 5:
            return track.replace(operation == 5 ? &track : source, range, at, {},
                                 static_cast<Editable::ReplaceFlags>(flags));
        default:
            track.makeCutAt(at);
        }
    }

    /// By cuts, pairs taken out, and insertions; @return false for what is a step itself.
    bool inSteps(Cel& track) const
    {
        if (operation == 0)
            takeOut(track, range);
        const bool replaces = (operation == 2 || operation == 5) && flags != 0;
        if (replaces)
            overwrite(track);
        return operation == 0 || replaces;
    }

private:
    static void takeOut(Cel& track, const Cel::Range& stretch)
    {
        const ce_handle from = track.makeCutAt(stretch.start());
        if (!from.valid())
            return;
        const ce_handle to = track.makeCutAt(stretch.end());
        const int stop = to.valid() ? to.get_index() : track.numEvents();
        track.removeEventPairs(from.get_index(), (stop - from.get_index()) / 2, true);
    }

    void overwrite(Cel& track) const
    {
        const Kt::Ptr<Cel> before(new Cel(track));
        const double end = at + range.length();
        if (at >= 0.0 || end > 0.0)
            takeOut(track, Cel::Range(std::max(at, 0.0), end));
        if (range.length() > 1e-6)
            track.insert(operation == 5 ? before.get() : source, range, std::max(at, 0.0), {});
    }
};

/// What an edit does to a track: what it reports and what it throws.
std::string outcome(const std::function<void()>& edit)
{
    const LogCapture log;
    const std::string thrown = thrownBy(edit);
    return log.text() + thrown;
}

TEST(RandomEdits, ComeOutTheSameInOneSpliceAndStepByStep)
{
    const LogCapture quiet;
    for (unsigned seed = 0; seed < sequences() && !testing::Test::HasFailure(); ++seed) {
        Dice dice(seed);
        const Shape shape = anyShape(dice);
        const Kt::Ptr<Cel> before = anyTrack(dice, shape);
        const Kt::Ptr<Cel> source = dice.oneIn(6) ? Kt::Ptr<Cel>() : anyTrack(dice, shape);
        const Edit edit = Edit::any(dice, shape.onGrid, source.get(), *before);
        SCOPED_TRACE(testing::Message() << "seed " << seed << " operation " << edit.operation
                                        << " of " << edit.range.start() << ", " << edit.range.end()
                                        << " at " << edit.at << " on " << describe(*before));
        Origin origin;
        origin.remember(*before);
        if (source)
            origin.remember(*source);

        const Kt::Ptr<Cel> atOnce(new Cel(*before));
        const Kt::Ptr<Stepwise> stepwise(new Stepwise(*before, origin));
        const Kt::Ptr<Stepwise> inSteps(new Stepwise(*before, origin));
        const std::string reported = outcome([&] { edit(*atOnce); });
        EXPECT_EQ(outcome([&] { edit(*stepwise); }), reported);
        expectSameEvents(*atOnce, *stepwise, origin);
        bool literal = false;
        const std::string reportedInSteps = outcome([&] { literal = edit.inSteps(*inSteps); });
        if (literal) {
            EXPECT_EQ(reportedInSteps, reported);
            EXPECT_EQ(stepwise->hookCalls(), inSteps->hookCalls());
            expectSameEvents(*stepwise, *inSteps, origin);
        }
        if (!shape.holes && !shape.levelChanges && !shape.damaged) {
            EXPECT_TRUE(wellFormed(*atOnce));
        }
        if (edit.operation == 3 && !shape.levelChanges && !shape.damaged) {
            // A cut shortens ramps, and that alone.
            const auto difference = explainDifference(*before, *atOnce);
            EXPECT_TRUE(!difference || difference->field == std::string_view("ramp"));
        }
    }
}

/// The trims of all selected events, one after the other.
double trimEach(Cel& track, double wanted)
{
    const double d = track.do_trim_test(wanted);
    for (ce_handle h = track.findFirstTrim(); h.valid(); h = h.find_next_trim()) {
        const trim_type type = h.get_trim_type();
        ce_handle in = h.matching_in_ceh();
        if (type != trim_black && type != trim_roll_black) {
            track.trimRaw(in, d, type);
            continue;
        }
        if (!in.valid())
            throw Kt::Exception::RuntimeError("Cel::feedInBlack: invalid ceh", "", 0);
        const double room =
            in.get_index() == 0 ? -1e7 : in.prev().get_edit_time() - in.get_edit_time();
        const double fed = std::max(d, room);
        if (in.get_trim_type() == trim_roll_black)
            in.set_strip_time(in.get_strip_time() + fed);
        const bool all = in.get_trim_type() == trim_black;
        const bool feeds = all || in.get_trim_type() == trim_roll_black;
        for (ce_handle moved = in; feeds && moved.valid(); ++moved) {
            moved.set_edit_time(moved.get_edit_time() + fed);
            if (!all)
                break;
        }
    }
    return d;
}

TEST(RandomEdits, TrimSelectionsInOnePassAsOneAfterTheOther)
{
    const LogCapture quiet;
    for (unsigned seed = 0; seed < sequences() && !testing::Test::HasFailure(); ++seed) {
        Dice dice(seed);
        const Kt::Ptr<Cel> before = anyTrack(dice, anyShape(dice));
        const int every = dice.upTo(4);
        for (int i = 0; i < before->numEvents(); ++i)
            if (every == 0 || dice.oneIn(every))
                before->getChanEventPtr(i)->set_trim(static_cast<trim_type>(dice.upTo(4)));
        const double d = dice.oneIn(10) ? 0.0 : dice.between(-0.5, 0.5);
        SCOPED_TRACE(testing::Message()
                     << "seed " << seed << " by " << d << " on " << describe(*before));

        const Kt::Ptr<Cel> atOnce(new Cel(*before));
        const Kt::Ptr<Cel> each(new Cel(*before));
        double applied = 0.0;
        const std::string reported = outcome([&] { applied = atOnce->do_trim(d); });
        EXPECT_EQ(outcome([&] { EXPECT_EQ(trimEach(*each, d), applied); }), reported);
        expectSameEvents(*atOnce, *each, {});
    }
}

} // namespace
} // namespace cel::test

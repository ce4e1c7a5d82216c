#include "cel/Cel.h"
#include "tests/support/track_notation.h"

#include <rapidcheck/gtest.h>

namespace cel::test {
namespace {

/// The answer by its definition: the last event not after t, and of the filter; none outside.
int linearFind(std::span<const ChannelEvent> events, double t, unsigned filter)
{
    if (events.empty() || !(t >= events.front().edit_time() - 1e-6) ||
        !(t <= events.back().edit_time() + 1e-6))
        return -1;
    int found = static_cast<int>(events.size()) - 1;
    while (found >= 0 && (events[std::size_t(found)].edit_time() > t + 1e-6 ||
                          (events[std::size_t(found)].info() & filter) == 0))
        --found;
    return found;
}

RC_GTEST_PROP(Search, FindsTheSameFromEverySeedAsALinearScan, ())
{
    // Steps of 0 stack events at one time; half steps ask for times between them.
    std::string notation;
    const int sections = *rc::gen::inRange(1, 12);
    int time = *rc::gen::inRange(-3, 4);
    for (int i = 0; i < sections; ++i) {
        notation += " A<" + std::to_string(time);
        for (int changes = *rc::gen::inRange(0, 3); changes > 0; --changes)
            notation += " A=" + std::to_string(time += *rc::gen::inRange(0, 2));
        notation += " A>" + std::to_string(time += *rc::gen::inRange(0, 3));
        time += *rc::gen::weightedElement<int>({{4, 0}, {1, 1}}); // a hole now and then
    }
    const Kt::Ptr<Cel> cel = track(notation);
    for (double t = -4; t <= time + 1; t += 0.5) {
        const double near = t + *rc::gen::element(0.0, 9e-7, -9e-7);
        for (const ce_info filter : {any_event, in_point, level_change, out_point}) {
            const int expected = linearFind(cel->events(), near, filter);
            RC_ASSERT(cel->find_ceh(near, filter).get_index() == expected);
            for (int seed = -1; seed <= cel->numEvents(); ++seed) {
                ce_handle h(cel, seed);
                cel->find_ceh_seeded(h, near, filter);
                RC_ASSERT(h.get_index() == expected);
            }
        }
    }
}

TEST(Search, HasAnAnswerForEveryTimeAndHandle)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    const Kt::Ptr<Cel> empty(new Cel(0, 0.04));
    // clang-format off
    struct Case { double t; int index; };
    const Case cases[] = {
        {std::nan(""), -1}, {2e81, -1}, {1e99, -1}, {HUGE_VAL, -1}, {-HUGE_VAL, -1},
        {-0.000002, -1}, {-0.0000009, 0}, {0, 0}, {6.0000009, 3}, {6.000002, -1}, {4.0000009, 2}, {3.9999991, 2}, {3.999998, 0},
    };
    // clang-format on
    for (const Case& c : cases)
        for (ce_handle h : {ce_handle(), ce_handle(cel, 0), ce_handle(cel, 3), ce_handle(cel, 99),
                            ce_handle(empty, 5), ce_handle(track("B0-1 B1-2"), 3)}) {
            cel->find_ceh_seeded(h, c.t, any_event);
            EXPECT_EQ(h.get_index(), c.index) << c.t;
            EXPECT_EQ(h.get_its_cel(), cel);
            ce_handle other = h;
            empty->find_ceh_seeded(other, c.t, any_event);
            EXPECT_EQ(other.get_index(), -1);
            EXPECT_EQ(other.get_its_cel(), empty);
        }
    ce_handle failed = cel->find_ceh(7, any_event); // bound in front of the track
    EXPECT_EQ((++failed).get_edit_time(), 0.0);
    ce_handle found;
    ce_handle(cel, 3).find_ceh(found, 1, out_point);
    EXPECT_EQ(found.get_index(), -1);
    ce_handle(cel, 3).find_ceh(found, 1, any_event);
    EXPECT_EQ(found, ce_handle(cel, 0));
}

TEST(Search, StepsToTheNextOfAKind)
{
    const Kt::Ptr<Cel> cel = track("A<0 A=1 A>4 .4-6");
    EXPECT_EQ(ce_handle(cel, 0).get_next_ceh(out_point).get_index(), 2);
    EXPECT_EQ(ce_handle(cel, 0).get_next_ceh(any_event).get_index(), 1);
    EXPECT_EQ(ce_handle(cel, 3).get_next_ceh(in_point).get_index(), 5);
    EXPECT_EQ(ce_handle(cel, 4).get_prev_ceh(in_point).get_index(), 3);
    EXPECT_EQ(ce_handle(cel, 0).get_prev_ceh(any_event).get_index(), -1);
    EXPECT_EQ(cel->get_end_ceh().get_index(), 4);
    const Kt::Ptr<Cel> empty(new Cel(0, 0.04));
    EXPECT_EQ(empty->get_start_ceh(), ce_handle());
    EXPECT_EQ(empty->get_end_ceh(), ce_handle());
}

} // namespace
} // namespace cel::test

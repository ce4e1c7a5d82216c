#include "cel/Cel.h"
#include "cel/inspect.h"
#include "tests/support/log_capture.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

TEST(Access, NamesTheOperationThatAnInvalidHandleReached)
{
    using OnHandle = void (*)(ce_handle&);
    using OnTrack = void (*)(Cel&, const ce_handle&);
    // clang-format off
    struct Case { const char* name; OnTrack onTrack; OnHandle onHandle; };
    const Case cases[] = {
        {"get_ce_info",        [](Cel& c, const ce_handle& h) { c.get_ce_info(h); },              [](ce_handle& h) { h.get_ce_info(); }},
        {"get_strip_cookie",   [](Cel& c, const ce_handle& h) { c.get_strip_cookie(h); },         [](ce_handle& h) { h.get_strip_cookie(); }},
        {"get_cookie_type",    [](Cel& c, const ce_handle& h) { c.get_cookie_type(h); },          [](ce_handle& h) { h.get_cookie_type(); }},
        {"get_strip_time",     [](Cel& c, const ce_handle& h) { c.get_strip_time(h, 0); },        [](ce_handle& h) { h.get_strip_time(0); }},
        {"get_strip_velocity", [](Cel& c, const ce_handle& h) { c.get_strip_velocity(h); },       [](ce_handle& h) { h.get_strip_velocity(); }},
        {"get_dmod_code",      [](Cel& c, const ce_handle& h) { c.get_dmod_code(h); },            [](ce_handle& h) { h.get_dmod_code(); }},
        {"get_edit_time",      [](Cel& c, const ce_handle& h) { c.get_edit_time(h); },            [](ce_handle& h) { h.get_edit_time(); }},
        {"isActive",           [](Cel& c, const ce_handle& h) { c.isActive(h, 0); },              nullptr},
        {"isActive",           [](Cel& c, const ce_handle& h) { c.isActiveInclusive(h, 0); },     nullptr}, // kept: shared
        {"get_strip_level",    [](Cel& c, const ce_handle& h) { c.get_strip_level(h, 0); },       [](ce_handle& h) { h.get_strip_level(0); }},
        {"on_time",            [](Cel& c, const ce_handle& h) { c.on_time(h, 0); },               [](ce_handle& h) { h.on_time(0); }},
        {"get_next_ceh",       [](Cel& c, const ce_handle& h) { c.get_next_ceh(h, any_event); },  [](ce_handle& h) { h.get_next_ceh(any_event); }},
        {"get_prev_ceh",       [](Cel& c, const ce_handle& h) { c.get_prev_ceh(h, any_event); },  [](ce_handle& h) { h.get_prev_ceh(any_event); }},
        {"set_edit_time",      [](Cel& c, const ce_handle& h) { c.set_edit_time(h, 9); },         [](ce_handle& h) { h.set_edit_time(9); }},
        {"audioRamp_DurationQFrames", [](Cel& c, const ce_handle& h) { c.audioRamp_DurationQFrames(h); }, [](ce_handle& h) { h.audioRamp_DurationQFrames(); }},
        {"audioRamp_DurationQFrames", [](Cel& c, const ce_handle& h) { c.set_audioRamp_DurationQFrames(h, 9); }, [](ce_handle& h) { h.set_audioRamp_DurationQFrames(9); }},
        {"audioRamp_CurveType", [](Cel& c, const ce_handle& h) { c.audioRamp_CurveType(h); },     [](ce_handle& h) { h.audioRamp_CurveType(); }},
        {"audioRamp_CurveType", [](Cel& c, const ce_handle& h) { c.set_audioRamp_CurveType(h, 1); }, [](ce_handle& h) { h.set_audioRamp_CurveType(1); }},
        {"set_strip_time",     [](Cel& c, const ce_handle& h) { c.set_strip_time(h, 9); },        [](ce_handle& h) { h.set_strip_time(9); }},
        {"set_strip_cookie",   [](Cel& c, const ce_handle& h) { c.set_strip_cookie(h, Cookie()); }, [](ce_handle& h) { h.set_strip_cookie(Cookie()); }},
        {"set_start_strip_time", [](Cel& c, const ce_handle& h) { c.set_start_strip_time(h, 9); }, [](ce_handle& h) { h.set_start_strip_time(9); }},
        {"set_strip_velocity", [](Cel& c, const ce_handle& h) { c.set_strip_velocity(h, 9); },    [](ce_handle& h) { h.set_strip_velocity(9); }},
        {"set_dmod_code",      [](Cel& c, const ce_handle& h) { c.set_dmod_code(h, 9); },         [](ce_handle& h) { h.set_dmod_code(9); }},
        {"set_strip_level",    [](Cel& c, const ce_handle& h) { c.set_strip_level(h, 9); },       [](ce_handle& h) { h.set_strip_level(9); }},
    };
    // clang-format on
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    const Kt::Ptr<Cel> other = track("B0-4 .4-6");
    const Kt::Ptr<Cel> renewed = track("C0-4 .4-6");
    const ce_handle stale(renewed, 1);
    *renewed = *cel;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string message = std::string("Cel::") + c.name + ": invalid ce_handle";
        for (ce_handle h :
             {ce_handle(), stale, ce_handle(cel, -1), ce_handle(cel, 4), ce_handle(cel, INT_MAX),
              ce_handle(cel, INT_MIN), ce_handle(other, 0)}) {
            EXPECT_EQ(thrownBy([&] { c.onTrack(*cel, h); }), message) << h.get_index();
            if (c.onHandle && !h.valid()) {
                EXPECT_EQ(thrownBy([&] { c.onHandle(h); }), message) << h.get_index();
            }
        }
        EXPECT_EQ(describe(*cel), "A0-4 .4-6");
        EXPECT_EQ(cel->is_dirty(), 0);
    }
    for (const int index : {-1, 4, INT_MAX, INT_MIN}) {
        EXPECT_EQ(thrownBy([&] { cel->get_event(index); }), "Cel::get_event: index out of range");
        EXPECT_EQ(cel->getChanEventPtr(index), nullptr);
    }
    EXPECT_EQ(ce_handle().time_in_range(1), 0);
    EXPECT_EQ(ce_handle().time_in_range_exclusive(1), 0);
    EXPECT_EQ(ce_handle(cel, 99).time_in_range(1), 1); // the position does not matter
}

TEST(Access, FollowsTheStripAndLevelLinesOfASection)
{
    // in 0, change 1, out 2, in 3, out 4; the second one stands still
    const Kt::Ptr<Cel> cel = track("A<2@10*2:0 A=3@12*2:9 A>6@18*2:1 B6-8@5*0:0.5>1");
    // clang-format off
    struct Case { int event; double t, strip; float level; };
    const Case cases[] = {
        {0, 2e81, 10, 0},     {1, 2e81, 12, 9},    {2, 2e81, 18, 1},
        {0, 2, 10, 0},        {0, 3, 12, 0.25F},   {0, 6, 18, 1},   {0, 6.0000005, 18.000001, 1},
        {1, 3, 12, 9},        {1, 4, 14, 0.5F},    {2, 5, 16, 0.75F}, {2, 2, 10, 0},
        {0, 1.9, 2e81, 0},    {0, 6.1, 2e81, 0},   {1, 7, 2e81, 0},   {0, NAN, 2e81, 0},
        {2, 6, 18, 1},        {3, 6, 5, 0.5F},     {3, 7, 5, 0.75F},  {4, 6.5, 5, 0.625F},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "event " << c.event << " at " << c.t);
        const ce_handle h(cel, c.event);
        EXPECT_DOUBLE_EQ(h.get_strip_time(c.t), c.strip);
        EXPECT_NEAR(h.get_strip_level(c.t), c.level, 2e-7);
    }
    EXPECT_EQ(track("A0-0.0000005:0.25>1")->get_start_ceh().get_strip_level(0.0000012), 0.25F);
    EXPECT_EQ(track("A0-0.0000018:0.25>1")->get_start_ceh().get_strip_level(0.0000018), 1.0F);
    EXPECT_EQ(track("A0-4@3*?")->get_start_ceh().get_strip_time(1), 4.0); // unset speed counts as 1
    EXPECT_EQ(track("A0-4@?")->get_start_ceh().get_strip_time(1), 2e81);
    const Kt::Ptr<Cel> endless = track("A0-3e12");
    EXPECT_EQ(thrownBy([&] { endless->get_start_ceh().get_strip_level(1); }),
              "Cel::get_strip_level: edit_times out of range");
}

TEST(Access, AsksWhetherATimeLiesOnSectionOrTrack)
{
    const Kt::Ptr<Cel> cel = track("A2-6 .6-8");
    // clang-format off
    struct Case { double t; int first, second, inTrack, exclusive, onFirst; };
    const Case cases[] = {
        {1.9, 0, 0, 0, 0, 0}, {1.9999995, 1, 0, 1, 1, 1}, {2, 1, 0, 1, 1, 1}, {6, 1, 1, 1, 1, 0},
        {6.5, 0, 1, 1, 1, 0}, {7.9999995, 0, 1, 1, 0, 0}, {8, 0, 1, 1, 0, 0}, {8.0000005, 0, 1, 1, 0, 0}, {8.1, 0, 0, 0, 0, 0},
        {NAN, 0, 0, 0, 0, 0}, {2e81, 0, 0, 0, 0, 0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.t);
        for (const int event : {0, 1}) {
            EXPECT_EQ(cel->isActive(ce_handle(cel, event), c.t), c.first);
            EXPECT_EQ(cel->isActiveInclusive(ce_handle(cel, event + 2), c.t), c.second);
        }
        EXPECT_EQ(cel->time_in_range(c.t), c.inTrack);
        EXPECT_EQ(cel->time_in_range_exclusive(c.t), c.exclusive);
        EXPECT_EQ(cel->on_time(ce_handle(cel, 0), c.t), c.onFirst);
    }
    const Kt::Ptr<Cel> empty(new Cel(0, 0.04));
    EXPECT_EQ(empty->time_in_range(0) + empty->time_in_range_exclusive(0), 0);
    const Kt::Ptr<Cel> open = track("A<0");
    EXPECT_EQ(thrownBy([&] { open->isActive(open->get_start_ceh(), 0); }),
              "Cel::get_edit_time: invalid ce_handle");
}

TEST(Access, MeasuresTheTrack)
{
    const NumRange<double, Ordered> none = Editable::invalidRange();
    // clang-format off
    struct Case { const char* track; double start, end; NumRange<double, Ordered> all, significant; double firstReal, lastReal; };
    const Case cases[] = {
        {"",                  1e12, -1e12, none,   none,   1e12, -1e12},
        {".1-4",              1,    4,     {1, 4}, none,   1e12, -1e12},
        {"A1-4",              1,    4,     {1, 4}, {1, 4}, 1, 4},
        {".0-1 A1-4 .4-5 B5-7 .7-9", 0, 9, {0, 9}, {1, 7}, 1, 7},
        {",0-1 a1-4 $4-5",    0,    5,     {0, 5}, {1, 5}, 1, 5},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.track);
        const Kt::Ptr<Cel> cel = track(c.track);
        EXPECT_EQ(cel->get_start_time(), c.start);
        EXPECT_EQ(cel->get_end_time(), c.end);
        for (const bool flag : {false, true}) {
            EXPECT_EQ(cel->getExtents(Editable::kAllEvents, flag), c.all);
            EXPECT_EQ(cel->getExtents(Editable::kSignificant, flag), c.significant);
        }
        EXPECT_EQ(cel->get_significant_start_time(), c.firstReal);
        EXPECT_EQ(cel->get_significant_end_time(), c.lastReal);
    }
}

TEST(Checks, SeeSectionsThatRunBackAndHolesBetweenThem)
{
    // clang-format off
    struct Case { const char* track; bool meet; };
    const Case cases[] = {
        {"", true}, {"A<0", true}, {"A0-4 .4-6", true}, {"A0-4 B4-4", true}, {"A4-3 B3-5", false},
        {"A0-4 B5-6", false}, {"A0-4 B4.0000009-6", true}, {"A0-4 B4.000002-6", false}, {"A4-3.9999991", true},
        {"A0-4 B3-6", true}, // kept: an overlap passes
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(sectionsMeet(*track(c.track)), c.meet) << c.track;
}

TEST(Checks, ReportTheFirstSectionOfNoLengthThatPlays)
{
    // clang-format off
    struct Case { const char* track; const char* message; };
    const Case cases[] = {
        {"A0-4 .4-4 B4-6", ""},
        {"A0-4 B4-4.000002", ""},
        {"", ""},
        {"A0-4 B<4", ""},
        {"A0-4 B4-4.0000005 C4-4 .4-6",
         "Warning: While chequerboarding, found non-black zero-length UTR at 4.000000 in a cel with 8 events, duration 6.000000\n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        LogCapture log;
        EXPECT_EQ(track(c.track)->checkForZeroUtrs(), *c.message != '\0') << c.track;
        EXPECT_EQ(log.text(LogChannel::both), c.message);
    }
    EXPECT_EQ(track("A4-1")->verify(), 0);
    LogCapture log;
    Cel::reportError("50 % of it");
    EXPECT_EQ(log.text(LogChannel::stacktrace), "50 % of it");
}

} // namespace
} // namespace cel::test

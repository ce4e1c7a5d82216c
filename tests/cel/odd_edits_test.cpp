#include "cel/Cel.h"
#include "tests/support/log_capture.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gtest/gtest.h>

#include <cmath>

/// What edits make of arguments that nobody means, of tracks that they are their own source for,
/// and of the cases that look wrong but that callers have come to rely on.
namespace cel::test {
namespace {

TEST(OddEdits, AreRefusedOrTakenAtTheirWord)
{
    // clang-format off
    struct Case { const char* name; const char* track; void (*edit)(Cel&); const char* said; };
    static const Case cases[] = {
        // Beyond every time that a track can hold, the last event is refused and stays uncounted.
        {"extract without end",  "A0-2", [](Cel& c) { const auto t = c.extract(0, HUGE_VAL, 0); ASSERT_EQ(t->numEvents(), 2); EXPECT_EQ(t->get_end_time(), HUGE_VAL); EXPECT_EQ(counters(*t), "1 material, 0 black, open 0"); },
             "Cel::addEvent() : (5) Fixing invalid out_point strip time\n" "Cel::addEvent() : unspecified edit time" "Cel::extract: failed to add last event\n"},
        {"extract up to the end", "A0-2", [](Cel& c) { EXPECT_EQ(describe(*c.extract(-HUGE_VAL, HUGE_VAL, Cel::EXTRACT_CLAMP_END)), "A0-2"); }, ""},
        {"extract from no time", "A0-2", [](Cel& c) { EXPECT_EQ(c.extract(NAN, 1, 0)->numEvents(), 0); }, ""},
        {"weld far away",        "A0-2", [](Cel& c) { c.weld(&*track("B0-1"), HUGE_VAL); EXPECT_EQ(counters(c), "2 material, 0 black, open -1"); c.removeEventPair(2, false); },
             "Cel::addEvent() : invalid end edit time" "Cel::addEvent() : unspecified edit time"},
        {"weld at no time",      "A0-2", [](Cel& c) { c.weld(&*track("B0-1"), NAN); }, "Cel::join: offset must be greater than zero"},
        {"trim without end",     "A0-2", [](Cel& c) { ce_handle h = c.get_start_ceh(); EXPECT_EQ(c.trim(h, HUGE_VAL, trim_end), 0.0); EXPECT_EQ(c.trimRaw(h, NAN, trim_end), 0.0); }, ""},
        {"remove without end",   "A0-2 B2-4", [](Cel& c) { c.remove({1, HUGE_VAL}); c.remove({-HUGE_VAL, 1}); c.remove({1, NAN}); }, ""},
        {"cut what is too long", "A<-1000000000000 A>1", [](Cel& c) { c.makeCutAt(0); }, "Cel::get_strip_level: edit_times out of range"},
        {"remove from it",       "A<-1000000000000 A>1", [](Cel& c) { c.remove({-1, 0}); }, "Cel::get_strip_level: edit_times out of range"},
        {"insert into it",       "A<-1000000000000 A>1", [](Cel& c) { c.insert(nullptr, {0, 1}, 0, {}); }, "Cel::get_strip_level: edit_times out of range"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        const Kt::Ptr<Cel> edited = track(c.track);
        const std::string before = describe(*edited);
        const std::string thrown = thrownBy([&] { c.edit(*edited); });
        EXPECT_EQ(log.text() + thrown, c.said);
        EXPECT_EQ(describe(*edited), before);
    }
}

TEST(OddEdits, FindNoRoomWhereEventsStandAtNoTime)
{
    // An amount that the times of other events make infinite moves nothing.
    const Kt::Ptr<Cel> ends = track("A<0 A>4^2 B<5 B>6^2");
    ends->getChanEventPtr(2)->edit_time(HUGE_VAL);
    EXPECT_EQ(ends->do_trim_test(1.0), 0.0);
    EXPECT_EQ(ends->do_trim(1.0), 0.0);
    EXPECT_EQ(ends->get_event(1).edit_time(), 4.0);
    const Kt::Ptr<Cel> backwards = track("A<0 A>4");
    backwards->getChanEventPtr(1)->edit_time(-HUGE_VAL);
    ce_handle h = backwards->get_start_ceh();
    EXPECT_EQ(backwards->trim(h, -1.0, trim_end), 0.0);
    EXPECT_EQ(backwards->get_event(0).edit_time(), 0.0);
}

// Callers depend on each of these; all of them follow from the steps that an edit is made of.
TEST(OddEdits, StayAsTheyAlwaysWere)
{
    const auto shot = [](const char* notation) { return track(notation); };
    // clang-format off
    struct Case { const char* name; const char* track; void (*edit)(Cel&, const Cel*); const char* expected; };
    static const Case cases[] = {
        // No cut is possible in a hole, and without one the stretch goes on to the end.
        {"remove up to a hole",          "A0-2 B3-5 C5-7", [](Cel& c, const Cel*) { c.remove({1, 2.5}); }, "A0-1"},
        {"replace up to a hole",         "A0-2 B3-5 C5-7", [](Cel& c, const Cel* s) { c.replace(s, {0, 1.6}, 1, {}, Editable::kReplacePlain); }, "A0-1 X1-2.6"},
        // Once all its events have gone, nothing says any more that the track is one of sound.
        {"replace all of a track of sound", "a0-4", [](Cel& c, const Cel*) { c.replace(nullptr, {0, 4}, 0, {}, Editable::kReplacePlain); }, ".0-4"},
        {"replace a part of it",         "a0-4", [](Cel& c, const Cel*) { c.replace(nullptr, {0, 2}, 2, {}, Editable::kReplacePlain); }, "a0-2 ,2-4"},
        // What goes is counted in pairs of events, whatever they are; a level change in the stretch
        // leaves the out point behind that the count ends before.
        {"remove a level change",        "A0-2 B<2 B=3 B>4@2 C4-6", [](Cel& c, const Cel*) { c.remove({2, 4}); }, "A0-2 B>3@2 C3-5"},
        {"remove two level changes",     "A0-2 B<2 B=3 B=3.5 B>4@2 C4-6", [](Cel& c, const Cel*) { c.remove({2, 4}); }, "A0-2 C2-4"},
        {"remove behind a level change", "A<0 A=1 A>2@2 B2-4 C4-6", [](Cel& c, const Cel*) { c.remove({2, 4}); }, "A<0 A=1 A>2@2 B2-4 C4-6"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Kt::Ptr<Cel> edited = track(c.track);
        c.edit(*edited, shot("X0-3").get());
        EXPECT_EQ(describe(*edited), c.expected);
    }
}

TEST(OddEdits, MayReadTheTrackThatTheyChange)
{
    // clang-format off
    struct Case { const char* name; const char* expected; Kt::Ptr<Cel> (*edit)(const Kt::Ptr<Cel>&); };
    static const Case cases[] = {
        {"insert",   "A0-1 A1-2@1 B2-3 A3-4@1 B4-6", [](const Kt::Ptr<Cel>& c) { c->insert(c.get(), {1, 3}, 1, {}); return c; }},
        {"replace",  "A0-1 A1-2@1 B2-3 B3-4@1",      [](const Kt::Ptr<Cel>& c) { c->replace(c.get(), {1, 3}, 1, {}, Editable::kReplacePlain); return c; }},
        {"overlay",  "null",                         [](const Kt::Ptr<Cel>& c) { return c->overlay(c, true); }},
        {"append",   "A0-2 B2-4 A0-2 B2-4",          [](const Kt::Ptr<Cel>& c) { return c->appendCel(c); }},
        {"weld",     "A0-2 B2-4 A4-6 B6-8",          [](const Kt::Ptr<Cel>& c) { c->weld(c.get(), 0); return c; }},
        {"assign",   "A0-2 B2-4",                    [](const Kt::Ptr<Cel>& c) { const Cel& same = *c; *c = same; return c; }},
        {"add its own event", "A0-2 B2-4 A<0",       [](const Kt::Ptr<Cel>& c) { c->addEvent(*c->getChanEventPtr(0)); return c; }},
    };
    // clang-format on
    for (const bool full : {false, true})
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            const LogCapture log;
            const Kt::Ptr<Cel> edited = track("A0-2 B2-4");
            // As full as can be, so that whatever comes in moves all events.
            while (full && edited->appendEventPair(material('C'), 0, 1, -1).valid() &&
                   edited->numEvents() < 64) {
            }
            if (full)
                edited->removeEventPairs(4, 30, false);
            const Kt::Ptr<Cel> result = c.edit(edited);
            EXPECT_EQ(result ? describe(*result) : "null", c.expected);
        }
}

} // namespace
} // namespace cel::test

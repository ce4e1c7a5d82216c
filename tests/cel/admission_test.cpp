#include "cel/Cel.h"
#include "cel/inspect.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace cel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A track to which these events were offered one by one, and the answers ("1" or "0" each).
struct Offered
{
    Kt::Ptr<Cel> track{new Cel(0, 0.04)};
    std::string answers;
};

Offered offer(std::string_view notation)
{
    Offered result;
    for (const ChannelEvent& event : events(notation))
        result.answers += result.track->addEvent(event) ? '1' : '0';
    return result;
}

TEST(Admission, LaysASectionOnOneLine)
{
    // clang-format off
    struct Case { const char* name; const char* given; const char* expected; };
    const Case cases[] = {
        {"as given",                   "A<1@10*2 A>5@18*2",             "A1-5@10*2"},
        {"the out point's speed rules","A<1@10*2 A>5@18",               "A1-5@10"},
        {"both unset",                 "A<0@10*? A>4@12*?",             "A0-4@10*0.5"},
        {"no strip, no speed",         "A<0@10*? A>4@?*?",              "A0-4@10"},
        {"no length",                  "A<1@10*? A>1.0000004@99*?",     "A1-1@10"},
        {"nearly 1",                   "A<0@10*3 A>4@14.0000036*?",     "A0-4@10"},
        {"nearly 0",                   "A<0@10*3 A>4@10.0000036*?",     "A0-4@10*0"},
        {"nearly -1",                  "A<0@10*3 A>4@5.9999964*?",      "A0-4@10*-1"},
        {"not so nearly 1",            "A<0@10*3 A>4@14.000006*?",      "A0-4@10*1.000002"},
        {"a level a little below 0",   "A<0@10:-0.0000005 A>4@14",      "A0-4@10:0>1"},
        {"level changes too",          "A<0@10 A=1@0*? A=2@0*7 A>4@18*2", "A<0@10*2 A=1@12*2 A=2@14*2 A>4@18*2"},
        {"out strip off the line",     "A<1@10*2 A>5@77*2",             "A1-5@10*2"},
        {"a speed that is no number",  "A<0@10*? A>4@12*nan",           "A0-4@10*0.5"},
        {"an endless speed",           "A<0@10*inf A>4@14*-inf",        "A0-4@10"},
        {"other sections stay",        "A0-4@5 B<4@10*2 B>6@0*3",       "A0-4@5 B4-6@10*3"},
        {"a strip of 1e99, repaired",  "A<0@10*2 A>4@1e99*?",           "A0-4@10*2"},
        {"repaired, then laid anew",   "A<0@10*2 A>4@1e99*1",           "A0-4@10"},
        {"limits of time",             "A<-1e12@-1e12 A>1e12@1e12",     "A-1e+12-1e+12@-1e+12"},
        {"a microsecond early",        "A<1@0 A>0.9999996@0",           "A1-1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        const Offered offered = offer(c.given);
        EXPECT_EQ(offered.answers.find('0'), std::string::npos);
        EXPECT_EQ(describe(*offered.track), c.expected);
        EXPECT_EQ(inspect(*offered.track).pendingInIndex, -1);
        EXPECT_EQ(log.text(), std::string(c.given).find("1e99") == std::string::npos
                                  ? ""
                                  : "Cel::addEvent() : (5) Fixing invalid out_point strip time\n");
    }
}

TEST(Admission, RefusesAndKeepsTheEventUncounted)
{
    // What is left behind is part of the rule: the refused event, and which section is open then.
    // clang-format off
    struct Case { const char* given; const char* answers; const char* left; int open; const char* message; };
    const Case cases[] = {
        {"A<0 B<1",          "10",  "A<0 B<1",          0, "Cel::addEvent() : unmatched events"},
        {"A<0@?",            "0",   "A<0@?",           -1, "Cel::addEvent() : invalid end strip time"},
        {"A<0@1e99",         "0",   "A<0@1e+99",       -1, "Cel::addEvent() : invalid end strip time"},
        {"A<0@-1.1e12",      "0",   "A<0@-1.1e+12",    -1, "Cel::addEvent() : invalid end strip time"},
        {"A<0@nan*?",        "0",   "A<0@nan*?",       -1, "Cel::addEvent() : invalid end strip time"},
        {"A<?",              "0",   "A<?",             -1, "Cel::addEvent() : invalid end edit time"},
        {"A<nan",            "0",   "A<nan",           -1, "Cel::addEvent() : invalid end edit time"},
        {"A<1.1e12",         "0",   "A<1.1e+12",       -1, "Cel::addEvent() : invalid end edit time"},
        {"A<0:-0.1*?",       "0",   "A<0:-0.1",         0, "Cel::addEvent() : invalid level"},
        {"A<0:-0.000002",    "0",   "A<0:-0.000002",    0, "Cel::addEvent() : invalid level"},
        {"A<0:nan",          "0",   "A<0:nan",          0, "Cel::addEvent() : invalid level"},
        {"A0-4 B<3",         "110", "A0-4 B<3",         2, "Cel::addEvent() : invalid event time"},
        {"A>4@1e99",         "0",   "A>4@1e+99",       -1, "Cel::addEvent() : invalid out_point strip time"},
        {"A<0 A>?",          "10",  "A0-?@0>0",          0, "Cel::addEvent() : unspecified edit time"},
        {"A<0 A>1e99",       "10",  "A0-1e+99@0>0",      0, "Cel::addEvent() : unspecified edit time"},
        {"A>4",              "0",   "A>4",             -1, "Cel::addEvent() : invalid in point"},
        {"A=4",              "0",   "A=4",             -1, "Cel::addEvent() : invalid in point"},
        {"A<0*3 A>4*2:-1",   "10",  "A0-4*2:1>-1",     -1, "Cel::addEvent() : invalid level"},
        {"A<4 A>3*2",        "10",  "A4-3*2",          -1, "Cel::addEvent() : invalid event time"},
        {"A<0 A=1:-1",       "10",  "A<0 A=1:-1",       0, "Cel::addEvent() : invalid level"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.given);
        LogCapture log;
        const Offered offered = offer(c.given);
        const Cel& cel = *offered.track;
        EXPECT_EQ(offered.answers, c.answers);
        EXPECT_EQ(describe(cel), c.left);
        EXPECT_EQ(inspect(cel).pendingInIndex, c.open);
        EXPECT_EQ(inspect(cel).eventCount,
                  std::count(c.answers, c.answers + std::strlen(c.answers), '1'));
        EXPECT_EQ(log.text(LogChannel::stacktrace), c.message);
        EXPECT_EQ(log.text(), c.message);
    }
}

TEST(Admission, CannotRepairAStripTimeWithoutASpeed)
{
    LogCapture log;
    const Kt::Ptr<Cel> cel = decode(hexFile("layer4_r3_odd"), 4).track; // open, its speed unset
    EXPECT_EQ(cel->addEvent(events("A>9@1e99").front()), 0);
    EXPECT_EQ(log.text(), "Cel::addEvent() : invalid out_point strip time");
    EXPECT_EQ(inspect(*cel).pendingInIndex, 4);
}

TEST(Admission, LeavesCountersAndSavedStateAloneWhenItRefuses)
{
    LogCapture log;
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    EXPECT_EQ(cel->addEvent(events("B>7").front()), 0);
    EXPECT_EQ(cel->addEvent(events("B<6.5").front()),
              0); // the refused event counts as the previous
    EXPECT_EQ(counters(*cel), "2 material, 2 black, open 5");
    EXPECT_EQ(cel->is_dirty(), 0);
    EXPECT_EQ(cel->addEvent(events("B>8").front()), 1); // and may still open the section
    EXPECT_EQ(counters(*cel), "3 material, 2 black, open -1");
    EXPECT_EQ(cel->is_dirty(), 1);
}

TEST(Admission, PassesOtherKindsByTimeAndLevelAlone)
{
    LogCapture log;
    EXPECT_EQ(offer("A|0@1e99 A|1").answers, "11");
    EXPECT_EQ(offer("A|2 A|1").answers, "10");
    ChannelEvent both = events("A<3@7*2").front(); // opens a section and closes it at once
    both.info(static_cast<ce_info>(in_point | out_point));
    const Kt::Ptr<Cel> cel(new Cel(0, 0.04));
    EXPECT_EQ(cel->addEvent(both), 1);
    EXPECT_EQ(inspect(*cel).pendingInIndex, -1);
}

TEST(Admission, CountsMaterialAndBlackByTheCookie)
{
    // clang-format off
    struct Case { Cookie cookie; int material, black; };
    const Case cases[] = {
        {{kVideoCookie, 1, 0, 646}, 1, 0}, {video_black, 0, 1}, {audio_black, 0, 1},
        {{kVideoCookie, Cookie::kInput, 0, 647}, 1, 0}, {{kEffectCookie, Cookie::kEffectGraph, 0, 647}, 1, 0},
        {{kEffectCookie, Cookie::kEffect, 0, 647}, 1, 0}, {{kVideoCookie, Cookie::kMix50, 0, 647}, 1, 0},
        {{kVideoCookie, 99, 0, 647}, 0, 0}, {Cookie(), 1, 0},
    };
    // clang-format on
    for (const Case& c : cases) {
        const Kt::Ptr<Cel> cel(new Cel(0, 0.04));
        cel->addEvent({0, 0, c.cookie, 1.0F, in_point, {}, 0});
        EXPECT_EQ(inspect(*cel).eventCount, c.material) << c.cookie.asString(true).c_str();
        EXPECT_EQ(inspect(*cel).blackEventCount, c.black) << c.cookie.asString(true).c_str();
        cel->addEvent({1, 1, c.cookie, 1.0F, out_point, {}, 0});
        cel->get_start_ceh().set_strip_cookie(video_black);
        EXPECT_EQ(inspect(*cel).eventCount, c.material) << c.cookie.asString(true).c_str();
        EXPECT_EQ(inspect(*cel).blackEventCount, c.black + 1) << c.cookie.asString(true).c_str();
    }
}

TEST(Admission, TakesAnEventOfItsOwnWhileTheStoreGrows)
{
    const Kt::Ptr<Cel> cel = track("A0-4@7 B4-6@9");
    for (int i = 0; i < 200; ++i) {
        ChannelEvent& own = *cel->getChanEventPtr(i % 2 == 0 ? 2 : 3);
        own.edit_time(6.0 + i);
        ASSERT_EQ(cel->addEvent(own), 1) << i;
        EXPECT_EQ(cel->events().back().strip_name(), material('B'));
    }
}

TEST(Pairs, AreInsertedInFrontOfAnEvent)
{
    // clang-format off
    struct Case { const char* name; const char* track; int index; double strip, duration, start; const char* expected; int handle; };
    const Case cases[] = {
        {"into nothing",           "",              0,  3, 2,  5,  "N5-7@3", 0},
        {"into nothing, no start", "",              0,  3, 2, -1,  "N0-2@3", 0},
        {"at the end",             "A0-4 .4-6",     4,  3, 2, 99,  "A0-4 .4-6 N6-8@3", 4},
        {"between two",            "A0-4 .4-6",     2,  3, 2, 99,  "A0-4 N4-6@3 .6-8", 2},
        {"at the front",           "A0-4 .4-6",     0,  3, 2, 99,  "N0-2@3 A2-6 .6-8", 0},
        {"in front of a late one", "A5-9",          0,  3, 2, 99,  "N0-2@3 A7-11", 0}, // kept: at 0
        {"behind the last of one", "A5-9",          2,  3, 2, 99,  "A5-9 N9-11@3", 2},
        {"without length",         "A0-4 .4-6",     2,  3, 0, 99,  "A0-4 N4-4@3 .4-6", 2},
        {"odd",                    "A0-4 .4-6",     1,  3, 2, 99,  "A0-4 .4-6", -1},
        {"negative",               "A0-4 .4-6",    -2,  3, 2, 99,  "A0-4 .4-6", -1},
        {"past the end",           "A0-4 .4-6",     6,  3, 2, 99,  "A0-4 .4-6", -1},
        {"an endless length",      "A0-4 .4-6",     2,  3, HUGE_VAL, 99, "A0-4 .4-6", -1},
        {"a strip of no number",   "A0-4 .4-6",     4,  kNaN, 2, 99, "A0-4 .4-6", -1},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Kt::Ptr<Cel> cel = track(c.track);
        const ce_handle made =
            cel->insertEventPair(c.index, material('N'), c.strip, c.duration, c.start);
        EXPECT_EQ(describe(*cel), c.expected);
        EXPECT_EQ(made.get_index(), c.handle);
        EXPECT_EQ(made.valid(), c.handle >= 0);
        EXPECT_EQ(cel->is_dirty(), c.handle >= 0);
        if (made.valid()) {
            EXPECT_EQ(made.getEffectGraph().getMagicType(), 1);
            EXPECT_NE(made.getEffectGraph(), made.next().getEffectGraph());
        }
        EXPECT_EQ(counters(*cel), counters(*track(c.expected)));
    }
}

TEST(Pairs, ThatAreRefusedAtTheEndStayInTheStore)
{
    LogCapture log;
    const Kt::Ptr<Cel> cel = track("A0-4");
    EXPECT_FALSE(cel->appendEventPair(material('N'), 0, -1, -1).valid());
    EXPECT_EQ(describe(*cel), "A0-4 N4-3");
    EXPECT_EQ(log.text(), "Cel::addEvent() : invalid event time");
    const Kt::Ptr<Cel> other = track("A0-4");
    EXPECT_FALSE(other->appendEventPair(material('N'), 2e12, 1, -1).valid());
    EXPECT_EQ(other->numEvents(), 4); // the out point is added too: the number stays even
    const Kt::Ptr<Cel> good = track("A0-4 .4-6");
    EXPECT_EQ(good->appendEventPair(material('N'), 7, 1, -1).get_index(), 4);
    EXPECT_TRUE(wellFormed(*good));
}

/// A track that writes down for which sections it was asked to destroy an object.
class Recorder final : public Cel
{
public:
    Recorder()
        : Cel(0, 0.04)
    {
    }
    std::string destroyed;

protected:
    void destroySegmentObject(const IdStamp& id) override
    {
        destroyed += std::to_string(id.word(0)) + " of " + std::to_string(numEvents()) + ", ";
    }
};

TEST(Pairs, AreRemovedAndTheGapClosedOnlyWhenAsked)
{
    constexpr const char* kTrack = "A0-2#1 .2-5#2 B5-6#3 C6-10#4";
    // clang-format off
    struct Case { const char* name; int index, pairs; bool shuffle; const char* expected; int removed; const char* destroyed; };
    const Case cases[] = {
        {"one, closed",    2,  1, true,  "A0-2#1 B2-3#3 C3-7#4",       1, "2 of 6, "},
        {"one, left open", 2,  1, false, "A0-2#1 B5-6#3 C6-10#4",      1, "2 of 6, "},
        {"two, closed",    2,  2, true,  "A0-2#1 C2-6#4",              2, "2 of 4, 3 of 4, "},
        {"the first",      0,  1, true,  ".0-3#2 B3-4#3 C4-8#4",       1, "1 of 6, "},
        {"the last",       6,  1, true,  "A0-2#1 .2-5#2 B5-6#3",       1, "4 of 6, "},
        {"more than there",4, 99, true,  "A0-2#1 .2-5#2",              2, "3 of 4, 4 of 4, "},
        {"all",            0,  4, true,  "",                           4, "1 of 0, 2 of 0, 3 of 0, 4 of 0, "},
        {"no end of them", 4, INT32_MAX, false, "A0-2#1 .2-5#2",       2, "3 of 4, 4 of 4, "},
        {"odd",            1,  1, true,  kTrack, 0, ""},
        {"negative",      -2,  1, true,  kTrack, 0, ""},
        {"past the end",   8,  1, true,  kTrack, 0, ""},
        {"none",           2,  0, true,  kTrack, 0, ""},
        {"less than none", 2, -1, true,  kTrack, 0, ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Kt::Ptr<Recorder> cel(new Recorder);
        fill(*cel, kTrack);
        EXPECT_EQ(cel->removeEventPairs(c.index, c.pairs, c.shuffle), c.removed);
        EXPECT_EQ(describe(*cel), c.expected);
        EXPECT_EQ(cel->destroyed, c.destroyed);
        EXPECT_EQ(cel->is_dirty(), c.removed > 0);
        EXPECT_EQ(counters(*cel), counters(*track(c.expected)));
    }
    const Kt::Ptr<Cel> holes = track("A0-2 B4-6 C9-12");
    EXPECT_EQ(holes->removeEventPair(2, true), 1);
    EXPECT_EQ(describe(*holes), "A0-2 C7-10"); // the holes elsewhere stay
}

TEST(Pairs, CarryTheOpenSectionAlong)
{
    // clang-format off
    struct Case { const char* name; void (*edit)(Cel&); int open; };
    const Case cases[] = {
        {"inserted in front",  [](Cel& c) { c.insertEventPair(2, material('N'), 0, 1, 0); }, 6},
        {"removed in front",   [](Cel& c) { c.removeEventPair(2, false); }, 2},
        {"removed behind",     [](Cel& c) { c.removeEventPair(6, false); }, 4},
        {"removed itself",     [](Cel& c) { c.removeEventPair(4, false); }, -1},
        {"all removed",        [](Cel& c) { c.removeEventPairs(0, 9, true); }, -1},
        {"cleared",            [](Cel& c) { c.clear(); }, -1},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
        for (const ChannelEvent& event : events("B<6 B<8 C<9 C<10"))
            cel->addEvent(event);
        ASSERT_EQ(inspect(*cel).pendingInIndex, 4);
        c.edit(*cel);
        EXPECT_EQ(inspect(*cel).pendingInIndex, c.open);
    }
}

} // namespace
} // namespace cel::test

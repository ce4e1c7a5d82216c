#include "cel/Cel.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"

#include <climits>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

using Call = void (*)(ce_handle&);

ce_handle staleHandle()
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    ce_handle h(cel, 1);
    cel->clear();
    fill(*cel, "A0-4 .4-6");
    return h;
}

ce_handle elsewhere()
{
    return {track("A0-4 .4-6"), 1};
}

TEST(Handle, FailsLoudlyOnATrackItWasNotMadeFor)
{
    // clang-format off
    struct Case { Call call; std::string message; };
    const Case cases[] = {
        {[](ce_handle& h) { ++h; },                   "ce_handle::operator++: wrong cel id"},
        {[](ce_handle& h) { --h; },                   "ce_handle::operator--: wrong cel id"},
        {[](ce_handle& h) { h + 1; },                 "ce_handle::operator+: wrong cel id"},
        {[](ce_handle& h) { h - 1; },                 "ce_handle::operator-: wrong cel id"},
        {[](ce_handle& h) { h.increment(in_point); }, "ce_handle::increment: wrong cel id"},
        {[](ce_handle& h) { h.decrement(in_point); }, "ce_handle::operator--: wrong cel id"}, // kept
        {[](ce_handle& h) { h.next(); },              "ce_handle::next: wrong cel id"},
        {[](ce_handle& h) { h.prev(); },              "ce_handle::prev: wrong cel id"},
        {[](ce_handle& h) { h.get_start_ceh(); },     "ce_handle::get_start_ceh: wrong cel id"},
        {[](ce_handle& h) { h.get_end_ceh(); },       "ce_handle::get_end_ceh: wrong cel id"},
        {[](ce_handle& h) { h.is_in_point(); },       "ce_handle::is_in_point: wrong cel id"},
        {[](ce_handle& h) { h.is_out_point(); },      "ce_handle::is_out_point: wrong cel id"},
        {[](ce_handle& h) { h.is_level_change(); },   "ce_handle::is_level_change: wrong cel id"},
        {[](ce_handle& h) { h.matching_in_ceh(); },   "ce_handle::matching_in_ceh: wrong cel id"},
        {[](ce_handle& h) { h.matching_out_ceh(); },  "ce_handle::matching_out_ceh: wrong cel id"},
        {[](ce_handle& h) { h.find_next_trim(); },    "ce_handle::next: wrong cel id"},
        {[](ce_handle& h) { static_cast<void>(h < elsewhere()); },  "ce_handle::operator<: have to compare like ce_handles"},
        {[](ce_handle& h) { static_cast<void>(h <= elsewhere()); }, "ce_handle::operator<: have to compare like ce_handles"}, // kept
        {[](ce_handle& h) { static_cast<void>(h > elsewhere()); },  "ce_handle::operator>: have to compare like ce_handles"},
        {[](ce_handle& h) { static_cast<void>(h >= elsewhere()); }, "ce_handle::operator>=: have to compare like ce_handles"},
        {[](ce_handle& h) { static_cast<void>(h - elsewhere()); },  "ce_handle::operator-: have to compare like ce_handles"},
        {[](ce_handle& h) { h.get_channel_event(); },       "ce_handle::get_channel_event: invalid ce_handle"},
        {[](ce_handle& h) { h.get_trim_type(); },           "ce_handle::get_trim_type: invalid ce_handle"},
        {[](ce_handle& h) { h.isActive(); },                "ce_handle::isActive: invalid ce_handle"},
        {[](ce_handle& h) { h.setActive(true); },           "ce_handle::setActive: invalid ce_handle"},
        {[](ce_handle& h) { h.getEffectGraph(); },          "ce_handle::getEffectGraph: invalid ce_handle"},
        {[](ce_handle& h) { h.setEffectGraph(IdStamp()); }, "ce_handle::setEffectGraph: invalid ce_handle"},
        {[](ce_handle& h) { h.is_effect(); },               "ce_handle::is_effect: invalid ce_handle"},
        {[](ce_handle& h) { h.select_trim_end(); },         "ce_handle::select_trim: invalid ce_handle"},
    };
    // clang-format on
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    for (const Case& c : cases) {
        for (ce_handle bad : {ce_handle(), staleHandle()}) {
            const int index = bad.get_index();
            EXPECT_EQ(thrownBy([&] { c.call(bad); }), c.message);
            EXPECT_EQ(bad.get_index(), index) << c.message;
        }
        if (c.message.find("invalid ce_handle") != std::string::npos)
            for (const int index : {-1, 4, INT_MAX}) {
                ce_handle outside(cel, index);
                EXPECT_EQ(thrownBy([&] { c.call(outside); }), c.message) << index;
            }
    }
}

TEST(Handle, ComparesPositionsOfOneTrackOnly)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    const ce_handle first(cel, 1);
    const ce_handle second(cel, 2);
    EXPECT_TRUE(first < second && first <= second && first <= first && !(second <= first));
    EXPECT_TRUE(second > first && second >= first && first >= first && !(first >= second));
    EXPECT_EQ(second - first, 1);
    EXPECT_EQ(first - second, -1);
    EXPECT_TRUE(first == ce_handle(cel, 1));
    EXPECT_TRUE(first != second && first != elsewhere() && first != ce_handle());
    EXPECT_TRUE(ce_handle() == ce_handle());

    // Comparing asks whether both were made for one track, not whether it is unchanged.
    const ce_handle a(cel, 0);
    const ce_handle b(cel, 3);
    cel->clear();
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(a == ce_handle(cel, 0));
}

TEST(Handle, IsValidOnAnEventOfItsTrackAndStaysBoundToTheIndex)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    for (const auto& [index, valid] :
         {std::pair{0, 1}, {3, 1}, {4, 0}, {-1, 0}, {INT_MAX, 0}, {INT_MIN, 0}}) {
        EXPECT_EQ(ce_handle(cel, index).valid(), valid) << index;
        EXPECT_EQ(ce_handle(cel, index).get_chan_evnt_ptr() != nullptr, valid) << index;
        EXPECT_EQ(ce_handle(cel, index).excessive_valid(), 1);
    }
    ce_handle h(cel, 2);
    EXPECT_EQ(h.get_edit_time(), 4.0);
    cel->insertEventPair(0, material('N'), 0, 1, 0); // another event stands there now
    EXPECT_EQ(h.valid(), 1);
    EXPECT_EQ(h.get_strip_cookie(), material('A'));
    h.invalidate();
    EXPECT_EQ(h.valid(), 0);
    EXPECT_EQ(h.get_its_cel(), cel);
    EXPECT_EQ((++h).get_index(), 0);
    EXPECT_EQ(h.valid(), 1);
    h.set_its_cel(track("A0-1"));
    EXPECT_EQ(h.get_its_cel_id(), h.get_its_cel()->getID());
    EXPECT_EQ(h.valid(), 1);
}

TEST(Handle, ArithmeticStopsAtTheLimitsOfAnIndex)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    EXPECT_EQ((ce_handle(cel, 1) + 2).get_index(), 3);
    EXPECT_EQ((ce_handle(cel, 3) - 2).get_index(), 1);
    EXPECT_EQ((ce_handle(cel, 2) + INT_MAX).get_index(), INT_MAX);
    EXPECT_EQ((ce_handle(cel, 2) - INT_MIN).get_index(), INT_MAX);
    EXPECT_EQ((ce_handle(cel, -2) + INT_MIN).get_index(), INT_MIN);
    ce_handle high(cel, INT_MAX);
    ce_handle low(cel, INT_MIN);
    EXPECT_EQ((++high).get_index(), INT_MAX);
    EXPECT_EQ((--low).get_index(), INT_MIN);
    EXPECT_EQ(ce_handle(cel, INT_MAX) - ce_handle(cel, INT_MIN), INT_MAX);
    low.increment(in_point);
    EXPECT_EQ(low.valid(), 0);
    EXPECT_EQ(low.get_index(), INT_MIN + 1);
}

TEST(Handle, StepsToTheKindsOfItsFilter)
{
    // in 0, change 1, out 2, in 3, out 4
    const Kt::Ptr<Cel> cel = track("A<0 A=1 A>4 .4-6");
    // clang-format off
    struct Case { int from; ce_info filter; int up, down; };
    const Case cases[] = {
        {0, any_event, 1, -1}, {0, in_point, 3, -1}, {0, out_point, 2, -1}, {0, level_change, 1, -1},
        {3, any_event, 4, 2},  {3, in_point, 5, 0},  {3, level_change, 5, 1}, {4, undefined_event, 5, -1},
        {-1, in_point, 0, -2}, {5, in_point, 6, 3}, // from outside: one step, then only if valid
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " filter " << c.filter);
        ce_handle up(cel, c.from);
        up.increment(c.filter);
        EXPECT_EQ(up.get_index(), c.up);
        ce_handle down(cel, c.from);
        down.decrement(c.filter);
        EXPECT_EQ(down.get_index(), c.down);
    }
    ce_handle any(track("A|0 A|1"), 0);
    any.increment(any_event); // even onto what is of no kind at all
    EXPECT_EQ(any.get_index(), 1);
    const int in[] = {0, 0, 0, 3, 3};
    const int out[] = {2, 2, 2, 4, 4};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(ce_handle(cel, i).matching_in_ceh().get_index(), in[i]);
        EXPECT_EQ(ce_handle(cel, i).matching_out_ceh().get_index(), out[i]);
    }
    EXPECT_EQ(ce_handle(cel, -1).matching_in_ceh().get_index(), -1);
    EXPECT_EQ(ce_handle(cel, 5).matching_out_ceh().get_index(), 5);
    EXPECT_EQ(ce_handle(track("A0-4 B<4"), 2).matching_out_ceh().valid(), 0);
    EXPECT_EQ(ce_handle(cel, 2).get_start_ceh().get_index(), 0);
    EXPECT_EQ(ce_handle(cel, 2).get_end_ceh().get_index(), 4);
}

TEST(Handle, ShowsTrimMarks)
{
    // clang-format off
    struct Case { const char* section; int in, out; };
    const Case cases[] = {
        {"A0-4^0>0", 0, 0}, {"A0-4^1>0", 0, 1}, {"A0-4^2>0", 0, 0}, {"A0-4^3>0", 1, 0}, {"A0-4^4>0", 1, 1},
        {"A0-4^0>2", 0, 1}, {"A0-4^1>2", 0, 0}, {"A0-4^2>2", 0, 1}, {"A0-4^3>2", 1, 1}, {"A0-4^4>2", 1, 0},
        {"A0-4^1>1", 0, 1}, {"A0-4^0>3", 0, 0}, {"A0-4^1>4", 0, 1},
    };
    // clang-format on
    for (const Case& c : cases) {
        const Kt::Ptr<Cel> cel = track(c.section);
        EXPECT_EQ(ce_handle(cel, 0).get_trim_mark(), c.in) << c.section;
        EXPECT_EQ(ce_handle(cel, 1).get_trim_mark(), c.out) << c.section;
    }
    EXPECT_EQ(ce_handle(track("A<0^1 A=1^3 A>4"), 1).get_trim_mark(), 0);
    EXPECT_EQ(ce_handle(track("A>0^2 A<1"), 0).get_trim_mark(), 1); // nothing turns it round
}

TEST(Handle, FindsAndDropsSelections)
{
    const Kt::Ptr<Cel> cel = track("A0-4^0>1 .4-6^1>0 B6-8^3>0");
    EXPECT_EQ(cel->get_start_ceh().find_next_trim().get_index(), 1);
    EXPECT_EQ(ce_handle(cel, 1).find_next_trim().get_index(), 2);
    EXPECT_EQ(ce_handle(cel, 4).find_next_trim().valid(), 0);
    EXPECT_EQ(cel->get_start_ceh().find_next_trim_mark().get_index(), 3);
    EXPECT_EQ(ce_handle(cel, 3).find_next_trim_mark().get_index(), 4);
    EXPECT_EQ(ce_handle(cel, 4).find_next_trim_mark().valid(), 0);

    ce_handle h = cel->get_start_ceh();
    h.select_trim(trim_none);
    EXPECT_EQ(cel->is_dirty(), 0);
    h.select_trim_roll_black();
    EXPECT_EQ(h.get_trim_type(), trim_roll_black);
    EXPECT_EQ(cel->is_dirty(), 1);
    ce_handle(cel, 4).deselect_all_trims();
    EXPECT_EQ(describe(*cel), "A0-4 .4-6 B6-8");
}

TEST(Handle, GivesDirectAccessToItsEvent)
{
    const Kt::Ptr<Cel> cel = track("A0-4#7 $4-6");
    ce_handle h(cel, 0);
    EXPECT_TRUE(h.isActive() && !h.is_effect() && ce_handle(cel, 2).is_effect());
    EXPECT_EQ(h.getEffectGraph(), IdStamp(7, 0, 0));
    h.setActive(false);
    EXPECT_EQ(cel->is_dirty(), 1);
    cel->make_clean();
    h.setEffectGraph(IdStamp(8, 0, 0));
    EXPECT_EQ(cel->is_dirty(), 1);
    EXPECT_EQ(describe(*cel), "A0-4!1>0#8 $4-6");
    EXPECT_EQ(h.get_channel_event(), cel->get_event(0));
}

TEST(HandlePair, NamesTheSectionOfAnEventOrATime)
{
    // in 0, change 1, out 2, in 3, out 4, in 5
    const Kt::Ptr<Cel> cel = track("A<0 A=1 A>4 .4-6 B<6");
    // clang-format off
    struct Case { int event, in, out; bool valid; };
    const Case cases[] = {
        {0, 0, 2, true}, {2, 0, 2, true}, {3, 3, 4, true}, {4, 3, 4, true},
        {1, 0, 1, true}, // kept: a level change is taken for the end
        {5, 5, 6, false},
    };
    // clang-format on
    for (const Case& c : cases) {
        const CEHPair pair(ce_handle(cel, c.event));
        EXPECT_EQ(pair.valid(), c.valid) << c.event;
        EXPECT_EQ(pair.inH().get_index(), c.in) << c.event;
        EXPECT_EQ(pair.outH().get_index(), c.out) << c.event;
    }
    for (const ce_handle& bad : {ce_handle(), ce_handle(cel, -1), ce_handle(cel, 6), staleHandle()})
        EXPECT_EQ(CEHPair(bad).inH(), ce_handle());

    // clang-format off
    struct Time { double t; int in; };
    const Time times[] = {{0, 0}, {3.9, 0}, {4, 3}, {3.9999995, 3}, {5, 3}, {-1, -1}, {7, -1}, {1e99, -1}, {2e81, -1}};
    // clang-format on
    for (const Time& c : times)
        EXPECT_EQ(CEHPair(cel.get(), c.t).inH().get_index(), c.in) << c.t;
    EXPECT_FALSE(CEHPair(cel.get(), 6).valid()); // its out point is missing
    EXPECT_FALSE(CEHPair(nullptr, 1).valid());

    EXPECT_EQ(CEHPair(cel.get(), 5).editRange(), (NumRange<double, Ordered>(4, 6)));
    EXPECT_EQ(CEHPair(cel.get(), 1e99).editRange(), (NumRange<double, Ordered>(1e99, 1e99)));
    EXPECT_EQ(CEHPair(track("A4-1")->get_start_ceh()).editRange(),
              (NumRange<double, Ordered>(1, 4)));
}

TEST(HandlePair, TellsEffectsFromMaterialByTheMagicType)
{
    // clang-format off
    struct Case { const char* section; int magic; bool effect, material; };
    const Case cases[] = {
        {"A0-4", 0, true, true},   {"A0-4", 1, false, true},  {"A0-4", 2, false, false}, {"A0-4", 3, true, false},
        {".0-4", 0, true, false},  {".0-4", 1, false, false}, {"$0-4", 0, true, false},  {"$0-4", 1, false, false},
    };
    // clang-format on
    for (const Case& c : cases) {
        const Kt::Ptr<Cel> cel = track(c.section);
        IdStamp id;
        id.setMagicType(c.magic);
        cel->getChanEventPtr(0)->editGraph(id);
        const CEHPair pair(cel->get_start_ceh());
        EXPECT_EQ(pair.isEffect(), c.effect) << c.section << c.magic;
        EXPECT_EQ(pair.isMaterial(), c.material) << c.section << c.magic;
    }
    EXPECT_FALSE(CEHPair().isEffect() || CEHPair().isMaterial());
}

} // namespace
} // namespace cel::test

#include "cel/Cel.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"

#include <climits>
#include <gtest/gtest.h>

// What a script cannot do to handles; what it can is in tests/replay: handles, stale_handles,
// section_pairs, search, getters and setters.
namespace cel::test {
namespace {

TEST(Handle, StaysBoundToItsTrackAndIndex)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    for (const auto& [index, valid] :
         {std::pair{0, 1}, {3, 1}, {4, 0}, {-1, 0}, {INT_MAX, 0}, {INT_MIN, 0}}) {
        EXPECT_EQ(ce_handle(cel, index).valid(), valid) << index;
        EXPECT_EQ(ce_handle(cel, index).get_chan_evnt_ptr() != nullptr, valid) << index;
        EXPECT_EQ(ce_handle(cel, index).excessive_valid(), 1);
    }
    ce_handle h(cel, 2);
    cel->insertEventPair(0, material('N'), 0, 1, 0); // another event stands there now
    EXPECT_EQ(h.valid(), 1);
    EXPECT_EQ(h.get_strip_cookie(), material('A'));
    h.invalidate();
    EXPECT_EQ(h.valid(), 0);
    EXPECT_EQ(h.get_its_cel(), cel);
    EXPECT_EQ((++h).get_index(), 0);
    h.set_its_cel(track("A0-1"));
    EXPECT_EQ(h.get_its_cel_id(), h.get_its_cel()->getID());
    EXPECT_EQ(h.valid(), 1);
}

TEST(Handle, OfAnotherTrackIsRefused)
{
    const Kt::Ptr<Cel> cel = track("A0-4 .4-6");
    const ce_handle other(track("A0-4 .4-6"), 0);
    const ce_handle stale(cel, 0);
    cel->clear();
    fill(*cel, "A0-4 .4-6");
    for (const ce_handle& h : {other, stale, ce_handle()}) {
        EXPECT_EQ(cel->check_ceh(h), 0);
        EXPECT_EQ(thrownBy([&] { cel->isActive(h, 0); }), "Cel::isActive: invalid ce_handle");
        EXPECT_EQ(thrownBy([&] { cel->set_strip_time(h, 9); }),
                  "Cel::set_strip_time: invalid ce_handle");
        EXPECT_FALSE(h == ce_handle(cel, 0));
        ce_handle found = h;
        cel->find_ceh_seeded(found, 5, any_event);
        EXPECT_EQ(found, ce_handle(cel, 2)); // a seed of elsewhere is none, but no fault
    }
    EXPECT_EQ(ce_handle().time_in_range(1) + ce_handle().time_in_range_exclusive(1), 0);
    EXPECT_EQ(ce_handle(cel, 99).time_in_range(1), 1); // the position does not matter
    EXPECT_EQ(track("")->get_end_ceh(), ce_handle());
}

TEST(HandlePair, OfNothingIsNone)
{
    EXPECT_FALSE(CEHPair(nullptr, 1).valid());
    EXPECT_FALSE(CEHPair(ce_handle()).valid() || CEHPair().isEffect() || CEHPair().isMaterial());
    const Kt::Ptr<Cel> cel = track("A0-4 B<4");
    EXPECT_EQ(CEHPair(ce_handle(cel, 2)).inH(), ce_handle(cel, 2));
    EXPECT_FALSE(CEHPair(ce_handle(cel, 2)).valid()); // its out point is missing
    EXPECT_FALSE(CEHPair(cel.get(), 4).valid());
    EXPECT_EQ(CEHPair(cel.get(), 4).inH(), ce_handle());
}

} // namespace
} // namespace cel::test

#include "cel/ChannelEvent.h"
#include "platform/foundation/Exception.h"
#include "platform/support/PStream.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What a script cannot do to single events; the rest is in tests/replay: single_events,
// changed_events, removable_cuts and setters.
namespace cel::test {
namespace {

TEST(ChannelEvent, StartsUnsetAndTakesOnlyAValidIdentifier)
{
    const ChannelEvent made[] = {
        ChannelEvent(), ChannelEvent(3.0),
        ChannelEvent(1, 2, material('A'), 0.5F, out_point, IdStamp(7, 0, 0), 0x15),
        ChannelEvent(1, 2, material('A'), 0.5F, out_point, IdStamp(0, 0, 0), 0)};
    EXPECT_EQ(describe(made), "?|?@?*? ?|3@?*? A>1@2*?:0.5%5#7 A>1@2*?:0.5");
    EXPECT_NE(made[0].editGraph(), made[1].editGraph());
    EXPECT_EQ(made[0].editGraph().getMagicType(), 1);
    EXPECT_EQ(made[3].editGraph().getMagicType(), 1);
}

TEST(ChannelEvent, SettersKeepTheirNeighboursInTheWord)
{
    ChannelEvent e;
    using Set = void (*)(ChannelEvent&);
    // clang-format off
    struct Word { Set set; std::uint32_t kept; };
    const Word words[] = {{[](ChannelEvent& f) { f.info(in_point); }, 0xFF01U}, {[](ChannelEvent& f) { f.varispeed_display_modifier(0x26); }, 0x16FFU}, {[](ChannelEvent& f) { f.setActive(true); }, 0xFFFFEFFFU}};
    // clang-format on
    for (const Word& c : words) {
        e.infoWord(0xFFFFFFFF);
        c.set(e);
        EXPECT_EQ(e.infoWord(), c.kept);
    }
    EXPECT_TRUE(e.isActive());
}

TEST(ChannelEvent, CannotBeReadWithoutARevision)
{
    LogCapture log;
    StreamFile file;
    PStream stream(file);
    ChannelEvent e;
    EXPECT_THROW(e.unpack(stream), Kt::Exception::Base);
    EXPECT_THAT(log.text(), testing::MatchesRegex(
                                "Call made using illegal unpack syntax in .*ChannelEvent.*\\."));
}

} // namespace
} // namespace cel::test

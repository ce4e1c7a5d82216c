#include "cel/ChannelEvent.h"
#include "platform/foundation/Exception.h"
#include "platform/support/PStream.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

ChannelEvent event(std::string_view notation)
{
    return events(notation).front();
}

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

TEST(ChannelEvent, SettersClampAndKeepTheirNeighboursInTheWord)
{
    ChannelEvent e;
    // clang-format off
    struct Ramp { unsigned given, kept; };
    for (const Ramp& c : {Ramp{20000, 16383}, {16383, 16383}, {5, 5}, {0x80000001U, 16383}}) {
        e.audioRamp_DurationQFrames(c.given);
        EXPECT_EQ(e.audioRamp_DurationQFrames(), c.kept);
    }
    struct Curve { int given, kept; };
    for (const Curve& c : {Curve{-1, 0}, {9, 3}, {2, 2}, {INT32_MIN, 0}}) {
        e.audioRamp_CurveType(c.given);
        EXPECT_EQ(e.audioRamp_CurveType(), c.kept);
    }
    // clang-format on
    EXPECT_EQ(e.audioRamp_DurationQFrames(), 16383U);

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

TEST(ChannelEvent, EqualsAnotherThatPlaysTheSameInTheSamePlace)
{
    for (const char* same : {"A<1@2#7", "A<1@2#7^2", "A<1@2#7=4", "A<1@2#7!1"})
        EXPECT_EQ(event("A<1@2#7"), event(same)) << same;
    for (const char* other : {"A<1.0000000001@2#7", "A<1@2.0000000001#7", "B<1@2#7", "A'<1@2#7",
                              "A=1@2#7", "A<1@2:1.0000002#7", "A<1@2*1.0000002#7", "A<1@2%1#7",
                              "A<1@2#8", "A<1@2~1#7", "A<1@2/1#7"})
        EXPECT_FALSE(event("A<1@2#7") == event(other)) << other;
}

TEST(ChannelEvent, IsRedundantBesideALevelChangeThatSaysTheSame)
{
    // clang-format off
    struct Case { const char* a; const char* b; int expected; };
    const Case cases[] = {
        {"A<1", "A<1", 0}, {"A<1", "A=1", 1}, {"A=1", "A<1", 1}, {"A=1", "A=1.0000009@0.0000009", 1},
        {"A=1", "A=1.000002", 0}, {"A=1", "A=1@0.000002", 0}, {"A=1", "B=1", 0},
        {"A=1:0.5", "A=1:0.500002", 0}, {"A=1*2", "A=1", 0}, {"A=nan", "A=nan", 0},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(event(c.a).redundant(event(c.b)), c.expected) << c.a << " and " << c.b;
}

TEST(ChannelEvent, KnowsWhetherTheCutBehindItCarriesInformation)
{
    // clang-format off
    struct Case { const char* name; const char* track; int strict, ignoringLevels; };
    const Case cases[] = {
        {"plays on",               "A0-2 A2-5@2",                  1, 1},
        {"a step of a microsecond","A0-2 A2.0000009-5@2.0000009",  1, 1},
        {"later",                  "A0-2 A2.000002-5@2.000002",    0, 0},
        {"other strip",            "A0-2 A2-5@2.1",                0, 0},
        {"other material",         "A0-2 B2-5@2",                  0, 0},
        {"other speed",            "A0-2 A2-5@2*2",                0, 0},
        {"no out point",           "A<0 A=2@2 A<2@2 A>5@5",        0, 0},
        {"no in point",            "A<0 A>2@2 A=2@2 A>5@5",        0, 0},
        {"NaN",                    "A<0 A>nan@2 A<2@2 A>5@5",      0, 0},
        {"level steps",            "A0-2:0.5 A2-5@2",              0, 1},
        {"one slope",              "A0-2:0>0.5 A2-4@2:0.5>1",      1, 1},
        {"slope changes",          "A0-2:0>0.5 A2-5@2:0.5>1",      0, 1},
        {"no length, no slope",    "A2-2@2:0>0.5 A2-5@2:0.5>1",    1, 1},
        {"first has an effect",    "A0-2#7 A2-5@2",                0, 1},
        {"second has an effect",   "A0-2 A2-5@2#7",                0, 1},
        {"ramp on the out point",  "A0-2~0>1 A2-5@2",              0, 1},
        {"ramp on the in point",   "A0-2 A2-5@2~1>0",              0, 1},
        {"other ramps",            "A0-2~1>0 A2-5@2~0>1",          1, 1},
        {"other modifier",         "A0-2%3 A2-5@2",                1, 1},
    };
    // clang-format on
    for (const Case& c : cases) {
        const std::vector<ChannelEvent> e = events(c.track);
        EXPECT_EQ(e[1].removable_with(e[0], e[2], e[3], 0), c.strict) << c.name;
        EXPECT_EQ(e[1].removable_with(e[0], e[2], e[3], 1), c.ignoringLevels) << c.name;
    }
}

TEST(ChannelEvent, KnowsACutWithinAFrame)
{
    // clang-format off
    struct Case { const char* in; const char* other; int expected; };
    const Case cases[] = {
        {"A<1", "A>1.04", 1}, {"A<1", "A>0.96", 1}, {"A<1", "A>1.0400009", 1}, {"A<1", "A>1.040002", 0},
        {"A<1", "B>1", 0}, {"A=1", "A>1", 0}, {"A>1", "A<1", 0}, {"A<nan", "A<1", 0},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(event(c.in).sub_frame_cut(event(c.other), 0.04), c.expected)
            << c.in << " " << c.other;
}

TEST(ChannelEvent, RescalesTimeAndLevelButNotTheStrip)
{
    const ChannelEvent e = event("A<4@9:0.5*2");
    const ChannelEvent mapped = e.rescale(10, 20, 0, 8, 1.0, 3.0);
    EXPECT_EQ(describe(std::span(&mapped, 1)), "A<15@9*?");
    const ChannelEvent flat = e.rescale(10, 20, 4, 4.0000005, 0.5, 3.0);
    EXPECT_EQ(describe(std::span(&flat, 1)), "A<10@9*?:0.25");
    const ChannelEvent backwards = e.rescale(20, 10, 0, 8, 1.0, 1.0);
    EXPECT_EQ(backwards.edit_time(), 15.0);
}

TEST(ChannelEvent, ReversesInPlaceOfOutAndKeepsSpeedAndStrip)
{
    // clang-format off
    struct Case { const char* given; const char* expected; };
    const Case cases[] = {
        {"A<3@9*2%5!1", "A>7@9*2%5!1"}, {"A>7@9", "A<3@9"}, {"A=3", "A=7"}, {"A|3", "A|7"},
    };
    // clang-format on
    for (const Case& c : cases) {
        const ChannelEvent mirrored = event(c.given).reverse(0, 10);
        EXPECT_EQ(describe(std::span(&mirrored, 1)), c.expected);
    }
}

TEST(ChannelEvent, AppliesAndUndoesModifications)
{
    // clang-format off
    struct Case { unsigned set; double factor; };
    const Case cases[] = {
        {0x1, 25.0 / 24}, {0x80, 0.96}, {0x2, 25.0 / 48}, {0x4, 0.5}, {0x8, 1.25}, {0x100, 0.8},
        {0x10, 0.625}, {0x20, 0.5}, {0x40, 1.001}, {0x24, 0.25}, {0x1FF, 25.0 / 24 * 0.96 * 25 / 48 * 0.5 * 0.625 * 0.5 * 1.001},
        {0, 1}, {0xFFFFFE00U, 1},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.set);
        ChannelEvent e = event("A<48@96");
        e.modify_channel_event(c.set);
        EXPECT_DOUBLE_EQ(e.edit_time(), 48 * c.factor);
        EXPECT_DOUBLE_EQ(e.strip_time(), 96 * c.factor);
        EXPECT_EQ(e.get_ChannelEventModification(), c.set);
        e.reverse_channel_event_modification();
        EXPECT_DOUBLE_EQ(e.edit_time(), 48);
        EXPECT_EQ(e.get_ChannelEventModification(), 0U);
    }
    ChannelEvent e = event("A<48");
    e.modify_channel_event(0x1); // kept: the literal 1.0416666666666667, not a quotient
    EXPECT_EQ(e.edit_time(), 48 * 1.0416666666666667);
    e.set_ChannelEventModification(0x4);
    EXPECT_EQ(e.edit_time(), 48 * 1.0416666666666667);
}

TEST(ChannelEvent, MapsTheMagnitudesOfOldRecords)
{
    // clang-format off
    struct Case { float magnitude; double level; };
    const Case cases[] = {
        {0.0F, 0.0}, {1.0F, 1.0}, {0.0625F, 0.5}, {-1.0F, 0.0}, {1e30F, std::pow(4.5099, 0.25)}, {std::nanf(""), 0.0},
    };
    // clang-format on
    for (const Case& c : cases) {
        ChannelEventV2 record{};
        record.level = c.magnitude;
        EXPECT_NEAR(double(ChannelEvent(record).level_sc()), c.level, 1e-6) << c.magnitude;
    }
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

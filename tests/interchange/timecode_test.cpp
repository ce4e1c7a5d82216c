#include "interchange/timecode.h"

#include "tests/support/table.h"

#include <gtest/gtest.h>
#include <limits>

namespace cel::test {
namespace {

constexpr FrameRate kPal{25, 1, false};
constexpr FrameRate kNtsc{30000, 1001, false};
constexpr FrameRate kNtscDrop{30000, 1001, true};

TEST(FrameRates, AreReadAsPeopleWriteThem)
{
    for (const TableRow& c : table("timecode", "rates")) {
        SCOPED_TRACE(c.place);
        const auto rate = parseFrameRate(c[0]);
        ASSERT_TRUE(rate);
        EXPECT_EQ(*rate, (FrameRate{c.integer(1), c.integer(2), c[3] == "drop"}));
        EXPECT_EQ(describe(*rate), c[4]);
        EXPECT_EQ(parseFrameRate(describe(*rate)), rate);
    }
    for (const TableRow& c : table("timecode", "no rates"))
        EXPECT_FALSE(parseFrameRate(c[1])) << c.place;
}

TEST(FrameRates, AreKnownByTheDurationOfAFrame)
{
    for (const char* text : {"24", "25", "23.976", "29.97", "30", "50", "59.94", "60", "12.5"}) {
        const FrameRate rate = *parseFrameRate(text);
        EXPECT_EQ(rateOfFrameDuration(rate.frameDuration()), rate) << text;
    }
    EXPECT_EQ(rateOfFrameDuration(0.041708333333), (FrameRate{24000, 1001, false}));
    EXPECT_TRUE(isUsable(rateOfFrameDuration(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_TRUE(isUsable(rateOfFrameDuration(0.0)));
}

TEST(Timecode, CountsFramesAndIsWrittenBack)
{
    for (const TableRow& c : table("timecode", "timecodes")) {
        SCOPED_TRACE(c.place);
        const FrameRate rate = *parseFrameRate(c[1]);
        EXPECT_EQ(framesFromTimecode(c[0], rate), c.number(2));
        EXPECT_EQ(timecodeFromFrames(static_cast<std::int64_t>(c.number(2)), rate), c[0]);
    }
    for (const TableRow& c : table("timecode", "no timecodes"))
        EXPECT_FALSE(framesFromTimecode(c[1], kPal)) << c.place;
    EXPECT_EQ(timecodeFromFrames(-25, kPal), "-00:00:01:00");
    EXPECT_EQ(framesFromTimecode("00:10:00;00", kNtsc), 17982) << "the mark decides";
    EXPECT_EQ(framesPerDay(kNtscDrop), 2589408);
    EXPECT_FALSE(framesFromTimecode("00:01:00;01", kNtscDrop)) << "drop-frame skips it";
}

TEST(Timecode, WithDropsHasANameForEveryFrame)
{
    for (std::int64_t frame = 0; frame < framesPerDay(kNtscDrop); frame += 101)
        ASSERT_EQ(framesFromTimecode(timecodeFromFrames(frame, kNtscDrop), kNtscDrop), frame);
}

TEST(Positions, AreSecondsOrTimecodeOfTheCut)
{
    constexpr std::int64_t kStart = 90000;
    EXPECT_EQ(parsePosition("12.48", kPal, kStart), 12.48);
    EXPECT_EQ(parsePosition("01:00:12:12", kPal, kStart), 12.48);
    EXPECT_EQ(parsePosition("00:00:01:00", kPal, framesPerDay(kPal) - 25), 2.0) << "past midnight";
    for (const char* text : {"", "soon", "inf", "nan", "12.48x", "01:00:12"})
        EXPECT_FALSE(parsePosition(text, kPal, kStart)) << text;
}

TEST(Positions, BeyondAnyCountAreLimited)
{
    EXPECT_EQ(nearestFrame(1e300, kPal), 9'000'000'000'000'000'000);
    EXPECT_EQ(nearestFrame(-1e300, kPal), -9'000'000'000'000'000'000);
    EXPECT_EQ(nearestFrame(std::numeric_limits<double>::quiet_NaN(), kPal), 0);
    EXPECT_EQ(nearestFrame(0.059, kPal), 1);
    EXPECT_FALSE(timecodeFromFrames(std::numeric_limits<std::int64_t>::min(), kNtscDrop).empty());
}

} // namespace
} // namespace cel::test

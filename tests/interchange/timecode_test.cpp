#include "interchange/timecode.h"

#include <gtest/gtest.h>
#include <limits>

namespace cel {
namespace {

constexpr FrameRate kPal{25, 1, false};
constexpr FrameRate kNtsc{30000, 1001, false};
constexpr FrameRate kNtscDrop{30000, 1001, true};
constexpr FrameRate kFastDrop{60000, 1001, true};

TEST(FrameRates, AreReadAsPeopleWriteThem)
{
    // clang-format off
    struct Case { const char* text; int numerator, denominator; bool drop; const char* said; };
    static const Case cases[] = {
        {"25",           25,    1,    false, "25"},
        {" 24 ",         24,    1,    false, "24"},
        {"23.976",       24000, 1001, false, "23.976"},
        {"23.98",        24000, 1001, false, "23.976"},
        {"29.97",        30000, 1001, false, "29.97"},
        {"29.97 drop",   30000, 1001, true,  "29.97 drop"},
        {"29.97DF",      30000, 1001, true,  "29.97 drop"},
        {"29.97ndf",     30000, 1001, false, "29.97"},
        {"59.94df",      60000, 1001, true,  "59.94 drop"},
        {"30000/1001",   30000, 1001, false, "29.97"},
        {"50/2",         25,    1,    false, "25"},
        {"12.5",         25,    2,    false, "12.5"},
        {"100/3",        100,   3,    false, "100/3"},
        {"1",            1,     1,    false, "1"},
        {"1000",         1000,  1,    false, "1000"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto rate = parseFrameRate(c.text);
        ASSERT_TRUE(rate);
        EXPECT_EQ(*rate, (FrameRate{c.numerator, c.denominator, c.drop}));
        EXPECT_EQ(describe(*rate), c.said);
        EXPECT_EQ(parseFrameRate(describe(*rate)), rate);
    }
    for (const char* text : {"", "fast", "0", "-25", "0.5", "1001", "25df", "nan", "inf", "25/0",
                             "1/2", "25 fps", "99999999999", "30000/1001/2", "drop"})
        EXPECT_FALSE(parseFrameRate(text)) << text;
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
    // clang-format off
    struct Case { const char* text; FrameRate rate; std::int64_t frames; };
    static const Case cases[] = {
        {"00:00:00:00", kPal,      0},
        {"01:00:00:00", kPal,      90000},
        {"10:00:01:24", kPal,      900049},
        {"01:00:00:00", kNtsc,     108000},
        {"00:00:59;29", kNtscDrop, 1799},
        {"00:01:00;02", kNtscDrop, 1800}, // two numbers are left out
        {"00:10:00;00", kNtscDrop, 17982},
        {"00:11:00;02", kNtscDrop, 19782},
        {"01:00:00;00", kNtscDrop, 107892},
        {"23:59:59;29", kNtscDrop, 2589407},
        {"00:01:00;04", kFastDrop, 3600},
        {"99:59:59:24", kPal,      8999999},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(framesFromTimecode(c.text, c.rate), c.frames);
        EXPECT_EQ(timecodeFromFrames(c.frames, c.rate), c.text);
    }
    EXPECT_EQ(timecodeFromFrames(-25, kPal), "-00:00:01:00");
    EXPECT_EQ(framesFromTimecode("00:10:00;00", kNtsc), 17982) << "the mark decides";
    EXPECT_EQ(framesPerDay(kNtscDrop), 2589408);
    for (const char* text : {"", "1:2:3", "00:00:00:25", "00:60:00:00", "00:00:60:00", "a:00:00:00",
                             "00:00:00:-1", "00:00:00:00:00", "100:00:00:00", "00 00 00 00"})
        EXPECT_FALSE(framesFromTimecode(text, kPal)) << text;
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
} // namespace cel

#include "cel/ChannelEvent.h"
#include "cel/edit_time.h"
#include "platform/foundation/Exception.h"
#include "tests/support/log_capture.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace cel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(EditTime, RoundsTowardZeroOnTheGridAndForgivesAMicrosecond)
{
    // clang-format off
    struct Case { double t, res, expected; };
    const Case cases[] = {
        {0.9999995, 1.0, 1.0}, {0.999998, 1.0, 0.0}, {-1.5, 1.0, -1.0}, {-0.9999995, 1.0, -1.0},
        {2.51, 0.5, 2.5}, {0.119999, 0.04, 3 * 0.04}, {-2.51, 0.5, -2.5},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(res_round(c.t, c.res), c.expected) << c.t << " on " << c.res;
    EXPECT_TRUE(std::signbit(res_round(-1e-7, 1.0)));
    EXPECT_FALSE(std::signbit(res_round(-0.0, 1.0)));

    LogCapture log;
    EXPECT_TRUE(std::isnan(res_round(kNaN, 0.04)));
    EXPECT_EQ(log.text(), "Ecountered #NAN in Cel.cpp res_round");
}

TEST(EditTime, QuantisesHalfWayUpAndKeepsSentinels)
{
    // clang-format off
    struct Case { double t, q, expected; };
    const Case cases[] = {
        {-0.02, 0.04, 0.0}, {0.02, 0.04, 0.04}, {-1.5, 1.0, -1.0}, {1.5, 1.0, 2.0}, {1.49, 1.0, 1.0},
        {0.49999999999999994, 1.0, 1.0}, // the addition itself rounds up
        {2e81, 0.3, 2e81}, {1e99, 0.3, 1e99}, {1e12, 0.3, 1e12}, {-1e12, 0.3, -3333333333333 * 0.3},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(quantiseTime(c.t, c.q), c.expected) << c.t << " by " << c.q;
        EXPECT_EQ(ChannelEvent(c.t).quantise(c.q).edit_time(), c.expected);
    }
    ChannelEvent event(1.49, 1.49, video_black, 1.0F, in_point, IdStamp(1, 2, 3), 0);
    EXPECT_EQ(event.quantise(1.0).strip_time(), 1.49);
}

TEST(EditTime, RefusesATinyQuantumWhateverTheTime)
{
    // Both throw of their own accord, and readers of fault reports know their lines.
    using Quantise = void (*)(double t, double q);
    // clang-format off
    struct Case { Quantise quantise; const char* text; const char* file; int line; };
    const Case cases[] = {
        {[](double t, double q) { quantiseTime(t, q); }, "quantiseTime: quanta to small", "cel\\Cel", 53},
        {[](double t, double q) { ChannelEvent(t).quantise(q); }, "quantise_time: quanta to small", "cel\\ChannelEvent", 320},
    };
    // clang-format on
    for (const Case& c : cases)
        for (const double q : {9.9e-7, 0.0, -1.0, kNaN})
            for (const double t : {1.0, 2e81, kNaN})
                try {
                    c.quantise(t, q);
                    ADD_FAILURE() << t << " by " << q;
                } catch (const Kt::Exception::RuntimeError& error) {
                    EXPECT_STREQ(error.what(), c.text);
                    EXPECT_STREQ(error.file(), c.file);
                    EXPECT_EQ(error.line(), c.line);
                }
    EXPECT_EQ(quantiseTime(1.0, 1e-6), 1.0);
}

TEST(EditTime, KnowsWhatLiesOnTheGrid)
{
    // clang-format off
    struct Case { double t, q; bool expected; };
    const Case cases[] = {
        {0.12, 0.04, true}, {0.06, 0.04, false}, {-0.12, 0.04, true}, {0.0399995, 0.04, true},
        {0.03999, 0.04, false}, {0.0400009, 0.04, true}, {0.0400015, 0.04, false}, {6e11, 0.04, true}, {-6e11, 0.04, true},
        {2e81, 0.04, true}, {kNaN, 0.04, false}, {kInf, 0.04, true},
        {4294.0, 2e-6, true}, {4295.0, 2e-6, false}, // the quotient leaves 32 bits
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(isQuantised(c.t, c.q), c.expected) << c.t << " on " << c.q;

    double sum = 0;
    for (int i = 0; i < 1000; ++i) {
        sum += 0.04;
        EXPECT_TRUE(isQuantised(sum, 0.04)) << sum;
    }
}

TEST(EditTime, ConvertsQuarterFramesWithItsOwnRounding)
{
    // clang-format off
    struct Case { double t, frame; unsigned expected; };
    const Case cases[] = {
        {0.04, 0.04, 4}, {0.0, 0.04, 0}, {0.0399, 0.04, 3}, {0.9, 1.0, 3}, // 3.6 + 0.125, not + 0.5
        {-0.04, 0.04, 4294967293}, {1e30, 0.04, 0}, {kNaN, 0.04, 0}, {42949672.96, 0.04, 0},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(ChannelEvent::timeToQFrames(c.t, c.frame), c.expected) << c.t;
    EXPECT_EQ(ChannelEvent::QFramesToTime(4, 0.04), 0.04);
    EXPECT_EQ(ChannelEvent::QFramesToTime(65535, 4.0), 65535.0);
}

TEST(EditTime, TruncatesEveryValueToADefinedInteger)
{
    // clang-format off
    struct Case { double value; std::int32_t narrow; std::int64_t wide; };
    const Case cases[] = {
        {-1.9, -1, -1}, {2147483647.9, 2147483647, 2147483647}, {2147483648.0, INT32_MIN, 2147483648},
        {-2147483648.9, INT32_MIN, -2147483648}, {-2147483649.0, INT32_MIN, -2147483649},
        {9.3e18, INT32_MIN, INT64_MIN}, {-9.3e18, INT32_MIN, INT64_MIN}, {kNaN, INT32_MIN, INT64_MIN}, {kInf, INT32_MIN, INT64_MIN},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(truncateToInt32(c.value), c.narrow) << c.value;
        EXPECT_EQ(truncateToInt64(c.value), c.wide) << c.value;
    }
}

} // namespace
} // namespace cel::test

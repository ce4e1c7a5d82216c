#include "cel/ChannelEvent.h"
#include "cel/edit_time.h"
#include "platform/foundation/Exception.h"

#include <gtest/gtest.h>
#include <limits>

// Rounding itself is in tests/replay/numbers.
namespace cel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

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

TEST(EditTime, KnowsFramesThatWereAddedUp)
{
    double sum = 0;
    for (int i = 0; i < 1000; ++i) {
        sum += 0.04;
        EXPECT_TRUE(isQuantised(sum, 0.04)) << sum;
    }
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

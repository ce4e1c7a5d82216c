#include "platform/audio/GainCurve.h"
#include "platform/foundation/CriticalSection.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/NumRange.h"
#include "platform/foundation/Ptr.h"
#include "platform/foundation/compare.h"
#include "platform/support/Cookie.h"
#include "platform/support/IdStamp.h"
#include "tests/support/german_locale.h"
#include "tests/support/table.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <limits>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace cel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kThreads = 8;

/// Runs `work(thread)` on all threads at once.
template <class Work>
void onAllThreads(Work work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (auto& thread : threads)
        thread.join();
}

TEST(Values, AreEqualWithinAMicrosecondAndElseOrdered)
{
    for (const TableRow& c : table("platform", "equality")) {
        SCOPED_TRACE(c.place);
        const double a = c.number(1);
        const double b = c.number(2);
        EXPECT_EQ(valGreaterThanVal(a, b), c[3] == "greater");
        EXPECT_EQ(valLessThanVal(b, a), c[3] == "greater");
        EXPECT_EQ(valLessThanVal(a, b), false);
        EXPECT_EQ(valEqualsVal(a, b), c[3] == "equal");
        EXPECT_EQ(TolerantEq<double>(b, a), c[3] == "equal");
    }
}

TEST(NumRange, SortsItsEndsAndKeepsThoseThatHaveNoOrder)
{
    const NumRange<double, Ordered> range(3.0, 1.0);
    EXPECT_EQ(range, (NumRange<double, Ordered>(1.0, 3.0)));
    EXPECT_TRUE(range.contains(1.0) && range.contains(3.0) && !range.contains(3.5));
    EXPECT_EQ((NumRange<double, Ordered>(kNaN, 1.0).end()), 1.0);
}

TEST(LightweightString, SharesItsTextUntilOneOfThemChanges)
{
    LightweightString<wchar_t> first(L"cut");
    LightweightString<wchar_t> second = first;
    second += L'!';
    first += first;
    EXPECT_EQ(first, L"cutcut");
    EXPECT_EQ(second, L"cut!");
    EXPECT_EQ(second[9], L'\0');
    EXPECT_EQ(LightweightString<char>(), "");
    EXPECT_TRUE(LightweightString<char>("").isNull());
}

TEST(LightweightString, WritesNumbersAsTheyReadBackInEveryLocale)
{
    const std::string former = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, kGermanLocale);
    for (const TableRow& c : table("platform", "numbers")) {
        LightweightString<char> text;
        EXPECT_EQ(text += c.number(0), c[1].c_str());
    }
    LightweightString<wchar_t> wide(L"x");
    EXPECT_EQ(wide += 2.0, L"x2.0");
    std::setlocale(LC_ALL, former.c_str());
}

TEST(Ptr, CountsOnManyThreadsAndDestroysOnce)
{
    struct Counted : Kt::InternalRefCount
    {
        explicit Counted(int& deaths)
            : deaths_(deaths)
        {
        }
        ~Counted() override { ++deaths_; }
        int& deaths_;
    };
    int deaths = 0;
    Kt::Ptr<Counted> pointer(new Counted(deaths));
    onAllThreads([&pointer](int) {
        for (int i = 0; i < 100000; ++i) {
            Kt::Ptr<Counted> copy = pointer;
            const Kt::Ptr<Kt::InternalRefCount> moved = std::move(copy);
        }
    });
    EXPECT_EQ(pointer->refCount(), 1);
    const Kt::Ptr<Counted> clone(new Counted(*pointer));
    EXPECT_EQ(clone->refCount(), 1);
    pointer = clone;
    EXPECT_EQ(deaths, 1);
}

TEST(CriticalSection, IsFreeInTheCopyOfAnObjectThatHoldsIt)
{
    CriticalSection section;
    const Kt::Guard once(section);
    const Kt::Guard again(section);
    CriticalSection copy(section);
    std::thread([&copy] { EXPECT_TRUE(copy.try_lock()); }).join();
}

TEST(IdStamp, IsUniqueAcrossThreads)
{
    std::array<std::vector<IdStamp>, kThreads> made;
    onAllThreads([&made](int thread) {
        for (int i = 0; i < 100000; ++i)
            made[static_cast<std::size_t>(thread)].emplace_back();
    });
    std::vector<IdStamp> all;
    for (const auto& some : made)
        all.insert(all.end(), some.begin(), some.end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
    EXPECT_EQ(all.front().getMagicType(), 0);
    EXPECT_EQ(all.back().getMagicType(), 0);
}

#if !defined(_WIN32)
TEST(IdStamp, IsUniqueAcrossAFork)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const IdStamp before; // the source is at work before the processes part
    const pid_t child = fork();
    if (child == 0) {
        const IdStamp stamps[100];
        _exit(write(ends[1], stamps, sizeof(stamps)) == sizeof(stamps) ? 0 : 1);
    }
    const IdStamp own[100];
    IdStamp others[100];
    ASSERT_EQ(read(ends[0], others, sizeof(others)), static_cast<ssize_t>(sizeof(others)));
    waitpid(child, nullptr, 0);
    std::set<IdStamp> all(std::begin(own), std::end(own));
    all.insert(std::begin(others), std::end(others));
    EXPECT_EQ(all.size(), 200U);
    EXPECT_NE(own[0].word(0), others[0].word(0));
}
#endif

TEST(IdStamp, TravelsAsTextWithItsMagicType)
{
    IdStamp stamp(0x1A, 0, 0x3FFFFFFF);
    EXPECT_EQ(stamp.asString(), "1a-0-3fffffff");
    for (const int type : {3, 1, 2, 6}) {
        stamp.setMagicType(type);
        EXPECT_EQ(stamp.getMagicType(), type & 3);
        EXPECT_EQ(IdStamp(stamp.asString()), stamp);
    }
    IdStamp null(0, 0, 0);
    null.setMagicType(2);
    EXPECT_FALSE(null.valid());
    EXPECT_EQ(null.asString(), "");
    for (const char* text : {"", "1-2", "1-2-", "1-2-3-4", " 1-2-3", "1-2-3 ", "1--2-3", "+1-2-3",
                             "1-2-g", "1-2-100000000", "0x1-2-3"})
        EXPECT_FALSE(IdStamp(text).valid()) << text;
}

TEST(Cookie, TravelsAsTextAndRefusesAnyOther)
{
    Cookie cookie('V', -2147483647 - 1, 255, 2147483647);
    cookie.setVersion(1);
    EXPECT_EQ(cookie.asString(true), "86:-2147483648:255:2147483647:1");
    EXPECT_EQ(cookie.asString(false), "86:-2147483648:255:2147483647");
    EXPECT_EQ(Cookie(cookie.asString(true), true), cookie);
    EXPECT_NE(Cookie(cookie.asString(true), false).compare(cookie), 0);
    EXPECT_EQ(Cookie("86:1:0:647", true), video_black);
    for (const char* text : {"", "86", "86:1:0", "86:1:0:647:", "86:1:0:647:0:0", "86:1:0:647:0 ",
                             " 86:1:0:647", "V:1:0:647", "256:1:0:647", "86:2147483648:0:647",
                             "86:1:256:647", "86:1:-1:647", "86:1:0:647:256"})
        EXPECT_EQ(Cookie(text, true), Cookie()) << text;
}

TEST(GainCurve, IsAFourthRootThatSurvivesAnyNumber)
{
    using Curve = Aud::GainCurve::Curve<2>;
    // clang-format off
    struct Case { double magnitude; float position; };
    const Case cases[] = {{0.0, 0.0F}, {1.0, 1.0F}, {16.0, 2.0F}, {0.0625, 0.5F}, {-1.0, 0.0F}, {kNaN, 0.0F}};
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(Curve::mapMagnitudeToUValue(c.magnitude), c.position);
        EXPECT_EQ(Curve::mapUValueToMagnitude(c.position), c.position > 0 ? c.magnitude : 0.0);
    }
    EXPECT_EQ(Curve::mapUValueToMagnitude(-2.0), 0.0);
    EXPECT_GT(Curve::mapMagnitudeToUValue(kInfinity), Curve::mapMagnitudeToUValue(1e30));
}

} // namespace
} // namespace cel::test

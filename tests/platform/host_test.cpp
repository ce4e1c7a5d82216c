#include "platform/embedded/support/BurstLimiter.h"
#include "platform/embedded/support/DefaultLogSink.h"
#include "platform/foundation/Exception.h"
#include "platform/support/CookieJar.h"
#include "platform/support/Log.h"
#include "platform/support/TextFile.h"
#include "platform/support/config.h"
#include "platform/support/prefs.h"
#include "platform/support/utf8.h"
#include "tests/support/german_locale.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <clocale>
#include <regex>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Log, ReachesTheSinkWithItsExactText)
{
    LogCapture log;
    Log("Fixing %d of %s\n", 3, "100 %");
    LogBoth("%.6f", 0.5);
    logStacktrace("50 % of it");
    vond_printf("%s", std::string(2000, 'x').c_str());
    qa_splat("plain", 0);
    qa_splat("coded", 7);
    EXPECT_THROW(ura_splat("fatal"), Kt::Exception::Base);
    EXPECT_EQ(log.text(LogChannel::log), "Fixing 3 of 100 %\n");
    EXPECT_EQ(log.text(LogChannel::both), "0.500000");
    EXPECT_EQ(log.text(LogChannel::stacktrace), "50 % of it");
    EXPECT_EQ(log.text(LogChannel::print), std::string(2000, 'x'));
    EXPECT_EQ(log.text(LogChannel::quality), "plaincoded (7)");
    EXPECT_EQ(log.text(LogChannel::fatal), "fatal");
}

TEST(Log, WritesNumbersTheSameInEveryLocale)
{
    const std::string former = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, kGermanLocale))
        GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
#if defined(__MINGW32__)
    std::setlocale(LC_ALL, former.c_str());
    GTEST_SKIP() << "mingw's runtime knows no locale of a thread";
#endif
    LogCapture log;
    Log("%.6f", 0.5);
    std::setlocale(LC_ALL, former.c_str());
    EXPECT_EQ(log.text(), "0.500000");
}

TEST(Log, NeverOverlapsAndLosesNothingOnManyThreads)
{
    LogCapture log;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < 2000; ++i)
                Log("x");
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(log.count(), 16000U);
}

TEST(Log, BearsASinkThatThrowsReportsOrReplacesItself)
{
    const TemporaryFolder folder;
    const EnvironmentVariable file("CEL_LOG_FILE", folder / "log"); // what a sink reports itself
    int calls = 0;
    const LogSink former = setLogSink([&calls](LogChannel, const std::string& text) {
        ++calls;
        Log("again: %s", text.c_str());
        if (calls == 2)
            setLogSink([&calls](LogChannel, const std::string&) { calls += 10; });
        throw 1;
    });
    Log("one");
    Log("two");
    Log("three");
    setLogSink(former);
    EXPECT_EQ(calls, 12);
}

TEST(BurstLimiter, WritesTenOfAKindAndCountsTheRestUntilItIsSilent)
{
    using detail::BurstLimiter;
    BurstLimiter limiter;
    const BurstLimiter::Time start{};
    int written = 0;
    for (int i = 0; i < 1000; ++i)
        written += limiter.admit(LogChannel::log, "event " + std::to_string(i) + " refused", start);
    EXPECT_EQ(written, 10);
    EXPECT_TRUE(limiter.admit(LogChannel::both, "event 1 refused", start));
    EXPECT_TRUE(limiter.admit(LogChannel::log, "event refused", start));
    EXPECT_TRUE(limiter.endBursts(start + std::chrono::milliseconds(999)).empty());
    const auto omitted = limiter.endBursts(start + std::chrono::seconds(1));
    ASSERT_EQ(omitted.size(), 1U);
    EXPECT_EQ(omitted[0].count, 990U);
    EXPECT_TRUE(limiter.admit(LogChannel::log, "event 5 refused", start));
}

TEST(DefaultLogSink, WritesWholeLinesThatNoTextCanForge)
{
    const TemporaryFolder folder;
    const EnvironmentVariable file("CEL_LOG_FILE", folder / "deep/cel.log");
    testing::internal::CaptureStderr();
    {
        detail::DefaultLogSink sink;
        sink.write(LogChannel::log, "a", "name\n2026-01-01 forged \x1B[2J\n", nullptr);
        sink.write(LogChannel::both, "b", "watched", nullptr);
        sink.write(LogChannel::stacktrace, "c", "refused\n", &sink);
        for (int i = 0; i < 30; ++i)
            sink.write(LogChannel::print, "same", "same", nullptr);
        sink.flush();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cel: watched\n");
    const std::string text = contentOf(folder / "deep/cel.log");
    EXPECT_THAT(text, HasSubstr(" note: name\n    2026-01-01 forged \\x1b[2J\n"));
    EXPECT_THAT(text, HasSubstr(" refused: refused\n    "));
    EXPECT_THAT(text, HasSubstr(" oddity: (20 more like this) same\n"));
}

TEST(DefaultLogSink, SurvivesAFolderThatCannotBeWritten)
{
    const TemporaryFolder folder;
    putContent(folder / "file", "");
    const EnvironmentVariable file("CEL_LOG_FILE", folder / "file/cel.log");
    testing::internal::CaptureStderr();
    detail::DefaultLogSink sink;
    sink.write(LogChannel::log, "a", "unseen", nullptr);
    sink.write(LogChannel::quality, "b", "seen", nullptr);
    const std::string console = testing::internal::GetCapturedStderr();
    EXPECT_THAT(console, StartsWith("cel: no log file: "));
    EXPECT_THAT(console, HasSubstr("\ncel: seen\n"));
}

TEST(Config, TakesTheEnvironmentFirstThenTheFileAndStaysInItsRange)
{
    const TemporaryFolder folder;
    const EnvironmentVariable config("CEL_CONFIG_DIR", folder.path());
    putContent(folder / "config",
               "# comment\nin_file = 7\n both=1\r\nword = many\nhuge = "
               "99999999999999999999\nlow=-99999999999999999999\nboth = 2\nhalf = 1.5\n=3");
    const EnvironmentVariable variable("CEL_BOTH", "3");
    // clang-format off
    struct Case { const char* name; int expected; };
    const Case cases[] = {{"in_file", 7}, {"both", 3}, {"word", -1}, {"half", -1}, {"absent", -1},
                          {"huge", 100}, {"low", 0}};
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(config_int(c.name, -1, 0, 100), c.expected) << c.name;
    EXPECT_EQ(config_int("huge", -1, INT_MIN, INT_MAX), INT_MAX);
    EXPECT_EQ(CookieJar::instance().getDefaultCookieVersion(), 0);
}

TEST(Prefs, KeepsAnyTextAndNeverOverwritesWhatItCannotRead)
{
    const TemporaryFolder folder;
    const EnvironmentVariable config("CEL_CONFIG_DIR", folder / "new/sub");
    const LightweightString<char> texts[] = {"", "a=b\\", "two\nlines\r", " \xC3\xBC "};
    for (const auto& name : texts) {
        for (const auto& text : texts) {
            EXPECT_TRUE(prefs().setPreference(name, text));
            EXPECT_EQ(prefs().getPreference(name, "none"), text);
        }
    }
    EXPECT_TRUE(prefs().setPreference("font", "{}")); // reads everything anew
    EXPECT_EQ(prefs().getPreference("a=b\\", "none"), " \xC3\xBC ");
    EXPECT_EQ(prefs().getPreference("absent", "none"), "none");

    std::filesystem::remove(folder / "new/sub/preferences");
    std::filesystem::create_directory(folder / "new/sub/preferences");
    LogCapture log;
    EXPECT_FALSE(prefs().setPreference("font", "lost"));
    EXPECT_THAT(log.text(), StartsWith("Preferences: "));
}

TEST(Utf8, SurvivesEveryTextAndReplacesWhatIsNone)
{
    // clang-format off
    struct Case { std::wstring wide; std::string utf8; std::wstring back; };
    const wchar_t high = static_cast<wchar_t>(0xD83C);
    const wchar_t low = static_cast<wchar_t>(0xDFAC);
    const Case cases[] = {
        {L"",                       "",                         L""},
        {L"a\u00FC\u20AC",          "a\xC3\xBC\xE2\x82\xAC",    L"a\u00FC\u20AC"},
        {L"\U0001F3AC",             "\xF0\x9F\x8E\xAC",         L"\U0001F3AC"},
        {{high, low, L'x'},         "\xF0\x9F\x8E\xACx",        L"\U0001F3ACx"},
        {{high, L'x'},              "\xEF\xBF\xBDx",            L"\uFFFDx"},
        {{low, high},               "\xEF\xBF\xBD\xEF\xBF\xBD", L"\uFFFD\uFFFD"},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(toUtf8(c.wide), c.utf8);
        EXPECT_EQ(toWide(c.utf8), c.back);
        EXPECT_EQ(toWide(pathToUtf8(toPath(c.wide))), c.back);
    }
    for (const char* bad : {"\xFF", "\xED\xA0\x80", "\xC0\x80", "\xF4\x90\x80\x80", "\xE2\x82"})
        EXPECT_THAT(toWide(bad), testing::Each(L'\uFFFD')) << bad;
}

TEST(Paths, AreJoinedByOneSeparator)
{
    const std::wstring separator(1,
                                 static_cast<wchar_t>(std::filesystem::path::preferred_separator));
    for (const wchar_t* folder : {L"dir", L"dir/"}) {
        for (const wchar_t* name : {L"n\u00FC", L"/n\u00FC"})
            EXPECT_EQ(joinPaths(folder, name).view(), L"dir" + separator + L"n\u00FC");
    }
    EXPECT_EQ(joinPaths(L"", L"name"), L"name");
    EXPECT_EQ(joinPaths(L"/", L"name").view(), separator + L"name");
}

TEST(TextFile, ReadsEveryLineEndAndSavesUnderItsOwnName)
{
    const TemporaryFolder folder;
    const LightweightString<wchar_t> path = pathToWide(folder / "text");
    for (const TableRow& c : table("platform", "lines")) {
        SCOPED_TRACE(c.place);
        putContent(folder / "text", c[0]);
        TextFile file(path, true);
        ASSERT_TRUE(file.loaded());
        ASSERT_EQ(file.numLines(), c.number(1));
        std::string lines;
        for (std::size_t i = 0; i < file.numLines(); ++i)
            lines += std::string(file[i].view()) + "\n";
        EXPECT_EQ(lines, c[2]);
        EXPECT_TRUE(file[file.numLines()].empty());
        EXPECT_TRUE(file.save({}, TextFile::kCarriageReturnLineFeed));
        EXPECT_EQ(contentOf(folder / "text"), std::regex_replace(lines, std::regex("\n"), "\r\n"));
    }
}

TEST(TextFile, RefusesMoreLinesThanAreAllowed)
{
    const TemporaryFolder folder;
    putContent(folder / "text", std::string(TextFile::kMostLines + 1, '\n'));
    const TextFile file(pathToWide(folder / "text"), true);
    EXPECT_FALSE(file.loaded());
    EXPECT_EQ(file.numLines(), 0U);
    EXPECT_THAT(file.error(), HasSubstr("it has 2000001 lines"));
    EXPECT_THAT(TextFile(L"/absent/file", true).error(), HasSubstr("cannot be read"));
}

} // namespace
} // namespace cel::test

#include "platform/support/safe_save.h"
#include "tests/platform/intercepted_files.h"
#include "tests/support/temporary_folder.h"

#include <random>
#include <string>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if defined(_WIN32)
#include <thread>

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace cel::test {
namespace {

using Act = InterceptedFiles::Act;
using testing::HasSubstr;

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

std::string someBytes(std::size_t size, unsigned seed)
{
    std::string bytes(size, '\0');
    std::mt19937 random(seed);
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

const std::string kTarget = "cut.cel";
const std::string kOld = someBytes(5000, 1);

/// What is saved, onto a file or where there is none.
struct Start
{
    std::string fresh;
    bool exists;
};

std::vector<Start> starts()
{
    std::vector<Start> all;
    for (const std::size_t size : {std::size_t(0), std::size_t(4096), std::size_t(1) << 20}) {
        for (const bool exists : {true, false})
            all.push_back({someBytes(size, 2), exists});
    }
    return all;
}

/// The folder holds the old file or, when that is allowed, the new one; and nothing else that
/// `error` does not name.
void expectWhole(const TemporaryFolder& folder, const Start& start, bool mayBeNew, bool mayBeOld,
                 const std::string& error)
{
    const bool exists = std::filesystem::exists(folder / kTarget);
    const std::string found = contentOf(folder / kTarget);
    const bool isOld = exists == start.exists && (!exists || found == kOld);
    const bool isNew = exists && found == start.fresh;
    EXPECT_TRUE((mayBeOld && isOld) || (mayBeNew && isNew));
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name == kTarget || error.find(name) != std::string::npos) << name;
    }
}

/// One call, the `at`-th, or all from it on.
struct Fault
{
    Act act;
    std::errc error;
    bool onwards;
    int at;
};

/// Saves with that fault. @return false when the save was over before.
bool saveStruck(const Start& start, const Fault& fault)
{
    const TemporaryFolder folder;
    if (start.exists)
        putContent(folder / kTarget, kOld);
    InterceptedFiles files(
        [&fault](int call) {
            const bool now = fault.onwards ? call >= fault.at : call == fault.at;
            return now ? fault.act : Act::passOn;
        },
        fault.error);
    const SaveResult result = saveFile(folder / kTarget, bytesOf(start.fresh), files);
    if (files.calls() < fault.at)
        return false;
    SCOPED_TRACE("size " + std::to_string(start.fresh.size()) + ", call " +
                 std::to_string(fault.at) + ": " + result.error);
    EXPECT_EQ(result.saved, result.error.empty());
    EXPECT_EQ(result.saved, !result.cause);
    EXPECT_TRUE(result.saved || fault.act != Act::halve);
    // Only the last call, which closes the folder, may fail unnoticed.
    EXPECT_FALSE(result.saved && fault.act == Act::fail && fault.at < files.calls());
    EXPECT_FALSE(result.saved && fault.act == Act::damage && fault.onwards && fault.at < 7 &&
                 !start.fresh.empty());

    const bool inPlace = result.error.find("is written") != std::string::npos;
    constexpr std::string_view kAside = "the former file is now \"";
    const std::size_t aside = result.error.find(kAside);
    if (aside == std::string::npos) {
        expectWhole(folder, start, result.saved || inPlace, !result.saved && !inPlace,
                    fault.onwards ? result.error : "");
    } else {
        const std::string name = result.error.substr(aside + kAside.size());
        EXPECT_TRUE(fault.act == Act::moveAside && fault.onwards);
        EXPECT_EQ(contentOf(name.substr(0, name.find('"'))), kOld);
    }
    return true;
}

/// Fails, shortens or damages the k-th call of a save, for every k, once and from then on.
TEST(SafeSave, LeavesTheOldFileOrTheNewOneWhateverCallFails)
{
    constexpr std::pair<Act, std::errc> kFaults[] = {
        {Act::fail, std::errc::permission_denied}, {Act::fail, std::errc::no_space_on_device},
        {Act::fail, std::errc::io_error},          {Act::fail, std::errc::device_or_resource_busy},
        {Act::halve, std::errc::io_error},         {Act::damage, std::errc::io_error},
        {Act::moveAside, std::errc::io_error},
    };
    int strikes = 0;
    for (const Start& start : starts()) {
        for (const auto& [act, error] : kFaults) {
            for (const bool onwards : {false, true}) {
                for (int at = 1; saveStruck(start, {act, error, onwards, at}); ++at)
                    ++strikes;
            }
        }
    }
    EXPECT_GE(strikes, 600);
}

/// What a power failure leaves follows from the order: until the last synchronisation the old name
/// stands for the old bytes, and the new name never for bytes that are not on the disk.
TEST(SafeSave, SynchronisesTheBytesBeforeAndTheNameAfterItReplaces)
{
    const TemporaryFolder folder;
    for (const bool exists : {false, true}) {
        InterceptedFiles files([](int) { return Act::passOn; });
        EXPECT_TRUE(saveFile(folder / kTarget, bytesOf("new"), files).saved);
        EXPECT_EQ(files.journal(), std::string("status openFolder create ") +
                                       (exists ? "copyPermissions " : "") +
                                       "write sync read close replace sync close");
    }
}

TEST(SafeSave, RefusesWhatItMustNotReplaceAndSaysWhy)
{
    const TemporaryFolder folder;
    putContent(folder / "locked", "old");
    std::filesystem::create_directory(folder / "sub");

    // clang-format off
    struct Case { std::filesystem::path path; const char* reason; };
    const Case cases[] = {
        {folder / "locked",                    "locked\": it is protected against writing; the former file is untouched"},
        {folder / "sub",                       "it is no ordinary file"},
        {folder.path() / "",                   "naming"},
        {"",                                   "naming"},
        {folder / std::string_view("a\0b", 3), "naming"},
        {folder / "absent/cut.cel",            "opening the folder"},
    };
    // clang-format on
    for (const Case& c : cases) {
        InterceptedFiles files([](int) { return Act::protect; });
        const SaveResult result = saveFile(c.path, bytesOf("new"), files);
        EXPECT_FALSE(result.saved);
        EXPECT_THAT(result.error, HasSubstr(c.reason));
    }
    EXPECT_EQ(contentOf(folder / "locked"), "old");
}

TEST(ReadFile, ReadsWholeFilesAndNamesWhatItCannot)
{
    const TemporaryFolder folder;
    putContent(folder / "five", "12345");
    // clang-format off
    struct Case { std::filesystem::path path; std::size_t limit; std::string content, error; };
    const Case cases[] = {
        {folder / "five",   5, "12345", ""},
        {folder / "five",   4, "",      "it has 5 bytes, more than the 4 that are allowed"},
        {folder / "absent", 9, "",      "\" cannot be read: "},
        {folder.path(),     9, "",      "it is no ordinary file"},
    };
    // clang-format on
    for (const Case& c : cases) {
        const ReadResult result = readFile(c.path, c.limit);
        const auto bytes = result.file.bytes();
        EXPECT_EQ(result.complete, c.error.empty());
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                  c.content);
        EXPECT_THAT(result.error, HasSubstr(c.error));
    }
    for (const Act act : {Act::fail, Act::halve}) {
        InterceptedFiles files([act](int call) { return call > 1 ? act : Act::passOn; });
        const ReadResult result = readFile(folder / "five", 5, files);
        EXPECT_EQ(result.complete, act == Act::halve);
        EXPECT_EQ(result.file.bytes().size(), act == Act::halve ? 5U : 0U);
    }
}

#if !defined(_WIN32)

TEST(SafeSave, AcceptsEveryNameThatAFileCanHave)
{
    const TemporaryFolder folder;
    const std::string names[] = {"a", std::string(255, 'x'), "sp ace\n", "\xC3\xBC\xE2\x82\xAC"};
    for (const std::string& name : names) {
        ASSERT_TRUE(saveFile(folder / name, bytesOf("new")).saved);
        EXPECT_EQ(contentOf(folder / name), "new");
    }
}

TEST(SafeSave, KeepsPermissionsAndIsHiddenMeanwhile)
{
    const TemporaryFolder folder;
    using std::filesystem::perms;
    for (const perms mode : {perms(0600), perms(0640), perms(0666)}) {
        putContent(folder / "cut", "old");
        std::filesystem::permissions(folder / "cut", mode);
        perms meanwhile = perms::none;
        InterceptedFiles files([&](int) {
            for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
                if (entry.path().filename() != "cut")
                    meanwhile |= entry.status().permissions();
            }
            return Act::passOn;
        });
        EXPECT_TRUE(saveFile(folder / "cut", bytesOf("new"), files).saved);
        EXPECT_EQ(std::filesystem::status(folder / "cut").permissions(), mode);
        EXPECT_EQ(meanwhile & ~mode, perms::none);
    }
}

TEST(SafeSave, FollowsLinksAndReplacesWhatTheyPointTo)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "real");
    putContent(folder / "real/cut", "old");
    std::filesystem::create_symlink("real/cut", folder / "relative");
    std::filesystem::create_symlink(folder / "relative", folder / "chain");
    std::filesystem::create_symlink("real/later", folder / "dangling");
    std::filesystem::create_symlink("circle", folder / "circle");

    // clang-format off
    struct Case { const char* link; const char* file; };
    const Case cases[] = {{"relative", "real/cut"}, {"chain", "real/cut"}, {"dangling", "real/later"}};
    // clang-format on
    for (const Case& c : cases) {
        const SaveResult result = saveFile(folder / c.link, bytesOf(c.link));
        EXPECT_TRUE(result.saved) << result.error;
        EXPECT_TRUE(std::filesystem::is_symlink(folder / c.link));
        EXPECT_EQ(contentOf(folder / c.file), c.link);
    }
    EXPECT_THAT(saveFile(folder / "circle", bytesOf("new")).error, HasSubstr("following"));
}

#else

std::size_t filesIn(const TemporaryFolder& folder)
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

TEST(SafeSave, WaitsForWhoeverHoldsTheFileAndThenLeavesItAlone)
{
    const TemporaryFolder folder;
    const auto path = folder.path() / L"\u6620\u753B \u20AC.cel";
    putContent(path, "old");
    const auto hold = [&path] {
        return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                           nullptr);
    };
    HANDLE held = hold();
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_THAT(saveFile(path, bytesOf("new")).error, HasSubstr("; the former file is untouched"));
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(filesIn(folder), 1U);
    CloseHandle(held);

    held = hold();
    std::thread passing([&held] {
        Sleep(100);
        CloseHandle(held);
    });
    EXPECT_EQ(saveFile(path, bytesOf("new")).error, "");
    passing.join();
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(filesIn(folder), 1U);
}

#endif

} // namespace
} // namespace cel::test

#include "platform/support/object_file.h"

#include "tests/platform/faulty_sqlite.h"
#include "tests/support/sql.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <tuple>

#if !defined(_WIN32)
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace cel::test {
namespace {

using Act = FaultySqlite::Act;
using testing::HasSubstr;

IdStamp idOf(unsigned number)
{
    return {1, 2, number};
}

/// Objects by number, each with the bytes of a text, and their names.
using Content = std::map<unsigned, std::string>;

struct Rows
{
    explicit Rows(const Content& content)
    {
        for (const auto& [number, text] : content) {
            rows.push_back({idOf(number), "T", 1, std::as_bytes(std::span(text))});
            names.push_back({IdStamp(0, 0, 0), "text", number, idOf(number)});
        }
    }
    std::vector<ObjectRow> rows;
    std::vector<ObjectName> names;
};

std::string textOf(const ObjectRow& row)
{
    return {reinterpret_cast<const char*>(row.layers.data()), row.layers.size()};
}

/// What is in a file, and what is wrong with it.
struct Found
{
    Content content;
    std::vector<ObjectName> names;
    ObjectFile::Findings findings;
    StoreMark mark;
    std::string error;

    std::string trouble() const
    {
        std::string all = error;
        for (const ObjectFinding& finding : findings) {
            const std::string id(finding.object.asString().view());
            all += id + (id.empty() ? "" : " ") + finding.className + ": " + finding.text + "\n";
        }
        return all;
    }
};

Found contentOfStore(const std::filesystem::path& path)
{
    Found found;
    const auto file = openObjectFile(path, found.error);
    if (!file)
        return found;
    file->readAll(
        found.names, [&](const ObjectRow& row) { found.content[row.id.word(2)] = textOf(row); },
        found.findings, found.error);
    found.mark = file->mark();
    return found;
}

StoreMark create(const std::filesystem::path& path, const Content& content)
{
    const Rows rows(content);
    StoreMark mark;
    std::string error;
    EXPECT_TRUE(createObjectFile(path, rows.rows, rows.names, mark, error)) << error;
    return mark;
}

/// Saves as an editor does that read the file under that mark. @return what went wrong.
std::string replace(const std::filesystem::path& path, const Content& content,
                    const StoreMark& seen = {})
{
    const Rows rows(content);
    std::string error;
    const auto file = openObjectFile(path, error);
    if (file)
        file->replaceAll(rows.rows, rows.names, seen, error);
    return error;
}

std::size_t filesIn(const TemporaryFolder& folder)
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

/// Temporary folders lie in memory, where there is such a thing: much here is done a thousand
/// times.
const EnvironmentVariable kPlace("TMPDIR", std::filesystem::is_directory("/dev/shm")
                                               ? "/dev/shm"
                                               : std::filesystem::temp_directory_path());

const Content kOld = {{1, "one"}, {2, "two"}, {3, std::string(20'000, '3')}};
const Content kNew = {{1, "uno"}, {3, std::string(20'000, '3')}, {4, std::string(30'000, '4')}};

TEST(ObjectFile, HoldsWhatWasSavedLastAndLeavesNothingBesideIt)
{
    const TemporaryFolder folder;
#if defined(_WIN32)
    const auto path = folder / "name #%41.celdb"; // there, no name holds a question mark
#else
    const auto path = folder / "na?me #%41.celdb";
#endif
    const StoreMark mark = create(path, kOld);
    EXPECT_EQ(contentOfStore(path).content, kOld);
    EXPECT_EQ(replace(path, kNew, mark), "");
    const Found found = contentOfStore(path);
    EXPECT_EQ(found.content, kNew);
    EXPECT_EQ(found.names, Rows(kNew).names);
    EXPECT_EQ(found.mark.store, mark.store);
    EXPECT_EQ(found.trouble(), "");
    EXPECT_EQ(filesIn(folder), 1U);
    std::string error;
    StoreMark ignored;
    EXPECT_FALSE(createObjectFile(path, {}, {}, ignored, error));
    EXPECT_THAT(error, HasSubstr("there is something of that name by now"));
    EXPECT_EQ(filesIn(folder), 1U);
}

TEST(ObjectFile, RefusesWhatIsNoneOfItsOwnAndNamesIt)
{
    for (const TableRow& c : table("stores", "refused")) {
        SCOPED_TRACE(c.place);
        const TemporaryFolder folder;
        const auto path = folder / "file";
        if (c[1] == "folder")
            std::filesystem::create_directory(path);
        if (c[1] == "text")
            putContent(path, c[2]);
        if (c[1] == "store sql")
            create(path, kOld);
        if (c[1].ends_with("sql"))
            runSql(path, c[2]);
        const std::string before = c[1] == "folder" ? "" : contentOf(path);
        EXPECT_THAT(contentOfStore(path).error, HasSubstr(c[3]));
        EXPECT_THAT(replace(path, kNew),
                    testing::StartsWith("\"" + path.string() + "\" cannot be opened: "));
        EXPECT_EQ(c[1] == "folder" ? "" : contentOf(path), before);
    }
}

TEST(ObjectFile, NamesDamagedRowsAndReadsTheRest)
{
    for (const TableRow& c : table("stores", "damaged")) {
        SCOPED_TRACE(c.place);
        const TemporaryFolder folder;
        create(folder / "file", kOld);
        runSql(folder / "file", c[0]);
        Content readable = kOld;
        if (!c[1].empty())
            readable.erase(static_cast<unsigned>(c.integer(1)));
        const Found found = contentOfStore(folder / "file");
        EXPECT_EQ(found.content, readable);
        EXPECT_EQ(found.trouble(), c[2] + "\n");
    }
}

TEST(ObjectFile, KeepsRowsThatItCannotReadUnlessTheCallerComesFromElsewhere)
{
    for (const bool fromThere : {true, false}) {
        const TemporaryFolder folder;
        const StoreMark mark = create(folder / "file", kOld);
        runSql(folder / "file", "UPDATE object SET layers = x'00' WHERE number = 2");
        EXPECT_EQ(replace(folder / "file", kNew, fromThere ? mark : StoreMark()), "");
        const Found found = contentOfStore(folder / "file");
        EXPECT_EQ(found.content, kNew);
        EXPECT_EQ(found.findings.size(), fromThere ? 1U : 0U);
    }
}

TEST(ObjectFile, SavesNothingOverWhatAnotherHasSaved)
{
    const TemporaryFolder folder;
    const auto path = folder / "file";
    const StoreMark mark = create(path, kOld);
    const std::string before = contentOf(path);
    EXPECT_EQ(replace(path, kNew, mark), "");
    EXPECT_THAT(replace(path, kOld, mark),
                HasSubstr("another program has saved to it since it was read; it is as it was"));
    EXPECT_EQ(contentOfStore(path).content, kNew);
    EXPECT_EQ(replace(path, kOld), ""); // comes from elsewhere and means to overwrite
    EXPECT_EQ(contentOfStore(path).content, kOld);

    // A copy that is put back and saved to is another state, however often that was.
    const StoreMark seen = contentOfStore(path).mark;
    putContent(path, before);
    EXPECT_EQ(replace(path, kNew, mark), "");
    EXPECT_EQ(replace(path, kOld, contentOfStore(path).mark), "");
    EXPECT_THAT(replace(path, kNew, seen),
                HasSubstr("it is a copy of another state, or another program has saved to it"));

    runSql(path, "UPDATE store SET names = 9");
    EXPECT_THAT(replace(path, kNew, seen), HasSubstr("nobody can tell what has been saved to it"));
    EXPECT_EQ(replace(path, kNew, contentOfStore(path).mark), "");
    runSql(path, "UPDATE store SET names = 9");
    EXPECT_EQ(replace(path, kNew), "");
    EXPECT_EQ(contentOfStore(path).trouble(), "");
}

TEST(ObjectFile, DoesNotWriteWhatIsTheSameAlready)
{
    const TemporaryFolder folder;
    const auto path = folder / "file";
    Content large = kOld;
    large[9] = std::string(4'000'000, '9');
    const StoreMark mark = create(path, large);
    std::uintmax_t log = 0;
    {
        std::string error;
        const auto file = openObjectFile(path, error);
        const auto reader = openObjectFile(path, error); // keeps the log where it is
        large[1] = "uno";
        const Rows rows(large);
        EXPECT_TRUE(file->replaceAll(rows.rows, rows.names, mark, error)) << error;
        log = std::filesystem::file_size(path.string() + "-wal");
    }
    EXPECT_EQ(contentOfStore(path).content, large);
    EXPECT_GT(log, 0U);
    EXPECT_LT(log, 60'000U);
}

// ---- faults -----------------------------------------------------------------------------------

/// Either whole content, found without any trouble.
testing::AssertionResult isOldOrNew(const Found& found, bool mustBeNew)
{
    if (!found.trouble().empty())
        return testing::AssertionFailure() << found.trouble();
    const bool isNew = found.content == kNew && found.names == Rows(kNew).names;
    const bool isOld = found.content == kOld && found.names == Rows(kOld).names;
    if (isNew || (isOld && !mustBeNew))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the content is mixed or lost";
}

/// Saves the new content, into a new file when there is no mark. @return what went wrong.
std::string saveNew(const std::filesystem::path& path, const StoreMark& mark)
{
    if (mark.store.valid())
        return replace(path, kNew, mark);
    const Rows rows(kNew);
    StoreMark made;
    std::string error;
    createObjectFile(path, rows.rows, rows.names, made, error);
    return error;
}

/// Saves the new content on a disk whose `at`-th call fails, or all from it on.
/// @return what went wrong, and how many calls there were.
std::pair<std::string, int> saveStruck(const std::filesystem::path& path, const StoreMark& mark,
                                       Act act, int at, bool onwards)
{
    const FaultySqlite disk(
        [=](int call) { return (onwards ? call >= at : call == at) ? act : Act::passOn; });
    const std::string error = saveNew(path, mark);
    return {error, disk.calls()};
}

TEST(ObjectFile, HoldsTheOldOrTheNewWhateverCallFails)
{
    int faults = 0;
    int named = 0; // as what they were
    for (const Act act : {Act::fail, Act::full, Act::shorten}) {
        for (const bool onwards : {false, true}) {
            for (int at = 1, calls = at; at <= calls; ++at, ++faults) {
                SCOPED_TRACE("call " + std::to_string(at) + (onwards ? " on" : ""));
                const TemporaryFolder folder;
                const StoreMark mark = create(folder / "file", kOld);
                std::string error;
                std::tie(error, calls) = saveStruck(folder / "file", mark, act, at, onwards);
                const Found found = contentOfStore(folder / "file");
                ASSERT_TRUE(isOldOrNew(found, error.empty())) << error;
                EXPECT_TRUE(error.empty() || error.find((folder / "file").string()) == 1) << error;
                named += error.find("the disk is full; it is as it was") != error.npos ? 1 : 0;
                EXPECT_EQ(replace(folder / "file", kNew, found.mark), "");
            }
        }
    }
    EXPECT_GE(faults, 100);
    EXPECT_GE(named, 10);
}

TEST(ObjectFile, AppearsWholeOrNotAtAllWhateverCallFails)
{
    for (const bool onwards : {false, true}) {
        for (int at = 1, calls = at; at <= calls; ++at) {
            const TemporaryFolder folder;
            std::string error;
            std::tie(error, calls) = saveStruck(folder / "file", {}, Act::full, at, onwards);
            EXPECT_TRUE(error.empty() ? isOldOrNew(contentOfStore(folder / "file"), true)
                                      : testing::AssertionResult(filesIn(folder) == 0))
                << error;
        }
    }
}

/// Wherever a file ends too early or a bit turns over, what is read without any finding is what was
/// written.
TEST(ObjectFile, NoticesEveryLossAndEveryBitThatMatters)
{
    const TemporaryFolder folder;
    create(folder / "file", kOld);
    const std::string whole = contentOf(folder / "file");
    const auto isNoticed = [&folder](const std::string& damaged) {
        putContent(folder / "damaged", damaged);
        const Found found = contentOfStore(folder / "damaged");
        const bool noticed = !found.trouble().empty();
        EXPECT_TRUE(noticed || isOldOrNew(found, false));
        return noticed;
    };
    for (std::size_t size = 0; size < whole.size(); size += 1021)
        EXPECT_TRUE(isNoticed(whole.substr(0, size))) << size;
    int noticed = 0;
    for (std::size_t byte = 0; byte < whole.size(); byte += byte < 200 ? 1 : 29) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        std::string damaged = whole;
        damaged[byte] = static_cast<char>(damaged[byte] ^ 1 << byte % 8);
        noticed += isNoticed(damaged) ? 1 : 0;
    }
    EXPECT_GT(noticed, 500);
}

TEST(ObjectFile, ExaminesItsStructureToTheLastPage)
{
    const TemporaryFolder folder;
    create(folder / "file", kOld);
    ObjectFile::Findings findings;
    std::string error;
    openObjectFile(folder / "file", error)->examine(findings);
    EXPECT_TRUE(findings.empty());
    runSql(folder / "file", "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = 2 "
                            "WHERE name = 'sqlite_autoindex_object_1'");
    const auto file = openObjectFile(folder / "file", error);
    ASSERT_TRUE(file) << error;
    file->examine(findings);
    EXPECT_FALSE(findings.empty());
}

#if !defined(_WIN32)

/// Runs work in a process of its own. @return its exit code, 128 and the signal that ended it.
template <class Work>
int inAnotherProcess(const Work& work)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Saves the new content in a process that is killed at its `at`-th call, if it gets so far.
int saveKilled(const std::filesystem::path& path, const StoreMark& mark, int at)
{
    return inAnotherProcess([&] {
        const FaultySqlite disk([at](int call) {
            if (call == at)
                kill(getpid(), SIGKILL);
            return Act::passOn;
        });
        return saveNew(path, mark).empty() ? 0 : 1;
    });
}

TEST(ObjectFile, HoldsTheOldOrTheNewWhenTheProcessIsKilledAtAnyCall)
{
    for (const bool exists : {true, false}) {
        int points = 0;
        bool completed = false;
        for (int at = 1; !completed; ++at, ++points) {
            SCOPED_TRACE("killed at call " + std::to_string(at));
            const TemporaryFolder folder;
            const auto path = folder / "file";
            const StoreMark mark = exists ? create(path, kOld) : StoreMark();
            const int code = saveKilled(path, mark, at);
            completed = code == 0;
            EXPECT_TRUE(completed || code == 128 + SIGKILL) << code;
            if (exists || std::filesystem::exists(path))
                ASSERT_TRUE(isOldOrNew(contentOfStore(path), completed || !exists));
            else
                EXPECT_FALSE(completed);
        }
        EXPECT_GT(points, 10);
    }
}

TEST(ObjectFile, OfTwoProcessesNoneLosesWhatTheOtherSaved)
{
    const TemporaryFolder folder;
    const auto path = folder / "file";
    create(path, {{0, "0"}});
    constexpr int kEach = 20;
    // Each adds one to a number until it has done so often enough, reading anew after a refusal.
    const auto count = [&path] {
        for (int added = 0; added < kEach;) {
            const Found found = contentOfStore(path);
            if (!found.trouble().empty())
                return 2;
            const int next = std::stoi(found.content.at(0)) + 1;
            added += replace(path, {{0, std::to_string(next)}}, found.mark).empty() ? 1 : 0;
        }
        return 0;
    };
    const pid_t other = fork();
    if (other == 0)
        _exit(count());
    EXPECT_EQ(count(), 0);
    int status = 0;
    waitpid(other, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(contentOfStore(path).content.at(0), std::to_string(2 * kEach));
}

TEST(ObjectFile, IsReadButNotWrittenWhereNothingMayBeChanged)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs the right to become somebody else";
    // clang-format off
    struct Case { mode_t folder; mode_t file; };
    const Case cases[] = {{0755, 0444}, {0755, 0644}, {0777, 0444}};
    // clang-format on
    for (const Case& c : cases) {
        const TemporaryFolder folder;
        const auto path = folder / "file";
        const StoreMark mark = create(path, kOld);
        ASSERT_EQ(chmod(folder.path().c_str(), c.folder) + chmod(path.c_str(), c.file), 0);
        const int code = inAnotherProcess([&] {
            constexpr uid_t kNobody = 65534;
            if (setgid(kNobody) != 0 || setuid(kNobody) != 0)
                return 3;
            const std::string error = replace(path, kNew, mark);
            const bool read = isOldOrNew(contentOfStore(path), false);
            const bool named = error.find("protected against writing") != std::string::npos;
            return (read ? 0 : 1) + (named ? 0 : 2);
        });
        EXPECT_EQ(code, 0);
        EXPECT_EQ(contentOfStore(path).content, kOld);
        EXPECT_EQ(filesIn(folder), 1U);
    }
}

#endif

} // namespace
} // namespace cel::test

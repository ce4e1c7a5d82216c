#include "platform/support/object_file.h"

#include "tests/platform/faulty_sqlite.h"
#include "tests/support/sql.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#if !defined(_WIN32)
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif
#if defined(__linux__)
#include <sys/mount.h>
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
        for (const ObjectFinding& finding : findings)
            all += std::string(finding.object.asString().view()) + " " + finding.className + ": " +
                   finding.text + "\n";
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

/// A temporary folder in memory, where there is such a thing, for what is done a thousand times.
class MemoryFolder
{
public:
    std::filesystem::path operator/(std::string_view name) const { return folder_ / name; }
    const TemporaryFolder& folder() const { return folder_; }

private:
    static std::filesystem::path place()
    {
        const std::filesystem::path memory("/dev/shm");
        return std::filesystem::is_directory(memory) ? memory
                                                     : std::filesystem::temp_directory_path();
    }

    EnvironmentVariable place_{"TMPDIR", place()};
    TemporaryFolder folder_;
};

const Content kOld = {{1, "one"}, {2, "two"}, {3, std::string(20'000, '3')}};
const Content kNew = {{1, "uno"}, {3, std::string(20'000, '3')}, {4, std::string(30'000, '4')}};

TEST(ObjectFile, HoldsWhatWasSavedLastAndLeavesNothingBesideIt)
{
    const TemporaryFolder folder;
    const auto path = folder / "na?me #%41.celdb";
    const StoreMark mark = create(path, kOld);
    EXPECT_EQ(contentOfStore(path).content, kOld);
    EXPECT_EQ(replace(path, kNew, mark), "");
    const Found found = contentOfStore(path);
    EXPECT_EQ(found.content, kNew);
    EXPECT_EQ(found.names, Rows(kNew).names);
    EXPECT_EQ(found.mark, (StoreMark{mark.store, 2}));
    EXPECT_EQ(found.trouble(), "");
    EXPECT_EQ(filesIn(folder), 1U);
    std::string error;
    StoreMark ignored;
    EXPECT_FALSE(createObjectFile(path, {}, {}, ignored, error));
    EXPECT_THAT(error, HasSubstr("File exists"));
    EXPECT_EQ(filesIn(folder), 1U);
}

TEST(ObjectFile, RefusesWhatIsNoneOfItsOwnAndNamesIt)
{
    // clang-format off
    struct Case { const char* name; std::function<void(const std::filesystem::path&)> make; const char* reason; };
    const auto ours = [](const char* sql) {
        return [sql](const std::filesystem::path& path) { create(path, kOld); runSql(path, sql); };
    };
    const Case cases[] = {
        {"absent",  [](const auto&) {},                                      "No such file"},
        {"folder",  [](const auto& path) { std::filesystem::create_directory(path); }, "it is no ordinary file"},
        {"empty",   [](const auto& path) { putContent(path, ""); },          "it is empty"},
        {"text",    [](const auto& path) { putContent(path, std::string(5000, 'x')); }, "it is no store"},
        {"another application", [](const auto& path) { runSql(path, "CREATE TABLE t (x)"); },
                                                                             "it is a data base of another application"},
        {"later version", ours("PRAGMA user_version = 2"),                   "it was written by a later version of this program (its form is 2, this one knows 1)"},
        {"no version", ours("PRAGMA user_version = 0"),                      "it has the unknown form 0"},
        {"a view for a table", ours("ALTER TABLE object RENAME TO o; CREATE VIEW object AS SELECT * FROM o"),
                                                                             "its tables are not those of a store"},
        {"a trigger", ours("CREATE TRIGGER t AFTER INSERT ON object BEGIN DELETE FROM name; END"),
                                                                             "its tables are not those of a store"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TemporaryFolder folder;
        const auto path = folder / "file";
        c.make(path);
        const auto bytes = [&path] {
            return std::filesystem::is_regular_file(path) ? contentOf(path) : std::string();
        };
        const std::string before = bytes();
        EXPECT_THAT(contentOfStore(path).error, HasSubstr(c.reason));
        EXPECT_THAT(replace(path, kNew),
                    testing::StartsWith("\"" + path.string() + "\" cannot be opened: "));
        EXPECT_EQ(bytes(), before);
    }
}

TEST(ObjectFile, NamesDamagedRowsAndReadsTheRest)
{
    // clang-format off
    struct Case { const char* sql; Content content; const char* trouble; };
    const char* const checksum = "its checksum does not match: it is not what was written\n";
    const std::string second = std::string("1-2-2 T: ") + checksum;
    const Case cases[] = {
        {"UPDATE object SET layers = x'00' WHERE number = 2", {{1, "one"}, {3, kOld.at(3)}}, second.c_str()},
        {"UPDATE object SET revision = 257 WHERE number = 2", {{1, "one"}, {3, kOld.at(3)}}, second.c_str()},
        {"UPDATE object SET class = 'U' WHERE number = 2", {{1, "one"}, {3, kOld.at(3)}},
         "1-2-2 U: its checksum does not match: it is not what was written\n"},
        {"UPDATE object SET layers = 7, class = 3, id = 9 WHERE number = 2", {{1, "one"}, {3, kOld.at(3)}},
         " 3: its checksum does not match: it is not what was written\n"},
        {"DELETE FROM object WHERE number = 2", {{1, "one"}, {3, kOld.at(3)}},
         " : it should hold 3 objects, but 2 were found\n"},
        {"DELETE FROM name WHERE position = 2", kOld, " : it should hold 3 names, but 2 were found\n"},
        {"UPDATE name SET position = 9 WHERE position = 2", kOld,
         "1-2-2 : a name of it is damaged: its checksum does not match: it is not what was written\n"},
        {"UPDATE store SET generation = 9", kOld, " : what the file says of itself is damaged\n"},
        {"DELETE FROM store", kOld, " : what the file says of itself is damaged\n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.sql);
        const MemoryFolder folder;
        create(folder / "file", kOld);
        runSql(folder / "file", c.sql);
        const Found found = contentOfStore(folder / "file");
        EXPECT_EQ(found.content, c.content);
        EXPECT_EQ(found.trouble(), c.trouble);
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
    EXPECT_EQ(replace(path, kNew, mark), "");
    EXPECT_THAT(replace(path, kOld, mark),
                HasSubstr("another program has saved to it since it was read; it is as it was"));
    EXPECT_EQ(contentOfStore(path).content, kNew);
    EXPECT_EQ(replace(path, kOld), ""); // comes from elsewhere and means to overwrite
    EXPECT_EQ(contentOfStore(path).content, kOld);
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

TEST(ObjectFile, HoldsTheOldOrTheNewWhateverCallFails)
{
    int faults = 0;
    for (const Act act : {Act::fail, Act::full, Act::shorten}) {
        for (const bool sticky : {false, true}) {
            for (int at = 1;; ++at, ++faults) {
                SCOPED_TRACE("call " + std::to_string(at) + (sticky ? " on" : ""));
                const MemoryFolder folder;
                const StoreMark mark = create(folder / "file", kOld);
                std::string error;
                int calls = 0;
                {
                    const FaultySqlite disk([&](int call) {
                        const bool now = sticky ? call >= at : call == at;
                        return now ? act : Act::passOn;
                    });
                    error = replace(folder / "file", kNew, mark);
                    calls = disk.calls();
                }
                const Found found = contentOfStore(folder / "file");
                ASSERT_TRUE(isOldOrNew(found, error.empty())) << error;
                EXPECT_TRUE(error.empty() || error.find((folder / "file").string()) == 1) << error;
                EXPECT_EQ(replace(folder / "file", kNew, found.mark), "");
                if (calls < at)
                    break;
            }
        }
    }
    EXPECT_GE(faults, 100);
}

TEST(ObjectFile, AppearsWholeOrNotAtAllWhateverCallFails)
{
    for (const bool sticky : {false, true}) {
        for (int at = 1;; ++at) {
            const MemoryFolder folder;
            const Rows rows(kNew);
            StoreMark mark;
            std::string error;
            bool made = false;
            int calls = 0;
            {
                const FaultySqlite disk([&](int call) {
                    return (sticky ? call >= at : call == at) ? Act::full : Act::passOn;
                });
                made = createObjectFile(folder / "file", rows.rows, rows.names, mark, error);
                calls = disk.calls();
            }
            if (made) {
                EXPECT_TRUE(isOldOrNew(contentOfStore(folder / "file"), true));
            } else {
                EXPECT_EQ(filesIn(folder.folder()), 0U) << error;
            }
            if (calls < at)
                break;
        }
    }
}

TEST(ObjectFile, SurvivesTruncationAtEveryPageAndWithinIt)
{
    const MemoryFolder folder;
    create(folder / "file", kOld);
    const std::string whole = contentOf(folder / "file");
    for (std::size_t size = 0; size < whole.size(); size += 1021) {
        putContent(folder / "cut", whole.substr(0, size));
        EXPECT_NE(contentOfStore(folder / "cut").trouble(), "") << size;
    }
}

/// Whatever bit turns over, what is read without any finding is what was written.
TEST(ObjectFile, NoticesEveryBitThatMatters)
{
    const MemoryFolder folder;
    const Content content = {{1, "one"}, {2, std::string(5'000, '2')}, {3, "three"}};
    create(folder / "file", content);
    const std::string whole = contentOf(folder / "file");
    int noticed = 0;
    for (std::size_t byte = 0; byte < whole.size(); byte += byte < 200 ? 1 : 11) {
        std::string damaged = whole;
        damaged[byte] = static_cast<char>(damaged[byte] ^ 1 << byte % 8);
        putContent(folder / "flipped", damaged);
        const Found found = contentOfStore(folder / "flipped");
        const bool clean = found.trouble().empty();
        noticed += clean ? 0 : 1;
        if (clean) {
            EXPECT_TRUE(found.content == content && found.names == Rows(content).names)
                << "byte " << byte;
        }
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

TEST(ObjectFile, HoldsTheOldOrTheNewWhenTheProcessIsKilledAtAnyCall)
{
    int points = 0;
    bool completed = false;
    for (int at = 1; !completed; ++at, ++points) {
        SCOPED_TRACE("killed at call " + std::to_string(at));
        const MemoryFolder folder;
        const StoreMark mark = create(folder / "file", kOld);
        const int code = inAnotherProcess([&] {
            const FaultySqlite disk([at](int call) {
                if (call == at)
                    kill(getpid(), SIGKILL);
                return Act::passOn;
            });
            return replace(folder / "file", kNew, mark).empty() ? 0 : 1;
        });
        completed = code == 0;
        EXPECT_TRUE(completed || code == 128 + SIGKILL) << code;
        ASSERT_TRUE(isOldOrNew(contentOfStore(folder / "file"), completed));
    }
    EXPECT_GT(points, 30);
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

#if defined(__linux__)

TEST(ObjectFile, KeepsTheOldWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    if (mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=102400") != 0)
        GTEST_SKIP() << "needs the right to mount a small file system";
    const StoreMark mark = create(folder / "file", kOld);
    const std::string error = replace(folder / "file", {{1, std::string(200'000, 'x')}}, mark);
    const Found found = contentOfStore(folder / "file");
    umount(folder.path().c_str());
    EXPECT_THAT(error, HasSubstr("the disk is full; it is as it was"));
    EXPECT_EQ(found.trouble(), "");
    EXPECT_EQ(found.content, kOld);
}

#endif

} // namespace
} // namespace cel::test

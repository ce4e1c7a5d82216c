// Runs the built command line as a shell does; the command lines and what they answer are in
// commands.txt, levels.txt and pipes.txt.
#include "interchange/cel_store.h"
#include "interchange/cel_stream.h"
#include "interchange/cut_levels.h"
#include "tests/support/level_notation.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <sys/wait.h>

namespace {

using cel::test::contentOf;
using cel::test::EnvironmentVariable;
using cel::test::putContent;
using cel::test::TemporaryFolder;
using testing::HasSubstr;

/// A command line and what is expected of it.
struct Case
{
    int line = 0; ///< of the table
    std::string command;
    int exitCode = 0;
    std::vector<std::string> output; ///< pieces of the standard output
    std::vector<std::string> absent; ///< what must not be in it
    std::vector<std::string> errors; ///< pieces of the standard error
    std::string exact;               ///< the whole standard output; empty when pieces will do
};

/// Reads the table: "$ command", then "? exit code", "> piece", "- absent", "! piece of the
/// errors", "= line of the whole output". Other lines are for the reader.
std::vector<Case> casesIn(const std::string& table)
{
    std::vector<Case> cases;
    std::istringstream lines(table);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const char mark = line.empty() ? '#' : line[0];
        const std::string text = line.size() > 2 ? line.substr(2) : "";
        if (mark == '$') {
            cases.push_back({number, text, 0, {}, {}, {}, {}});
            continue;
        }
        if (cases.empty())
            continue;
        Case& current = cases.back();
        if (mark == '?')
            current.exitCode = std::stoi(text);
        else if (mark == '>')
            current.output.push_back(text);
        else if (mark == '-')
            current.absent.push_back(text);
        else if (mark == '!')
            current.errors.push_back(text);
        else if (mark == '=')
            current.exact += text + "\n";
    }
    return cases;
}

struct Answer
{
    int exitCode;
    std::string out;
    std::string err;
};

/// Where the tool is: that of this build, or of another that is to answer in the same way.
std::string toolFolder()
{
    const char* const other = std::getenv("CEL_TOOL_FOLDER");
    return other ? other : CEL_TOOL_FOLDER;
}

/// A folder in which commands run, with the built tool first on the search path.
class Shell
{
public:
    Shell()
        : path_("PATH", toolFolder() + ":" + std::getenv("PATH"))
        , config_("CEL_CONFIG_DIR", folder_ / "config")
    {
    }

    const TemporaryFolder& folder() const { return folder_; }

    Answer run(const std::string& command) const
    {
        putContent(folder_ / "command", "cd '" + folder_.path().string() + "'\n" + command + "\n");
        const auto file = [this](const char* name) {
            return "'" + (folder_ / name).string() + "'";
        };
        const int status = std::system(
            ("sh " + file("command") + " >" + file("out") + " 2>" + file("err")).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(folder_ / "out"),
                contentOf(folder_ / "err")};
    }

private:
    TemporaryFolder folder_;
    EnvironmentVariable path_;
    EnvironmentVariable config_;
};

/// A cut whose tracks break what `check` looks for.
void saveDamagedCut(const std::filesystem::path& path)
{
    cel::Cut cut;
    cut.rate = {25, 1, false};
    cut.startFrame = 90000;
    const Cookie lake = cut.materials.add({kVideoCookie, "LAKE", "TAPE1", ""});
    const Cookie unknown(kVideoCookie, 7, 0, 0);

    const Kt::Ptr<Cel> gap = cut.addTrack(kVideoCookie);
    for (int i = 0; i < 3; ++i)
        gap->appendEventPair(i == 1 ? unknown : lake, 10, 2, -1);
    gap->getChanEventPtr(4)->edit_time(4.4);
    gap->getChanEventPtr(4)->strip_time(10.4);

    const Kt::Ptr<Cel> offGrid = cut.addTrack(kVideoCookie);
    offGrid->editChannelName("V1");
    offGrid->set_resolution(0.05);
    for (int i = 0; i < 25; ++i)
        offGrid->appendEventPair(lake, 10, 0.51, -1);

    // Reading would put this one in order, unless asked not to.
    const Kt::Ptr<Cel> overlap = cut.addTrack(kVideoCookie);
    overlap->appendEventPair(lake, 10, 2.4, -1);
    overlap->appendEventPair(lake, 10, 2, -1);
    overlap->getChanEventPtr(2)->edit_time(2);
    overlap->getChanEventPtr(3)->edit_time(4);
    std::string error;
    ASSERT_TRUE(cel::saveCut(cut, path, cel::SaveGuard::force, error)) << error;
}

/// A store with a track that something belongs to, one with an envelope that breaks what `check`
/// looks for, and one without.
void saveCutWithObjects(const std::filesystem::path& path)
{
    cel::Cut cut;
    cut.rate = {25, 1, false};
    cut.startFrame = 90000;
    const Kt::Ptr<Cel> track = cut.addTrack(kVideoCookie);
    track->appendEventPair(cut.materials.add({kVideoCookie, "LAKE", "TAPE1", ""}), 10, 4, -1);
    const IdStamp object(1, 1, 1);
    cut.objects.put(object, Kt::Ptr<Cel>(new Cel(0, 0.04)));
    cut.objects.name({track->editChannelId(), "levels", 0}, object);

    const Kt::Ptr<Cel> sound = cut.addTrack(kAudioCookie);
    sound->appendEventPair(cut.materials.add({kAudioCookie, "GULLS", "TAPE2", ""}), 10, 4, -1);
    sound->appendEventPair(audio_black, 0, 2, -1);
    sound->getChanEventPtr(2)->edit_time(5);
    AudLevelsCel levels(0.04);
    levels.getNodeStore().insert_noAdjust(
        cel::test::levelNodes("0=nan 1=-0.5/9 2=0.5] 2.0000005=0.5] nan=0.5"));
    cel::setLevels(cut, *sound, levels);
    cut.addTrack(kAudioCookie)->appendEventPair(audio_black, 0, 4, -1);
    std::string error;
    ASSERT_TRUE(cel::saveStoredCut(cut, path, cel::SaveGuard::refuse, error)) << error;
}

void expectAnswersOf(const char* table)
{
    const Shell shell;
    for (const auto& entry : std::filesystem::directory_iterator(CEL_TOOL_TESTS "/files"))
        std::filesystem::copy(entry, shell.folder() / entry.path().filename().string());
    saveDamagedCut(shell.folder() / "damaged.cel");
    saveCutWithObjects(shell.folder() / "levels.celdb");

    const std::vector<Case> cases =
        casesIn(contentOf(std::filesystem::path(CEL_TOOL_TESTS) / table));
    ASSERT_GT(cases.size(), 1U);
    for (const Case& c : cases) {
        SCOPED_TRACE(table + (":" + std::to_string(c.line) + ": " + c.command));
        const Answer answer = shell.run(c.command);
        EXPECT_EQ(answer.exitCode, c.exitCode) << answer.out << answer.err;
        for (const std::string& piece : c.output)
            EXPECT_THAT(answer.out, HasSubstr(piece));
        for (const std::string& piece : c.absent)
            EXPECT_THAT(answer.out, testing::Not(HasSubstr(piece)));
        for (const std::string& piece : c.errors)
            EXPECT_THAT(answer.err, HasSubstr(piece));
        EXPECT_EQ(answer.err.empty(), c.errors.empty()) << answer.err;
        EXPECT_TRUE(c.exact.empty() || answer.out == c.exact) << answer.out;
    }
}

TEST(Tool, AnswersEachCommandLineAsTheTableSays)
{
    expectAnswersOf("commands.txt");
}

TEST(Tool, TakesLevelEnvelopesAlongAsTheTableSays)
{
    expectAnswersOf("levels.txt");
}

TEST(Tool, ReadsFromPipesAsTheTableSays)
{
    expectAnswersOf("pipes.txt");
}

} // namespace

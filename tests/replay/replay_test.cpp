#include "cel/inspect.h"
#include "platform/support/CookieJar.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tools/cel/replay_script.h"
#include "tools/cel/replay_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using cel::replay::runLevelScript;
using cel::replay::runScript;
using cel::test::contentOf;
using cel::test::table;
using cel::test::TableRow;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> scriptNames()
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(CEL_REPLAY_SCRIPTS))
        if (entry.path().extension() == ".jsonl")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class Script : public testing::TestWithParam<std::string>
{
protected:
    // A script may change settings of the process, which a process of its own would forget.
    ~Script() override
    {
        CookieJar::instance().setDefaultCookieVersion(0);
        cel::setOrderRepair(true);
    }
};

TEST_P(Script, PrintsWhatWasReviewed)
{
    const fs::path path = fs::path(CEL_REPLAY_SCRIPTS) / GetParam();
    std::ifstream script(path.string() + ".jsonl", std::ios::binary);
    std::ostringstream out, problems;
    EXPECT_EQ(runScript(script, GetParam(), out, problems), cel::tool::kFine);
    EXPECT_EQ(problems.str(), "");
    EXPECT_EQ(out.str(), contentOf(path.string() + ".expected"));
}

INSTANTIATE_TEST_SUITE_P(Replay, Script, testing::ValuesIn(scriptNames()),
                         [](const auto& row) { return row.param; });

/// Four lines that name a track, a handle, an event and print one line; then the line in question.
std::string problemWith(const std::string& line)
{
    std::istringstream script("// a script\n"
                              "[\"cel\", \"a\", 0.25]\n"
                              "[\"handle\", \"h\", \"a\", 0]\n"
                              "[\"newEvent\", \"e\", {}]\r\n"
                              "[\"find\", \"a\", 0, 7]\n"
                              "\n" +
                              line + "\n[\"find\", \"a\", 1, 7]\n");
    std::ostringstream out, problems;
    const int code = runScript(script, "script", out, problems);
    EXPECT_EQ(code, cel::tool::kUsage);
    EXPECT_EQ(out.str(), "find a -1\n") << "only what stands before the line is carried out";
    const std::string text = problems.str();
    const std::string place = "script:7: ";
    EXPECT_EQ(text.substr(0, place.size()), place);
    return text.substr(std::min(place.size(), text.size()));
}

TEST(Replay, NamesTheLineThatIsNoOperationAndStops)
{
    for (const TableRow& row : table("replay_problems", "tracks"))
        EXPECT_EQ(problemWith(row[1]), row[0] + "\n") << row.place;
    EXPECT_EQ(problemWith(std::string(65, '[')), "nested more than 64 deep\n");
    EXPECT_EQ(problemWith('"' + std::string(cel::replay::kLongestLine, 'x') + '"'),
              "longer than 1048576 bytes\n");
}

TEST(Replay, NamesTheLineThatIsNoOperationOnEnvelopes)
{
    for (const TableRow& row : table("replay_problems", "envelopes")) {
        SCOPED_TRACE(row.place);
        std::istringstream script("# a script\n[\"env\", \"a\", 1]\n" + row[1] + "\n");
        std::ostringstream out, problems;
        EXPECT_EQ(runLevelScript(script, "script", out, problems), cel::tool::kUsage);
        EXPECT_EQ(problems.str(), "script:3: " + row[0] + "\n");
        EXPECT_EQ(out.str(), "");
    }
}

TEST(Replay, TakesTheDeepestAndTheLongestLine)
{
    const std::string deepest = "[\"unpack\", \"a\", 4, " + std::string(63, '[') +
                                std::string(63, ']') + "]"; // refused only for what it says
    EXPECT_EQ(problemWith(deepest), "expected a text, found an array\n");

    std::string longest = "[\"channelName\", \"a\", \"";
    longest.append(cel::replay::kLongestLine - longest.size() - 2, 'x');
    std::istringstream script("[\"cel\", \"a\", 0.25]\n" + longest + "\"]");
    std::ostringstream out, problems;
    EXPECT_EQ(runScript(script, "script", out, problems), cel::tool::kFine);
    EXPECT_EQ(problems.str(), "");
}

TEST(Replay, SaysWhenItsOutputGoesNowhere)
{
    std::istringstream script("[\"cel\", \"a\", 0.25]\n[\"times\", \"a\"]\n");
    std::ostringstream out, problems;
    out.setstate(std::ios::failbit);
    EXPECT_EQ(runScript(script, "script", out, problems), cel::tool::kUnwritable);
    EXPECT_EQ(problems.str(), "script:1: the output cannot be written\n");
}

} // namespace

#include "cel/inspect.h"
#include "platform/support/CookieJar.h"
#include "tools/cel/replay_script.h"
#include "tools/cel/replay_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using cel::replay::runLevelScript;
using cel::replay::runScript;
namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

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
    // clang-format off
    struct Case { std::string line, problem; };
    const std::string deepest(64, '[');
    const Case cases[] = {
        {R"(["fly", "a"])", "unknown operation \"fly\""},
        {R"(["cel"])", "\"cel\" takes 2 arguments, not 0"},
        {R"(["get", "a", 0])", "\"get\" takes 3 to 4 arguments, not 2"},
        {R"([])", "an operation begins with its name"},
        {R"([1])", "expected a text, found 1"},
        {R"({"find": 1})", "expected an array, found an object"},
        {R"(["find", "b", 0, 7])", "no track is named \"b\""},
        {R"(["assign", "b", "a"])", "no track is named \"b\""},
        {R"(["h", "k", "++"])", "no handle is named \"k\""},
        {R"(["showEvent", "f"])", "no event is named \"f\""},
        {R"(["find", "a", "zero", 7])", "expected a number, found \"zero\""},
        {R"(["find", "a", null, 7])", "expected a number, found null"},
        {R"(["find", 1, 0, 7])", "expected a text, found 1"},
        {R"(["event", "a", 0.5])", "expected a whole number, found 0.5"},
        {R"(["event", "a", "nan"])", "expected a whole number, found \"nan\""},
        {R"(["find", "a", 0, 4294967296])", "expected a number of 32 bits, found 4294967296"},
        {R"(["find", "a", 0, 18446744073709551615])", "expected a number of 32 bits, found 1.8446744073709552e+19"},
        {R"(["buildFrom", "a", 65536, []])", "expected a number from 0 to 65535, found 65536"},
        {R"(["defaultVersion", 256])", "expected a number of 8 bits, found 256"},
        {R"(["ids", 2])", "expected 0 or 1, found 2"},
        {R"(["set", "a", 0, "tempo", 1])", "unknown field \"tempo\""},
        {R"(["newEvent", "f", {"tempo": 1}])", "unknown field \"tempo\""},
        {R"(["newEvent", "f", {"ramp": [1]}])", "a ramp is [quarter frames, curve]"},
        {R"(["append", "a", [86, 1, 0], 0, 1, 0])", "material is [type, int1, int2, int3] or with the version behind"},
        {R"(["append", "a", [256, 1, 0, 0], 0, 1, 0])", "expected a number of 8 bits, found 256"},
        {R"(["get", "a", 0, "pitch"])", "unknown field \"pitch\""},
        {R"(["h", "h", "jump"])", "unknown operation of handles \"jump\""},
        {R"(["h", "h", "+"])", "\"+\" takes 1 argument, not 0"},
        {R"(["h", "h", "compare", "<>", "h"])", "unknown comparison \"<>\""},
        {R"(["h", "h", "direct", "x"])", "unknown access \"x\""},
        {R"(["ev", "e", "bend", "e"])", "unknown operation of events \"bend\""},
        {R"(["ev", "e", "quantise", "q"])", "\"quantise\" takes 2 arguments, not 1"},
        {R"(["num", "sqrt", 2])", "unknown function \"sqrt\""},
        {R"(["num", "resRound", 2])", "\"resRound\" takes 2 arguments, not 1"},
        {R"(["insert", "a", "b", 0, 1, 0])", "no track is named \"b\""},
        {R"(["insert", "a", null, 0, 1, 0, [["g"]]])", "an identifier and its copy's make a pair"},
        {R"(["blackEnds", "b", "a", 3, "SV"])", "a type of material is one letter"},
        {R"(["text", "a", "secam"])", "unknown television standard \"secam\""},
        {R"(["unpack", "a", 4, [["half", 1]]])", "unknown item \"half\""},
        {R"(["unpack", "a", 4, [[]]])", "an item of a layer begins with its kind"},
        {R"(["unpack", "a", 4, [["char"]]])", "\"char\" takes 1 argument, not 0"},
        {R"(["unpack", "a", 4, [["bytes", "0g"]]])", "bytes are pairs of hexadecimal digits"},
        {R"(["unpack", "a", 4, [["bytes", "123"]]])", "bytes are pairs of hexadecimal digits"},
        {R"(["unpack", "a", 4, [["bytes", "+1"]]])", "bytes are pairs of hexadecimal digits"},
        {R"(["find", "a", 0, 7)", "no JSON from column 19 on"},
        {R"(["find", "a", 1e999, 7])", "no JSON from column 19 on"},
        {"[\"find\", \"a\xff\", 0, 7]", "no JSON from column 12 on"},
        {deepest + "[", "nested more than 64 deep"},
        {'"' + std::string(cel::replay::kLongestLine, 'x') + '"', "longer than 1048576 bytes"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line.substr(0, 100));
        EXPECT_EQ(problemWith(c.line), c.problem + "\n");
    }
}

TEST(Replay, NamesTheLineThatIsNoOperationOnEnvelopes)
{
    // clang-format off
    struct Case { std::string line, problem; };
    const Case cases[] = {
        {R"(["cel", "a", 1])", "unknown operation \"cel\""},
        {R"(// a comment of the other language)", "no JSON from column 1 on"},
        {R"(["env", "b"])", "\"env\" takes 2 arguments, not 1"},
        {R"(["dump", "b"])", "no envelope is named \"b\""},
        {R"(["insert", "a", "b", 0, 1, 0])", "no envelope is named \"b\""},
        {R"(["node", "a", 1, "loud", 0, 0])", "expected a number, found \"loud\""},
        {R"(["dummy", "a", 2])", "expected 0 or 1, found 2"},
        {R"(["clips", "a", [[0, 1]]])", "a section is [start, end, black]"},
        {R"(["unpack", "a", 1, 3, "000"])", "bytes are pairs of hexadecimal digits"},
        {R"(["unpack", "a", 1, 300, ""])", "expected a number of 8 bits, found 300"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        std::istringstream script("# a script\n[\"env\", \"a\", 1]\n" + c.line + "\n");
        std::ostringstream out, problems;
        EXPECT_EQ(runLevelScript(script, "script", out, problems), cel::tool::kUsage);
        EXPECT_EQ(problems.str(), "script:3: " + c.problem + "\n");
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

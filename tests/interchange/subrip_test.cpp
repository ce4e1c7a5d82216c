#include "interchange/subrip.h"
#include "tests/interchange/cue_text.h"
#include "tests/interchange/cut_text.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

SubtitleImport read(std::string_view text)
{
    std::string error;
    auto result = readSubRip(text, error);
    EXPECT_TRUE(result) << error;
    return result ? std::move(*result) : SubtitleImport();
}

/// A file and the cues and losses that must come of it.
struct Case
{
    const char* name;
    std::string file;
    std::string cues;
    std::string losses;
};

void expectRead(const Case& c)
{
    SCOPED_TRACE(c.name);
    const SubtitleImport result = read(c.file);
    EXPECT_EQ(describe(result.file), c.cues);
    EXPECT_EQ(kindsOf(result.losses), c.losses) << describe(result.losses);
}

const std::string kTimes = "00:00:01,000 --> 00:00:02,500\n";

TEST(SubRip, FindsTheCuesHoweverTheFileIsKept)
{
    const std::string later = "\n2\n00:00:03,000 --> 00:00:04,000\nB\n";
    // clang-format off
    const Case cases[] = {
        {"as it should be",          "1\n" + kTimes + "A\nA2\n" + later,   "[1] 1-2.5 A|A2 / [2] 3-4 B", ""},
        {"CR LF",                    "1\r\n00:00:01,000 --> 00:00:02,500\r\nA\r\n\r\n", "[1] 1-2.5 A", ""},
        {"CR alone",                 "1\r00:00:01,000 --> 00:00:02,500\rA\r\r", "[1] 1-2.5 A", ""},
        {"without a last line end",  "1\n" + kTimes + "A",                 "[1] 1-2.5 A", ""},
        {"no counter",               kTimes + "A\n" + later,               "1-2.5 A / [2] 3-4 B", ""},
        {"no blank line between",    "1\n" + kTimes + "A" + later,         "[1] 1-2.5 A / [2] 3-4 B", ""},
        {"a blank line within",      "1\n" + kTimes + "A\n\nA2\n" + later, "[1] 1-2.5 A|A2 / [2] 3-4 B", "2 blank"},
        {"blank lines above text",   "1\n" + kTimes + "\n\nA\n" + later,   "[1] 1-2.5 A / [2] 3-4 B", ""},
        {"text of digits",           "1\n" + kTimes + "42\n" + later,      "[1] 1-2.5 42 / [2] 3-4 B", ""},
        {"text ends in digits",      "1\n" + kTimes + "A\n42\n" + later,   "[1] 1-2.5 A|42 / [2] 3-4 B", ""},
        {"digits, no counter below", "1\n" + kTimes + "42\n\n" + kTimes + "B", "[1] 1-2.5 42 / 1-2.5 B", ""},
        {"a counter left over",      "1\n" + kTimes + "A\n\n2\n",          "[1] 1-2.5 A", "5 counter"},
        {"counter beyond all types", "99999999999999999999999\n" + kTimes + "A", "[99999999999999999999999] 1-2.5 A", ""},
        {"no text",                  "1\n" + kTimes + later,               "[1] 1-2.5  / [2] 3-4 B", ""},
        {"words before the first",   "made by me\n\n1\n" + kTimes + "A",   "[1] 1-2.5 A", "1 unknown"},
        {"coordinates",              "1\n00:00:01,000 --> 00:00:02,500 X1:40 X2:600\nA", "[1] 1-2.5 A", "2 place"},
        {"times that are none",      "1\n" + kTimes + "A\n\n2\n00:00:61,000 --> 00:00:62,000\nlost\n\n3\n" + kTimes + "C",
                                     "[1] 1-2.5 A / [3] 1-2.5 C", "6 time"},
        {"an arrow mistyped",        "1\n" + kTimes + "A\n\n2\n00:00:03,000 -> 00:00:04,000\nlost\n\n3\n" + kTimes + "12:30 -> 13:00",
                                     "[1] 1-2.5 A / [3] 1-2.5 12:30 -> 13:00", "6 time"},
        {"nothing at all",           " \n\n",                             "", ""},
        {"an arrow in the text",     "1\n" + kTimes + "A --> B\n",         "[1] 1-2.5 A --> B", ""},
        {"times run backwards",      "1\n00:00:09,000 --> 00:00:08,000\nA\n\n2\n" + kTimes + "B", "[1] 9-8 A / [2] 1-2.5 B", ""},
    };
    // clang-format on
    for (const Case& c : cases)
        expectRead(c);
}

TEST(SubRip, ReadsTimesAsTheyAreWrittenInTheWild)
{
    // clang-format off
    struct Times { const char* line; const char* cue; };
    const Times readable[] = {
        {"00:00:01,000 --> 00:00:02,500",       "1-2.5 A"},
        {"0:0:1.5-->0:0:2",                     "1.5-2 A"},
        {"00:01.250 --> 00:02.000",             "1.25-2 A"},
        {"  00:00:01,000   -->   00:00:02,000", "1-2 A"},
        {"00:00:01,000 --> 00:00:02,000X1:40",  "1-2 A"},
        {"00:00:01,0004 --> 00:00:02,123456789123456789", "1-2.123 A"},
        {"123:00:00,001 --> 1000000:59:59,999", "442800.001-3600003599.999 A"},
    };
    const char* unreadable[] = {
        "00:00:01,000 -> 00:00:02,000", "00:00:01,000 --> 00:00:02,000x", "1 --> 2", "-00:00:01,000 --> 00:00:02,000",
        "00:60:00,000 --> 01:00:00,000", "1000001:00:00,000 --> 1000002:00:00,000",
        "99999999999999999999:00:00,000 --> 99999999999999999999:00:01,000", "00:00:01,000 --> ", "::, --> ::,",
    };
    // clang-format on
    for (const Times& c : readable)
        EXPECT_EQ(describe(read(std::string(c.line) + "\nA").file), c.cue) << c.line;
    for (const char* line : unreadable) {
        std::string error;
        EXPECT_FALSE(readSubRip(std::string(line) + "\nA", error)) << line;
        EXPECT_NE(error, "") << line;
    }
}

TEST(SubRip, KeepsTheTagsThatMeanSomethingAndTellsOfTheOthers)
{
    // clang-format off
    struct Text { const char* name; const char* written; const char* text; const char* losses; };
    const Text cases[] = {
        {"italics",                 "<i>A</i> b",                     "<i>A</i> b", ""},
        {"capitals, never closed",  "<I>A",                           "<i>A</i>", ""},
        {"crossed",                 "<b>A<i>B</b>C</i>",              "<b>A<i>B</i></b><i>C</i>", ""},
        {"over two lines",          "<i>A\nB</i>\nC",                 "<i>A|B</i>|C", ""},
        {"closed on its own line",  "<i>A\n</i>B",                    "<i>A</i>|B", ""},
        {"around nothing",          "<u></u>A</b>",                   "A", ""},
        {"colour",                  "<font color='#FF0000'>A</font>", "<font color=\"#ff0000\">A</font>", ""},
        {"colour and face",         "<font face=\"Sans\" color=red>A</font>", "<font color=\"red\">A</font>", "2 font"},
        {"face alone",              "<font face=Sans>A</font>",       "A", "2 font"},
        {"hostile colour",          "<font color='\"red'>A</font>",  "A", "2 font"},
        {"no tags",                 "1 < 2 <3 <x>y</x> <> {me} {}",   "1 < 2 <3 <x>y</x> <> {me} {}", ""},
        {"braces",                  "{\\i1}A{\\i0} {b}B{/b}",         "<i>A</i> <b>B</b>", ""},
        {"top",                     "{\\an8}A",                       "T A", ""},
        {"middle left, first wins", "{\\an4}A{\\an9}",                "LM A", ""},
        {"right below, old form",   "{\\a3}A",                        "RB A", ""},
        {"centre, old form",        "{\\a10}A",                       "C A", ""},
        {"what is none of these",   "{\\pos(1,2)\\an5\\fs20}A",       "C A", "2 tag, 2 tag"},
        {"placements that are none", "{\\an0}{\\a4}{\\a}{\\an10}A",   "A", "2 tag, 2 tag, 2 tag, 2 tag"},
    };
    // clang-format on
    for (const Text& c : cases)
        expectRead({c.name, kTimes + c.written, std::string("1-2.5 ") + c.text, c.losses});
}

TEST(SubRip, IsWrittenSoThatItIsReadTheSame)
{
    const std::string file = "1\n00:00:01,000 --> 00:00:02,500\n{\\an7}<i>A</i>\n42\n\n"
                             "2\n100:00:03,000 --> 100:00:04,001\n7\n\n"
                             "3\n100:00:05,000 --> 100:00:06,000\n\n"
                             "4\n100:00:06,000 --> 100:00:07,000\nA < B & C\n\n";
    const SubtitleExport written = writeSubRip(read(file).file);
    EXPECT_EQ(written.text, file);
    EXPECT_TRUE(written.losses.empty());
}

TEST(SubRip, TellsWhatItCannotHold)
{
    SubtitleCues file;
    file.header = " - a title";
    file.blocks.push_back({0, 3, "NOTE\nfor the reader"});
    SubtitleCue cue;
    cue.start = 1.0;
    cue.end = 2.0;
    cue.line = 6;
    cue.identifier = "intro";
    cue.settings = "line:10% size:40%";
    cue.placement = CuePlacement::top;
    cue.text = "A {/b}{me}\n00:00:01,000 --> 00:00:02,000";
    file.cues.push_back(cue);
    file.cues.push_back({});
    file.cues.back().placement = CuePlacement::top;
    const SubtitleExport written = writeSubRip(file);
    EXPECT_EQ(written.text, "1\n00:00:01,000 --> 00:00:02,000\n{\\an8}A {/b}{me}\n"
                            ". 00:00:01,000 --> 00:00:02,000\n\n"
                            "2\n00:00:00,000 --> 00:00:00,000\n\n");
    EXPECT_EQ(kindsOf(written.losses),
              "0 header, 3 block, 6 identifier, 6 setting, 6 tag, 6 text, 0 empty");
}

TEST(SubRip, StopsAtItsLimits)
{
    std::string error;
    EXPECT_FALSE(readSubRip("x", error));
    EXPECT_EQ(error, "no line of it gives the times of a subtitle");
    EXPECT_FALSE(readSubRip(std::string((64 << 20) + 1, 'a'), error));
    EXPECT_EQ(error, "the subtitles are larger than 64 MiB");

    const SubtitleImport lengthy = read(kTimes + std::string(kLongestCueText, 'a') + "\nb");
    EXPECT_EQ(kindsOf(lengthy.losses), "2 limit, 3 limit");

    std::string many;
    for (int i = 0; i < 500'000; ++i)
        many += "0:1-->0:2\n{\\fs9}A\n";
    const SubtitleImport millionLines = read(many);
    EXPECT_EQ(millionLines.file.cues.size(), 500'000U);
    ASSERT_EQ(millionLines.losses.size(), CountedLosses::kMostOfAKind + 1);
    EXPECT_EQ(millionLines.losses.entries().back().text, "and 499000 more of this kind");
}

} // namespace
} // namespace cel::test

#include "interchange/webvtt.h"
#include "tests/interchange/cue_text.h"
#include "tests/interchange/cut_text.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

SubtitleImport read(std::string_view text)
{
    std::string error;
    auto result = readWebVtt(text, error);
    EXPECT_TRUE(result) << error;
    return result ? std::move(*result) : SubtitleImport();
}

const std::string kTimes = "00:01.000 --> 00:02.500\n";

TEST(WebVtt, FindsCuesBlocksAndWhatIsNeither)
{
    // clang-format off
    struct Case { const char* name; std::string file; const char* cues; const char* blocks; const char* losses; };
    const Case cases[] = {
        {"nothing",               "WEBVTT",                                     "", "", ""},
        {"a cue",                 "WEBVTT\n\n" + kTimes + "A\nA2\n",            "1-2.5 A|A2", "", ""},
        {"named cues",            "WEBVTT\n\nin\n" + kTimes + "A\n\n2\n" + kTimes, "[in] 1-2.5 A / [2] 1-2.5 ", "", ""},
        {"hours",                 "WEBVTT\n\n100:00:01.000 --> 100:00:02,000\nA", "360001-360002 A", "", ""},
        {"header",                "WEBVTT - t\nKind: x\n\n" + kTimes + "A",     "1-2.5 A", "", ""},
        {"no line below header",  "WEBVTT\n" + kTimes + "A",                    "1-2.5 A", "", ""},
        {"kept blocks",           "WEBVTT\n\nSTYLE\n::cue {}\n\n" + kTimes + "A\n\nNOTE so\nand so\n\nREGION\nid:r",
                                  "1-2.5 A", "0 STYLE|::cue {} / 1 NOTE so|and so / 1 REGION|id:r", ""},
        {"text without times",    "WEBVTT\n\nlost\nlost too\n\n" + kTimes + "A", "1-2.5 A", "", "3 unknown"},
        {"text behind a blank",   "WEBVTT\n\n" + kTimes + "A\n\nlost\n",        "1-2.5 A", "", "6 unknown"},
        {"a line of blanks",      "WEBVTT\n\n" + kTimes + "A\n \t\nB\n",        "1-2.5 A|B", "", ""},
        {"times that are none",   "WEBVTT\n\nx\n0:1 --> 1\nlost\n\n" + kTimes + "A", "1-2.5 A", "", "4 time"},
        {"times in a cue",        "WEBVTT\n\n" + kTimes + "A\n" + kTimes + "B", "1-2.5 A / 1-2.5 B", "", ""},
        {"a name like a block",   "WEBVTT\n\nNOTE a\n" + kTimes + "A",        "[NOTE a] 1-2.5 A", "", ""},
        {"two lines above times", "WEBVTT\n\nx\ny\n" + kTimes + "A",            "1-2.5 A", "", "3 unknown"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const SubtitleImport result = read(c.file);
        EXPECT_EQ(describe(result.file), c.cues);
        EXPECT_EQ(kindsOf(result.losses), c.losses) << describe(result.losses);
        std::string blocks;
        for (const SubtitleBlock& block : result.file.blocks)
            blocks +=
                (blocks.empty() ? "" : " / ") + std::to_string(block.beforeCue) + " " + block.text;
        std::replace(blocks.begin(), blocks.end(), '\n', '|');
        EXPECT_EQ(blocks, c.blocks);
    }
    std::string error;
    for (const char* file :
         {"", "WEBVTTX\n\n", "webvtt\n\n", "1\n00:00:01,000 --> 00:00:02,500\nA"})
        EXPECT_FALSE(readWebVtt(file, error)) << file;
    EXPECT_EQ(error, "it does not begin with WEBVTT");
}

TEST(WebVtt, KeepsTheTagsThatMeanSomethingAndTellsOfTheOthers)
{
    // clang-format off
    struct Case { const char* name; const char* written; const char* text; const char* losses; };
    const Case cases[] = {
        {"looks",                 "<b>A</b> <i>B</i> <u>C</u>",  "<b>A</b> <i>B</i> <u>C</u>", ""},
        {"over two lines",        "<i>A\nB</i>",                 "<i>A|B</i>", ""},
        {"never closed",          "<i>A",                        "<i>A</i>", ""},
        {"colour",                "<c.yellow>A</c>",             "<font color=\"yellow\">A</font>", ""},
        {"classes",               "<c.big.lime.bg_red>A</c> <i.x>B</i>", "<font color=\"lime\">A</font> <i>B</i>", "3 class, 3 class"},
        {"voice",                 "<v Ada>A</v>",                "A", "3 voice"},
        {"language, ruby, time",  "<lang en>A</lang><ruby>B<rt>c</rt></ruby><00:01.500>D", "ABcD", "3 tag, 3 tag, 3 tag, 3 tag"},
        {"capitals are no tags",  "<B>A</B>",                    "A", "3 tag"},
        {"cut off",               "A <i",                        "A ", ""},
        {"named characters",      "a &amp; b &lt; c &gt; d&nbsp;e &quot;&apos;", "a & b < c > d\u00A0e \"'", ""},
        {"numbered characters",   "&#233;&#x65E5;&#x1F41F;",     "é日🐟", ""},
        {"no characters",         "&#0; &#x1B; &#xD800; &#99999999; &what; & &;", "&#0; &#x1B; \uFFFD \uFFFD &what; & &;", ""},
        {"text like a tag",       "&lt;i&gt;A &lt;i&lt;b>",      "<i>A <i<b>", "3 tag"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const SubtitleImport result = read("WEBVTT\n\n" + kTimes + c.written);
        EXPECT_EQ(describe(result.file), std::string("1-2.5 ") + c.text);
        EXPECT_EQ(kindsOf(result.losses), c.losses) << describe(result.losses);
    }
}

TEST(WebVtt, PlacesCuesByTheirSettings)
{
    struct Case
    {
        const char* settings;
        const char* placement;
    };
    // clang-format off
    const Case cases[] = {
        {"", ""}, {"align:center", ""}, {"line:-1", ""}, {"line:90%", ""}, {"size:40%", ""},
        {"line:0", "T"}, {"line:10%", "T"}, {"line:2,end", "T"}, {"line:-15", "T"}, {"line:-99", "T"},
        {"line:50%", "C"}, {"line:7", "C"}, {"line:-8", "C"},
        {"align:left", "LB"}, {"align:start", "LB"}, {"position:10%", "LB"}, {"position:10%,line-left", "LB"},
        {"align:right", "RB"}, {"align:end line:0", "RT"}, {"position:90% line:50%", "RM"},
        {"position:10% align:end", "RB"}, {"align:end align:start", "LB"}, {"align:end align:up", "RB"},
        {"line:x", ""}, {"line:", ""}, {"line:1e999", ""}, {"line:nan", ""}, {"align", ""}, {":", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        const auto result = read("WEBVTT\n\n00:01.000 --> 00:02.500 " + std::string(c.settings));
        SubtitleCue cue = result.file.cues.at(0);
        EXPECT_EQ(cue.settings, c.settings);
        cue.settings.clear();
        const std::string placed = *c.placement ? std::string(c.placement) + " " : "";
        EXPECT_EQ(describe(cue), "1-2.5 " + placed) << c.settings;
    }
    for (int place = 1; place <= 9; ++place) {
        const auto placement = static_cast<CuePlacement>(place);
        EXPECT_EQ(placementOfSettings(settingsOfPlacement(placement)), placement);
        EXPECT_TRUE(saysNoMoreThan(settingsOfPlacement(placement), placement));
    }
    EXPECT_TRUE(saysNoMoreThan("align:middle position:50%", CuePlacement::bottom));
    for (const char* more : {"line:12%", "size:40%", "region:r", "vertical:rl", "align:up"})
        EXPECT_FALSE(saysNoMoreThan(more, placementOfSettings(more))) << more;
}

TEST(WebVtt, IsWrittenSoThatItIsReadTheSame)
{
    const std::string file =
        "WEBVTT - harbour\nLanguage: en\n\n"
        "STYLE\n::cue { color: white }\n\n"
        "in\n00:00:01.000 --> 100:00:02.500 line:5% region:r\n<i>A</i> &amp; &lt;\nB\n\n"
        "NOTE\nthe end\n\n"
        "00:00:01.000 --> 00:00:02.500 line:0 align:left\n<c.red>C</c>\n\n"
        "NOTE\n\n";
    const SubtitleExport written = writeWebVtt(read(file).file);
    EXPECT_EQ(written.text, file);
    EXPECT_TRUE(written.losses.empty()) << describe(written.losses);
}

TEST(WebVtt, TellsWhatItCannotHold)
{
    SubtitleCues file;
    SubtitleCue cue;
    cue.end = 1.0;
    cue.line = 4;
    cue.identifier = "a --> b";
    cue.placement = CuePlacement::leftTop;
    cue.text = "<font color=\"#123456\">A<font color=\"#ff0000\">B</font></font> -->";
    file.cues.push_back(cue);
    const SubtitleExport written = writeWebVtt(file);
    EXPECT_EQ(written.text, "WEBVTT\n\n00:00:00.000 --> 00:00:01.000 line:0 align:left\n"
                            "A<c.red>B</c> --&gt;\n\n");
    EXPECT_EQ(kindsOf(written.losses), "4 identifier, 4 colour");
}

} // namespace
} // namespace cel::test

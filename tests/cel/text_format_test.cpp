#include "cel/Cel.h"
#include "platform/support/TextFile.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <clocale>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

using namespace Kt::Ed2Support;

TextFile fileOf(std::string_view text)
{
    TextFile file;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        file.appendLine(line);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return file;
}

std::string written(const Cel& cel, TVStd standard)
{
    TextFile file;
    cel.writeToED2(file, standard);
    std::string text;
    for (std::size_t i = 0; i < file.numLines(); ++i)
        text += std::string(file[i].view()) + "\n";
    return text;
}

TEST(TextWriting, GivesEachEventTheLineOfItsKind)
{
    // clang-format off
    struct Case { const char* track; const char* lines; };
    const Case cases[] = {
        {"A0-4@10",
            "      0.000000 86:65:2:9:0 in        10.0\n"
            "      4.000000 86:65:2:9:0 out\n"},
        {"A'-1-1e6@0.1:0.5>0.25",
            "     -1.000000 86:65:2:9:1 in        0.1 0.5000\n"
            "1000000.000000 86:65:2:9:1 out        -       0.2500\n"},
        {"A0-4@10*2",
            "      0.000000 86:65:2:9:0 in        10.0\n"
            "      4.000000 86:65:2:9:0 out      18.000000   -          2 \n"},
        {".0-4*2:1>0.5",
            "      0.000000 86:1:0:647:0 in        0.0\n"
            "      4.000000 86:1:0:647:0 out        -       0.5000\n"},
        {"A0-3*0.33333:0.5>1.0000005",
            "      0.000000 86:65:2:9:0 in        0.0 0.5000\n"
            "      3.000000 86:65:2:9:0 out       0.999990   -     0.3333 \n"},
        {"A<0*? A=1@1:-0.25 A>4@1e12*?",
            "      0.000000 86:65:2:9:0 in        0.0\n"
            "      1.000000 86:65:2:9:0 out        -       -0.2500\n"
            "      4.000000 86:65:2:9:0 out 1000000000000.000000   -   2.21e+05 \n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        const Kt::Ptr<Cel> cel = track(c.track);
        EXPECT_EQ(written(*cel, kPal),
                  std::string("CEL_REVISION 1\nFRAME_RESOLUTION 0.040000000000\n") + c.lines);
        EXPECT_EQ(cel->is_dirty(), 0);
    }
}

TEST(TextWriting, ScalesAllTimesButTheOutPointsStripToTheStandard)
{
    // clang-format off
    struct Case { double resolution; TVStd standard; const char* head; const char* in; const char* out; };
    const Case cases[] = {
        {0.08,         kPal,      "0.040000000000", "      2.000000 86:65:2:9:0 in        5.0", "      4.000000 86:65:2:9:0 out      18.000000   -          2 "},
        {0.0400009,    kPal,      "0.040000000000", "      4.000000 86:65:2:9:0 in        10.0", "      8.000000 86:65:2:9:0 out      18.000000   -          2 "},
        {1001.0/60000, kNtsc,     "0.033366666667", "      8.000000 86:65:2:9:0 in        20.0", "     16.000000 86:65:2:9:0 out      18.000000   -          2 "},
        {1.0/24,       kFilmNtsc, "0.041708333333", "      4.004000 86:65:2:9:0 in        10.010000000000002", "      8.008000 86:65:2:9:0 out      18.000000   -          2 "},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(written(*track("A4-8@10*2", c.resolution), c.standard),
                  std::string("CEL_REVISION 1\nFRAME_RESOLUTION ") + c.head + "\n" + c.in + "\n" +
                      c.out + "\n");
}

TEST(TextReading, BuildsSectionsFromPairsOfLines)
{
    constexpr const char* kHead = "CEL_REVISION 1\nFRAME_RESOLUTION 0.04\n";
    // clang-format off
    struct Case { const char* name; const char* lines; const char* expected; bool result; };
    const Case cases[] = {
        {"nothing",               "", "", true},
        {"gaps are not kept",     "5 86:65:2:9:0 in 10\n9 86:65:2:9:0 out\n20 86:66:2:9:0 in 3\n22 86:66:2:9:0 out", "A0-4@10 B4-6@3", true},
        {"speed of the in point", "0 86:65:2:9:0 in 10\n4 86:65:2:9:0 out 99 - 3", "A0-4@10>14*3>1", true},
        {"levels",                "0 86:65:2:9:0 in 10 0.5\n4 86:65:2:9:0 out - 0.25", "A0-4@10:0.5>0.25", true},
        {"a level, no other",     "0 86:65:2:9:0 in 10 0.5\n4 86:65:2:9:0 out", "A0-4@10:0.5>1", true},
        {"speed hides levels",    "0 86:65:2:9:0 in 10 0.5\n4 86:65:2:9:0 out 99 - 3", "A0-4@10>14*3>1", true},
        {"seven tokens say nothing","0 86:65:2:9:0 in 10 0.5 0.6\n4 86:65:2:9:0 out 99 - 3 7", "A0-4@10", true},
        {"blanks",                "  0   86:65:2:9:1   in  10  \n 4  x   out ", "A'0-4@10", true},
        {"words are not checked", "0 86:65:2:9:0 out 10\n4 86:66:2:9:0 in", "A0-4@10", true},
        {"the end of the block",  "0 86:65:2:9:0 in 10\n4 86:65:2:9:0 out\nEND_CHANNEL\n4 86:65:2:9:0 in 0\n5 x out", "A0-4@10", true},
        {"END_CHANNEL and more",  "0 86:65:2:9:0 in 10\n4 86:65:2:9:0 out\nEND_CHANNEL 2\n4 86:65:2:9:0 in", "A0-4@10", true},
        {"an invalid Cookie",     "0 73:0:0:0:0 in 10\n4 86:65:2:9:0 out\n4 86:65:2:9:0 in 0\n5 x out", "", true},
        {"an unreadable Cookie",  "0 shot in 10\n4 86:65:2:9:0 out", "", true},
        {"an empty line",         "\n0 86:65:2:9:0 in 10\n4 86:65:2:9:0 out", "", true},
        {"numbers as atof reads", "+1 86:65:2:9:0 in ten\n4.5e0s 86:65:2:9:0 out", "A0-3.5", true},
        {"a missing out line",    "0 86:65:2:9:0 in 10\n4 86:65:2:9:0 out\n4 86:66:2:9:0 in 9", "A0-4@10 B4-0@9", true},
        {"the end in its place",  "4 86:66:2:9:0 in 9\nEND_CHANNEL\n7 86:65:2:9:0 in 0\n8 x out", "B0--4@9", true},
        {"an infinite time",      "0 86:65:2:9:0 in 0\ninf 86:65:2:9:0 out\n0 86:65:2:9:0 in 0\n1 x out", "", true},
        {"no number for a strip", "0 86:65:2:9:0 in nan\n4 86:65:2:9:0 out", "", true},
        {"too large",             "0 86:65:2:9:0 in 0\n1e999 86:65:2:9:0 out", "", true},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        TextFile file = fileOf(std::string(kHead) + c.lines);
        const Kt::Ptr<Cel> cel(new Cel(0, 0.5));
        EXPECT_EQ(cel->buildFrom(file, 0), c.result);
        EXPECT_EQ(describe(*cel), c.expected);
        EXPECT_EQ(cel->get_resolution(), 0.04);
    }
}

TEST(TextReading, RecognisesABlockByItsFirstTwoLines)
{
    // clang-format off
    struct Case { const char* text; unsigned short first; bool result; double resolution; };
    const Case cases[] = {
        {"CEL_REVISION 99\nFRAME_RESOLUTION 0.04", 0, true, 0.04},
        {"CEL_REVISIONS\nFRAME_RESOLUTION: 0.04", 0, true, 0.04},
        {"CEL_REVISION 1\nFRAME_RESOLUTION 4e-2 s", 0, true, 0.04},
        {"x\ny\nCEL_REVISION 1\nFRAME_RESOLUTION 0.04", 2, true, 0.04},
        {"CEL_REVISION 1\nFRAME_RESOLUTION 0.04", 1, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION 0.04", 60000, false, 0.5},
        {"CEL_REVISIO 1\nFRAME_RESOLUTION 0.04", 0, false, 0.5},
        {" CEL_REVISION 1\nFRAME_RESOLUTION 0.04", 0, false, 0.5},
        {"FRAME_RESOLUTION 0.04\nCEL_REVISION 1", 0, false, 0.5},
        {"CEL_REVISION 1\n\nFRAME_RESOLUTION 0.04", 0, false, 0.5},
        {"CEL_REVISION 1", 0, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION", 0, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION ", 0, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION 1e-6", 0, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION nan", 0, false, 0.5},
        {"CEL_REVISION 1\nFRAME_RESOLUTION inf", 0, false, 0.5},
        {"", 0, false, 0.5},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        TextFile file = fileOf(c.text);
        const Kt::Ptr<Cel> cel = track("A0-4", 0.5);
        EXPECT_EQ(cel->buildFrom(file, c.first), c.result);
        EXPECT_EQ(cel->get_resolution(), c.resolution);
        EXPECT_EQ(describe(*cel), "A0-4");
        EXPECT_EQ(cel->is_dirty(), c.result);
    }
}

TEST(TextReading, AppendsToWhatIsThereAndAnswersWhetherItIsPaired)
{
    TextFile file = fileOf("CEL_REVISION 1\nFRAME_RESOLUTION 0.04\n5 86:66:2:9:0 in 1\n7 x out");
    const Kt::Ptr<Cel> cel = track("A3-4");
    EXPECT_TRUE(cel->buildFrom(file, 0));
    EXPECT_EQ(describe(*cel), "A3-4 B4-6@1");
    const Kt::Ptr<Cel> open = track("A<0 A=1@1 A>3");
    EXPECT_FALSE(open->buildFrom(file, 0)); // an odd index takes no pair
    EXPECT_EQ(open->numEvents(), 3);
}

TEST(TextReading, ReachesLinesBeyondSixteenBits)
{
    std::string lines(65535, '\n');
    lines += "CEL_REVISION 1\nFRAME_RESOLUTION 0.04\n5 86:66:2:9:0 in 1\n7 x out";
    TextFile file = fileOf(lines);
    const Kt::Ptr<Cel> cel(new Cel(0, 0.5));
    EXPECT_TRUE(cel->buildFrom(file, 65535));
    EXPECT_EQ(describe(*cel), "B0-2@1");
}

class TextInGermany : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
            GTEST_SKIP() << "the locale de_DE.UTF-8 is missing; scripts/setup makes it";
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(TextInGermany, HasPointsNotCommas)
{
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    const Kt::Ptr<Cel> cel = track("A0.5-4.25@10.125:0.5>0.25 .4.25-6 B6-8.5@0.1*0.5");
    const std::string text = written(*cel, kPal);
    EXPECT_EQ(text.find(','), std::string::npos) << text;
    TextFile file = fileOf(text);
    const Kt::Ptr<Cel> back(new Cel(0, 1.0));
    EXPECT_TRUE(back->buildFrom(file, 0));
    EXPECT_EQ(describe(*back), "A0-3.75@10.125:0.5>0.25 .3.75-5.5 B5.5-8@0.1>2.6*0.5>1");
    EXPECT_EQ(back->get_resolution(), 0.04);
}

} // namespace
} // namespace cel::test

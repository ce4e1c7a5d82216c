#include "cel/plays_same.h"

#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace cel::test {
namespace {

TEST(PlaysSame, LooksAtWhatPlaysAndNotAtHowItIsCut)
{
    // clang-format off
    struct Case { std::string_view name, a, b; const char* field; double time; };
    static const Case cases[] = {
        {"the same",                     "A0-4 B4-6",         "A0-4 B4-6",           nullptr,    0},
        {"a cut more",                   "A0-4",              "A0-1 A1-4@1",         nullptr,    0},
        {"a hole for black",             "A0-2 .2-3 B3-4",    "A0-2 B3-4",           nullptr,    0},
        {"black of another time",        ".0-2 A2-4",         ".0-2@7 A2-4",         nullptr,    0},
        {"black behind the end",         "A0-2",              "A0-2 .2-9",           nullptr,    0},
        {"a section of no length",       "A0-2 B2-4",         "A0-2 C2-2 B2-4",      nullptr,    0},
        {"a ramp where only one cuts",   "A0-4",              "A0-2 A2-4@2~20>0",    nullptr,    0},
        {"two empty tracks",             "",                  "",                    nullptr,    0},
        {"a cut at another time",        "A0-4 B4-6",         "A0-3 B3-6",           "material", 3},
        {"other material",               "A0-4 B4-6",         "A0-4 C4-6",           "material", 4},
        {"nothing there",                "A0-4",              "",                    "material", 0},
        {"another strip time",           "A0-4",              "A0-4@1",              "strip",    0},
        {"another speed",                "A0-4",              "A0-4*2",              "speed",    0},
        {"another level",                "A0-4:1",            "A0-4:0.5",            "level",    0},
        {"a level that drifts away",     "A0-4:1",            "A0-4:1>0",            "level",    4e-6},
        {"inactive",                     "A0-4",              "A0-4!1>0",            "active",   0},
        {"another display",              "A0-4",              "A0-4%3>0",            "display",  0},
        {"another ramp",                 "A0-4~8>0",          "A0-4~12>0",           "ramp",     0},
        {"another curve",                "A0-4~8>0",          "A0-4~8>0/2>0",        "ramp",     0},
        {"another ramp at the end",      "A0-4~0>8",          "A0-4~0>12",           "ramp",     4},
        {"another curve at the end",     "A0-4~0>8",          "A0-4~0>8/0>1",        "ramp",     4},
        {"later another strip time",     "A0-4 B4-6",         "A0-4 B4-6@0.0000012", "strip",    4},
        {"later another speed",          "A0-4 B4-6",         "A0-4 B4-6*-1",        "speed",    4},
        {"later another level",          "A0-4 B4-6",         "A0-4 B4-6:1.000002",  "level",    4},
        {"later inactive",               "A0-4 B4-6",         "A0-4 B4-6!",          "active",   4},
        {"later another ramp",           "A0-4 B4-6~4>0",     "A0-4 B4-6~5>0",       "ramp",     4},
        {"a hole",                       "A0-4 B4-6",         "A0-3 B4-6",           "material", 3},
        {"sound for picture",            "A0-4 B4-6",         "A0-4 b4-6",           "material", 4},
        {"another version",              "A0-4 B4-6",         "A0-4 B'4-6",          "material", 4},
        {"nearly the same",              "A0-4 B4-6",         "A0-4 B4-6@0.0000008", nullptr,    0},
        {"what neither shows nor sounds", "A0-4#7^1=4/1",     "A0-4#8^2=8/2",        nullptr,    0},
        {"black of sound and picture",   "A0-4 .4-6",         "A0-4 ,4-6",           nullptr,    0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto difference = explainDifference(*track(c.a), *track(c.b));
        const auto turned = explainDifference(*track(c.b), *track(c.a));
        EXPECT_EQ(playsSame(*track(c.a), *track(c.b)), c.field == nullptr);
        ASSERT_EQ(difference.has_value(), c.field != nullptr);
        ASSERT_EQ(turned.has_value(), c.field != nullptr);
        if (!difference)
            continue;
        EXPECT_STREQ(difference->field, c.field);
        EXPECT_STREQ(turned->field, c.field);
        EXPECT_NEAR(difference->time, c.time, 2e-6);
    }
}

TEST(PlaysSame, ListsEveryStretchThatDiffersFromItsFirstMomentToItsLast)
{
    // clang-format off
    struct Case { std::string_view name, a, b, expected; };
    static const Case cases[] = {
        {"the same",                      "A0-4 B4-6",         "A0-1 A1-4@1 B4-6",    ""},
        {"two, and what lies between",    "A0-2 B2-4 C4-6",    "X0-2 B2-4 Y4-6",      "0-2 material, 4-6 material"},
        {"neighbours are one",            "A0-2 B2-4 C4-6",    "A0-2 X2-4 Y4-5 C5-6@1", "2-5 material"},
        {"what follows is moved",         "A0-4 B4-6",         "A0-2 B2-4",           "2-6 material"},
        {"one plays on longer",           "A0-4",              "A0-4 A4-5@4",         "4-5 material"},
        {"different things in turn",      "A0-2 B2-4 C4-6",    "A0-2*2 B2-4 C4-6:0.5", "0-2 speed, 4-6 level"},
        {"a level that meets half way",   "A0-4:1>0",          "A0-2:1>0.5 A2-4@2:0.5", "2-4 level"},
        {"a level that comes back",       "A0-4:0>1",          "A0-4:1",              "0-4 level"},
        {"a fade at a cut",               "A0-2 B2-4~8>0",     "A0-2 B2-4~12>0",      "2-2 ramp"},
        {"two empty tracks",              "",                  "",                    ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto first = track(c.a);
        const auto second = track(c.b);
        std::ostringstream found;
        for (const DifferingStretch& stretch : listDifferences(*first, *second))
            found << (found.tellp() > 0 ? ", " : "") << std::round(stretch.from * 1000) / 1000
                  << '-' << std::round(stretch.to * 1000) / 1000 << ' ' << stretch.field;
        EXPECT_EQ(found.str(), c.expected);

        const auto all = listDifferences(*first, *second);
        const auto earliest = explainDifference(*first, *second);
        ASSERT_EQ(earliest.has_value(), !all.empty());
        if (earliest) {
            EXPECT_EQ(earliest->time, all.front().from);
            EXPECT_EQ(earliest->text, all.front().text);
        }
    }
}

} // namespace
} // namespace cel::test

#include "cel/Cel.h"
#include "cel/audit.h"
#include "tests/support/log_capture.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

// Edits as tables: the track before, the edit, the track after. Frames are 0.04 s; the notation
// rounds to 1e-6.
namespace cel::test {
namespace {

constexpr double kNan = NAN;
constexpr double kInf = HUGE_VAL;
const Cel::Range kWhole = Editable::invalidRange();

/// A track of a derived class, whose edits go step by step.
class Stepwise : public Cel
{
public:
    explicit Stepwise(const Cel& other)
        : Cel(other)
    {
    }
};

/// Runs every row on a plain track and on one whose edits go step by step.
template <class Row, std::size_t size, class Edit>
void expectEdits(const Row (&rows)[size], const Edit& edit)
{
    const LogCapture quiet;
    for (const Row& row : rows)
        for (const bool stepwise : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.name << (stepwise ? ", step by step" : ""));
            Kt::Ptr<Cel> edited = track(row.before);
            if (stepwise)
                edited = Kt::Ptr<Cel>(new Stepwise(*edited));
            edit(edited, row);
            EXPECT_EQ(describe(*edited), row.after);
            for (const Finding& finding : audit(*edited))
                EXPECT_EQ(std::strstr(finding.invariant, "-count"), nullptr) << finding.text;
        }
}

/// The source of a row: none, the track itself, or one of its own.
Kt::Ptr<Cel> sourceOf(const char* notation, const Kt::Ptr<Cel>& edited)
{
    if (!notation)
        return {};
    return notation == std::string_view("itself") ? edited : track(notation);
}

// clang-format off

TEST(Cut, MakesTwoSectionsThatPlayWhatTheOnePlayed)
{
    struct Row { const char *name, *before; double at; const char* after; int index; };
    static const Row rows[] = {
        {"inside",                    "A0-4 B4-6",     1,         "A0-1 A1-4@1 B4-6",                    2},
        {"at an in point",            "A0-4 B4-6",     4,         "A0-4 B4-6",                           2},
        {"within the tolerance",      "A0-4 B4-6",     4.0000009, "A0-4 B4-6",                           2},
        {"just behind it",            "A0-4 B4-6",     4.0000012, "A0-4 B4-4.000001 B4.000001-6@0.000001", 4},
        {"off the frames",            "A0-4",          1.013,     "A0-1.013 A1.013-4@1.013",             2},
        {"at the end",                "A0-4 B4-6",     6,         "A0-4 B4-6",                           -1},
        {"just before the end",       "A0-4 B4-6",     5.9999991, "A0-4 B4-6",                           -1},
        {"before the start",          "A1-4",          0.5,       "A1-4",                                -1},
        {"behind the end",            "A0-4",          7,         "A0-4",                                -1},
        {"in a hole",                 "A0-2 B3-4",     2.5,       "A0-2 B3-4",                           -1},
        {"no time",                   "A0-4",          kNan,      "A0-4",                                -1},
        {"never",                     "A0-4",          kInf,      "A0-4",                                -1},
        {"nothing",                   "",              0,         "",                                    -1},
        {"behind a section of no length", "A0-2 B2-2 C2-4", 2,    "A0-2 B2-2 C2-4",                      4},
        {"a first section that begins late", "A1-5@10", 2.5,      "A1-2.5@10 A2.5-5@11.5",               2},
        {"double speed",              "A0-4@10*2",     1,         "A0-1@10*2 A1-4@12*2",                 2},
        {"backwards",                 "A0-4@10*-1",    1,         "A0-1@10*-1 A1-4@9*-1",                2},
        {"a still",                   "A0-4@10*0",     1,         "A0-1@10*0 A1-4@10*0",                 2},
        {"a speed never set",         "A0-4@10*?",     1,         "A0-1@10*? A1-4@11*?",                 2},
        {"a slope of level",          "A0-4:1>0",      1,         "A0-1:1>0.75 A1-4@1:0.75>0",           2},
        {"ramps with room",           "A0-4~40>200",   1,         "A0-1~40>0 A1-4@1~0>200",              2},
        {"a ramp at the end too long", "A0-4~40>200/2>1", 3.8,    "A0-3.8~40>0/2>0 A3.8-4@3.8~0>20/0>1", 2},
        {"a ramp at the head too long", "A0-4~40>200", 0.2,       "A0-0.2~20>0 A0.2-4@0.2~0>200",        2},
        {"display and inactive",      "A0-4%3!",       1,         "A0-1%3>0!1>0 A1-4@1%3!1",             2},
        {"selection and modification", "A0-4^1>2=4>0", 1,         "A0-1 A1-4@1^1>2=4>0",                 2},
        {"identifiers",               "A0-4#7>8",      1,         "A0-1 A1-4@1#7>8",                     2},
        {"black",                     ".0-4",          1,         ".0-1 .1-4@1",                         2},
        {"level changes", "A<0 A=1:0.5 A=3:0.2 A>4",   2,         "A<0 A=1:0.5 A>2@2 A<2@2 A=3:0.2 A>4", 3},
        {"at a level change", "A<0 A=1 A>4",           1,         "A<0 A=1 A>1@1 A1-4@1>0",             3},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        const ce_handle h = edited->makeCutAt(row.at);
        EXPECT_EQ(h.valid() ? h.get_index() : -1, row.index);
    });
}

TEST(Remove, TakesAStretchOutAndClosesTheGap)
{
    struct Row { const char *name, *before; double start, end; const char* after; };
    static const Row rows[] = {
        {"within a section",      "A0-4",              1, 2,            "A0-1 A1-3@2"},
        {"one section",           "A0-2 B2-4 C4-6",    2, 4,            "A0-2 C2-4"},
        {"across sections",       "A0-2 B2-4 C4-6",    1, 5,            "A0-1 C1-2@1"},
        {"the head",              "A0-2 B2-4",         0, 2,            "B0-2"},
        {"everything",            "A0-2 B2-4",         0, 4,            ""},
        {"beyond the end",        "A0-4 B4-6",         5, 9,            "A0-4 B4-5"},
        {"behind the end",        "A0-4",              7, 9,            "A0-4"},
        {"from before the start", "A1-4",              0, 2,            "A1-4"},
        {"from a hole",           "A0-2 B3-5",         2.5, 4,          "A0-2 B3-5"},
        {"up to a hole: all that follows", "A0-2 B3-5", 1, 2.5,          "A0-1"},
        {"across a hole",         "A0-2 B3-5",         1, 4,            "A0-1 B1-2@1"},
        {"up to where a hole begins: all that follows", "A0-2 B2-4 C5-6", 2, 4, "A0-2"},
        {"behind no length",      "A0-2 B2-2 C2-4",    2, 3,            "A0-2 B2-2 C2-3@1"},
        {"up to no length",       "A0-2 B2-2 C2-4",    1, 2,            "A0-1 C1-3"},
        {"off the frames",        "A0-4",              1.013, 2.0171,   "A0-1.013 A1.013-2.9959@2.0171"},
        {"just behind a cut",     "A0-2 B2-4",         2.0000005, 3,    "A0-2 B2-3@1"},
        {"less than the tolerance", "A0-4",            2, 2.0000005,    "A0-2 A2-4@2"},
        {"no length",             "A0-4",              2, 2,            "A0-2 A2-4@2"},
        {"no length at a cut",    "A0-2 B2-4",         2, 2,            "A0-2 B2-4"},
        {"ends turned round",     "A0-4",              2, 1,            "A0-1 A1-3@2"},
        {"a slope and a ramp",    "A0-4:1>0~40>200",   1, 3.8,          "A0-1:1>0.75~40>0 A1-1.2@3.8:0.05>0~0>20"},
        {"black in the middle",   "A0-2 .2-4 B4-6",    1, 3,            "A0-1 .1-2@1 B2-4"},
        {"what is inactive",      "A0-4! B4-6",        1, 5,            "A0-1!1>0 B1-2@1"},
        {"no time",               "A0-4",              kNan, 2,         "A0-4"},
        {"no end",                "A0-4",              1, kInf,         "A0-4"},
        {"unset",                 "A0-4",              kUnsetTime, 1e99, "A0-4"},
        {"nothing",               "",                  0, 2,            ""},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) { edited->remove({row.start, row.end}); });
}

TEST(Insert, OpensAGapAndFillsIt)
{
    struct Row { const char *name, *before, *source; double start, end, at; const char* after; };
    static const Row rows[] = {
        {"at a cut",                 "A0-2 B2-4", "X0-9",          1, 3, 2,      "A0-2 X2-4@1 B4-6"},
        {"inside a section",         "A0-4",      "X0-9",          1, 3, 1,      "A0-1 X1-3@1 A3-6@1"},
        {"at the start",             "A0-4",      "X0-9",          1, 3, 0,      "X0-2@1 A2-6"},
        {"at the end",               "A0-4",      "X0-9",          1, 3, 4,      "A0-4 X4-6@1"},
        {"less than half a frame past the end", "A0-4", "X0-9",    1, 3, 4.01,   "A0-4 X4-6@1"},
        {"past the end",             "A0-4",      "X0-9",          1, 3, 5,      "A0-4 .4-5 X5-7@1"},
        {"before 0",                 "A0-4",      "X0-9",          1, 3, -1,     "X0-2@1 .2-3 A3-7"},
        {"hardly before 0",          "A0-4",      "X0-9",          1, 3, -0.01,  "X0-2@1 A2-6"},
        {"into nothing",             "",          "X0-9",          1, 3, 0,      "X0-2@1"},
        {"into nothing, later",      "",          "X0-9",          1, 3, 1,      ".0-1 X1-3@1"},
        {"in front of a late start", "A5-8",      "X0-9",          0, 1, 2,      "X2-3 .3-6 A6-9"},
        {"into a hole",              "A0-2 B4-5", "X0-9",          0, 1, 3,      "A0-2 .2-3 X3-4 .4-5 B5-6"},
        {"no source",                "A0-4",      nullptr,         1, 3, 2,      "A0-2 .2-4 A4-6@2"},
        {"no source, sound",         "a0-4",      nullptr,         1, 3, 2,      "a0-2 ,2-4 a4-6@2"},
        {"an empty source",          "A0-4",      "",              1, 3, 2,      "A0-2 .2-4 A4-6@2"},
        {"a range beside the source", "A0-4",     "X0-1",          3, 5, 2,      "A0-2 .2-4 A4-6@2"},
        {"half a frame beside it",   "A0-4",      "X0-1",          0.99, 2.99, 2, "A0-2 .2-4 A4-6@2"},
        {"a source that ends early", "A0-4",      "X0-1",          0, 3, 2,      "A0-2 X2-3 .3-5 A5-7@2"},
        {"a source that begins late", "A0-4",     "X2-4",          1, 4, 2,      "A0-2 .2-3 X3-5 A5-7@2"},
        {"a source with a hole",     "A0-4",      "X0-1 Y2-3",     0, 3, 2,      "A0-2 X2-3 .3-4 Y4-5 A5-7@2"},
        {"two sections, both cut",   "A0-4",      "X0-2 Y2-4",     1, 3, 2,      "A0-2 X2-3@1 Y3-4 A4-6@2"},
        {"sound black stays",        "A0-4",      "X0-1 ,1-2",     0, 2, 2,      "A0-2 X2-3 ,3-4 A4-6@2"},
        {"off the frames",           "A0-4",      "X0-9",          0, 1, 2.013,  "A0-2 X2-3 A3-5@2"},
        {"at a cut off the frames",  "A0-2.013 B2.013-4", "X0-9",  0, 1, 2.013,  "A0-2 X2-3 B3-5@0>1.987"},
        {"a range off the frames",   "A0-4",      "X0-9",          0.51, 1.52, 2, "A0-2 X2-3@0.51>1.52 A3-5@2"},
        {"a slope",                  "A0-4",      "X0-4:1>0",      1, 3, 2,      "A0-2 X2-4@1:0.75>0.25 A4-6@2"},
        {"ramps, the tail cut",      "A0-4",      "X0-4~40>200",   0, 0.2, 2,    "A0-2 X2-2.2~20 A2.2-4.2@2"},
        {"ramps, the head cut",      "A0-4",      "X0-4~40>200/1",  3.8, 4, 2,   "A0-2 X2-2.2@3.8~0>20/0>1 A2.2-4.2@2"},
        {"speed, display, inactive", "A0-4",      "X0-4@5*2%3!",   1, 2, 2,      "A0-2 X2-3@7*2%3!1 A3-5@2"},
        {"identifiers",              "A0-4",      "X0-2#7 Y2-4#8", 0, 4, 2,      "A0-2 X2-4 Y4-6#8 A6-8@2"},
        {"a level change",           "A0-4",      "X<0 X=1:0.5 X>4@4", 0, 2, 2,  "A0-2 X<2 X=3:0.5 X>4@2 A4-6@2"},
        {"itself",                   "A0-2 B2-4", "itself",        1, 3, 2,      "A0-2 A2-3@1 B3-4 B4-6"},
        {"itself into its middle",   "A0-4",      "itself",        0, 4, 1,      "A0-1 A1-5 A5-8@1"},
        {"no length",                "A0-4",      "X0-9",          1, 1, 1,      "A0-1 A1-4@1"},
        {"less than half a frame",   "A0-4",      "X0-9",          0, 0.01, 1,   "A0-1 A1-4@1"},
        {"no time",                  "A0-4",      "X0-9",          0, 1, kNan,   "A0-4"},
        {"no range",                 "A0-4",      "X0-9",          kNan, 1, 1,   "A0-4"},
        {"too long",                 "A0-4",      "X0-9",          0, 2e12, 1,   "A0-4"},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        edited->insert(sourceOf(row.source, edited).get(), {row.start, row.end}, row.at, {});
    });
}

TEST(Replace, OverwritesAStretch)
{
    struct Row { const char *name, *before, *source; double start, end, at; int flags; const char* after; };
    static const Row rows[] = {
        {"within a section",    "A0-4",       "X0-9",      1, 2, 1, 0,  "A0-1 X1-2@1 A2-4@2"},
        {"one section",         "A0-2 B2-4",  "X0-9",      0, 2, 2, 0,  "A0-2 X2-4"},
        {"across a cut",        "A0-2 B2-4",  "X0-9",      0, 2, 1, 0,  "A0-1 X1-3 B3-4@1"},
        {"everything",          "A0-2 B2-4",  "X0-9",      0, 4, 0, 0,  "X0-4"},
        {"over the end",        "A0-4",       "X0-9",      0, 2, 3, 0,  "A0-3 X3-5"},
        {"at the end",          "A0-4",       "X0-9",      0, 2, 4, 0,  "A0-4 X4-6"},
        {"past the end",        "A0-4",       "X0-9",      0, 2, 5, 0,  "A0-4 .4-5 X5-7"},
        {"reaching 0",          "A0-4",       "X0-9",      0, 2, -1, 0, "X0-2 A2-5@1"},
        {"all before 0",        "A0-4",       "X0-9",      0, 2, -3, 0, "X0-2 A2-6"},
        {"with nothing",        "A0-4",       nullptr,     0, 2, 1, 0,  "A0-1 .1-3 A3-4@3"},
        {"off the frames",      "A0-4",       "X0-9",      0, 1, 1.013, 0, "A0-1 X1-2 A2-4@2.013>4"},
        {"itself",              "A0-2 B2-4",  "itself",    0, 2, 1, 0,  "A0-1 A1-3 B3-4@1"},
        {"into nothing",        "",           "X0-9",      0, 2, 0, 0,  "X0-2"},
        {"no length",           "A0-4",       "X0-9",      1, 1, 1, 0,  "A0-1 A1-4@1"},
        {"no time",             "A0-4",       "X0-9",      0, 1, kNan, 0, "A0-4"},
        {"keeps an effect",     "A0-2 $2-4#7", "X0-2#9",   0, 2, 2, 0,  "A0-2 X2-4#7"},
        {"told not to",         "A0-2 $2-4#7", "X0-2#9",   0, 2, 2, 1,  "A0-2 X2-4"},
        {"of another length",   "A0-2 $2-4#7", "X0-3#9",   0, 2, 2, 0,  "A0-2 X2-4"},
        {"reaching past its material", "A0-2 $2-4#7", "X0-2#9", 1, 3, 2, 0, "A0-2 X2-3@1 .3-4"},
        {"not under black",     "A0-2 $2-4#7", ".0-2#9",   0, 2, 2, 0,  "A0-2 .2-4"},
        {"not a temporary one", "A0-2 $2-4#7-0-40000000", "X0-2#9", 0, 2, 2, 0, "A0-2 X2-4"},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        edited->replace(sourceOf(row.source, edited).get(), {row.start, row.end}, row.at, {}, Editable::ReplaceFlags(row.flags));
    });
}

TEST(Extract, TakesAStretchAtItsOwnTimes)
{
    constexpr unsigned kClamp = Cel::EXTRACT_CLAMP_END, kZero = Cel::EXTRACT_EVEN_ZERO, kKeep = Cel::EXTRACT_KEEP_EFFECT_IDS;
    struct Row { const char *name, *before; double start, end; unsigned flags, sectionsBefore, sectionsAfter; const char* after; };
    static const Row rows[] = {
        {"across a cut",            "A0-4 B4-6",       1, 5, kClamp, 0, 0,     "A1-4@1 B4-5"},
        {"up to a cut",             "A0-4 B4-6",       1, 4, kClamp, 0, 0,     "A1-4@1"},
        {"past the end",            "A0-4 B4-6",       5, 9, kClamp, 0, 0,     "B5-6@1"},
        {"past the end, padded",    "A0-4 B4-6",       5, 9, 0, 0, 0,          "B5-9@1"},
        {"behind the end",          "A0-4",            7, 9, kClamp, 0, 0,     ""},
        {"from before the start",   "A1-4",            -3, 2, kClamp, 0, 0,    "A1-2"},
        {"the ends turned round",   "A0-4",            3, 1, kClamp, 0, 0,     ""},
        {"no length",               "A0-4",            2, 2, 0, 0, 0,          ""},
        {"even no length",          "A0-4",            2, 2, kZero, 0, 0,      "A2-2@2"},
        {"no length at a cut",      "A0-2 B2-4",       2, 2, kZero, 0, 0,      "B2-2"},
        {"a section of no length",  "A0-2 B2-2 C2-4",  2, 2, kZero, 0, 0,      "B2-2"},
        {"no length at the start",  "B0-0 A0-4",       0, 2, kZero, 0, 0,      "B0-0 A0-2"},
        {"from the end: all of it", "A0-6",            6, 6, kZero, 0, 0,      "A0-6"},
        {"past the end: all of it", "A0-6",            6, 8, kZero, 0, 0,      "A0-8"},
        {"from a hole",             "A0-2 B3-5",       2.5, 4, kClamp, 0, 0,   "B3-4"},
        {"up to a hole",            "A0-2 B3-5",       1, 2.5, kClamp, 0, 0,   "A1-2@1"},
        {"no start",                "A0-4",            kNan, 2, kClamp, 0, 0,  ""},
        {"no end",                  "A0-4",            1, kInf, kClamp, 0, 0,  "A1-4@1"},
        {"nothing",                 "",                0, 2, 0, 0, 0,          ""},
        {"the level of the in point at the end", "A0-4:1>0", 1, 3, 0, 0, 0,    "A1-3@1:0.75>1"},
        {"speed, ramps, inactive",  "A0-4@5*2%3!~8>12", 1, 3, 0, 0, 0,         "A1-3@7*2~8>12%3>0!1>0"},
        {"temporary identifiers",   "A0-4#1-0-40000001>2-0-40000001", 1, 3, 0, 0, 0, "A1-3@1"},
        {"asked to keep them",      "A0-4#1-0-40000001>2-0-40000001", 1, 3, kKeep, 0, 0, "A1-3@1#1-0-40000001>2-0-40000001"},
        {"other identifiers",       "A0-4#7>8",        1, 3, 0, 0, 0,          "A1-3@1#7>8"},
        {"a level change at the end", "A<0 A=2@2:0.5 A>4@4", 1, 2, 0, 0, 0,    "A1-2@1:1>0.5"},
        {"a section after it",      "A0-2 B2-4 C4-6",  2.5, 3, kClamp, 0, 1,   "B2-4 C4-4"},
        {"a section before it",     "A0-2 B2-4 C4-6",  2.5, 3, kClamp, 1, 0,   "A0-2 B2-3"},
        {"more than there are",     "A0-2 B2-4 C4-6",  2.5, 3, kClamp, 9, ~0U, "A0-2 B2-4 C4-4"},
    };
    expectEdits(rows, [](Kt::Ptr<Cel>& edited, const Row& row) {
        const std::string before = describe(*edited);
        const Kt::Ptr<Cel> source = edited;
        edited = row.sectionsBefore + row.sectionsAfter == 0 ? source->extract(row.start, row.end, row.flags)
                                                             : source->extract2(row.start, row.end, row.sectionsBefore, row.sectionsAfter);
        EXPECT_EQ(describe(*source), before);
    });
    EXPECT_EQ(thrownBy([] { track("A0-4")->extract(7, 9, kZero); }), "Cel::extract: internal error");
}

TEST(Joining, PutsTwoTracksTogether)
{
    struct Row { const char *name, *before, *other; double offset; const char* after; };
    static const Row welds[] = {
        {"at the end",            "A0-4",   "B0-2",   0,     "A0-4 B4-6"},
        {"behind a hole",         "A0-4",   "B0-2",   1,     "A0-4 B5-7"},
        {"hardly overlapping",    "A0-4",   "B0-2",   -2e-7, "A0-4 B4-6"},
        {"onto nothing",          "",       "B1-2",   3,     "B4-5"},
        {"nothing",               "A0-4",   "",       3,     "A0-4"},
        {"by its length, not to its end", "A1-2", "B5-6", 0,   "A1-2 B6-7"},
        {"itself",                "A0-2 B2-3", "itself", 0,  "A0-2 B2-3 A3-5 B5-6"},
    };
    expectEdits(welds, [](const Kt::Ptr<Cel>& edited, const Row& row) { edited->weld(sourceOf(row.other, edited).get(), row.offset); });
    static const Row appends[] = {
        {"where it ends",         "A0-4",      "B4-6", 0, "A0-4 B4-6"},
        {"wherever it begins",    "A0-4",      "B1-2", 0, "A0-4 B1-2"},
        {"behind nothing",        "",          "B1-2", 0, "B1-2"},
        {"nothing",               "A0-4",      nullptr, 0, "A0-4"},
    };
    expectEdits(appends, [](Kt::Ptr<Cel>& edited, const Row& row) { edited = edited->appendCel(sourceOf(row.other, edited)); });
    static const Row overlays[] = {
        {"onto nothing",          "",          "B1-2",      0, "B1-2"},
        {"onto no length",        "A2-2",      "B0-1",      0, "B0-1"},
        {"nothing",               "A0-2",      "",          0, "A0-2"},
        {"behind it",             "A0-2",      "B5-6",      0, "A0-2 B5-6"},
        {"at its end",            "A0-2",      "B2-6",      0, "A0-2 B2-6"},
        {"into its hole",         "A0-2 B6-8", "C3-5",      0, "A0-2 C3-5 B6-8"},
        {"into both holes",       "A0-1 B4-5 C8-9", "D2-3 E6-7", 0, "A0-1 D2-3 B4-5 E6-7 C8-9"},
        {"in front of it",        "A2-4",      "B0-1",      0, "B0-1 A2-4"},
        {"at the same time",      "A0-2 B3-4", "C3-5",      0, "null"},
    };
    for (const Row& row : overlays) {
        SCOPED_TRACE(row.name);
        const LogCapture log;
        const Kt::Ptr<Cel> made = track(row.before)->overlay(track(row.other), true);
        EXPECT_EQ(made ? describe(*made) : "null", row.after);
    }
    for (const double offset : {-1e-5, kNan})
        EXPECT_EQ(thrownBy([&] { track("A0-4")->weld(track("B0-1").get(), offset); }), "Cel::join: offset must be greater than zero");
}

TEST(WholeTrack, IsTransformedEventByEvent)
{
    // Which edit: s slide, q quantise, p in place, e its end, r reverse, b black at its ends.
    struct Row { const char *name, *before; char edit; double number; const char* after; };
    static const Row rows[] = {
        {"later",                     "A1-3@5 B3-4",    's', 2,    "A3-5@5 B5-6"},
        {"by no number",              "A1-3",           's', kNan, "A1-3"},
        {"onto the frames",           "A0.013-1.03@5 B1.03-2", 'q', 0, "A0-1.04@5 B1.04-2"},
        {"onto the frames, in place", "A0.013-1.03@5 B1.03-2", 'p', 0, "A0-1.04@5>6.017 B1.04-2@0>0.97"},
        {"both on one frame",         "A1-1.012",       'q', 0,    "A1-1"},
        {"its end",                   "A0-1.03 B1.03-2.01", 'e', 0, "A0-1.03 B1.03-2@0>0.98"},
        {"an in point that comes out of order", "A0-1.0200004 B1.0199996-2", 'q', 0, "A0-1.04 B1.04-2@0.02"},
        {"reversed",                  "A0-2@10 B2-3",   'r', 0,    "B0-1@1 A1-3@12#>0"},
        {"reversed, a hole",          "A1-2 B4-6",      'r', 0,    "B1-3@2 A5-6@1#>0"},
        {"reversed, speeds unset",    "A0-4@10*?",      'r', 0,    "A0-4@14*-1#>0"},
        {"reversed, levels",          "A0-4:1>0",       'r', 0,    "A0-4@4:0>1#>0"},
        {"reversed, identifiers",     "A0-2#7>8 B2-3#9>10", 'r', 0, "B0-1@1#9>8 A1-3@2#7>0"},
        {"nothing",                   "",               'r', 0,    ""},
        {"black at both ends",        "a0-5",           'b', 3,    ",0-0 a0-5 ,5-5"},
        {"black at the start",        "a1-5",           'b', 1,    ",1-1 a1-5"},
        {"black at no end",           "a0-5",           'b', 0,    "a0-5"},
        {"black round nothing",       "",               'b', 3,    ",1e+12-1e+12"},
    };
    expectEdits(rows, [](Kt::Ptr<Cel>& edited, const Row& row) {
        const Kt::Ptr<Cel> before = edited;
        switch (row.edit) {
        case 's': edited->make_clean(); edited->slide(row.number); EXPECT_EQ(edited->is_dirty(), 0); break;
        case 'q': edited = before->quantise(); break;
        case 'p': edited->quantiseInPlace(); break;
        case 'e': edited->quantiseCelEnd(); break;
        case 'r': edited = before->reverse(); break;
        default:  edited = before->add_black_to_ends(static_cast<int>(row.number), 'S');
        }
    });
    EXPECT_EQ(thrownBy([] { track("A1.0200004-1.0199996")->quantise(); }), "cel:failed to fixup invalid quantisation\n");
}

TEST(Rescale, MapsAStretchOntoAnother)
{
    struct Row { const char *name, *before; double sourceStart, sourceEnd, start, end, levelEnd, quantum; const char* after; };
    static const Row rows[] = {
        {"shorter",       "A0-4@10",     0, 4, 0, 2, 1, 0,      "A0-2@10*2"},
        {"a part",        "A0-4@10",     1, 3, 5, 6, 1, 0,      "A5-6@11*2"},
        {"backwards",     "A0-4@10",     0, 4, 2, 0, 1, 0,      "A0-2@14*-2#>0"},
        {"fading",        "A0-2 B2-4",   0, 4, 0, 4, 0, 0,      "A0-2:1>0.5 B2-4:0.5>0"},
        {"coarse",        "A0-2 B2-4",   0, 4, 0, 5, 1, 1,      "A0-3*0.666667 B3-5"},
        {"turned round",  "A0-4",        4, 0, 0, 2, 1, 0,      ""},
        {"nothing",       "",            0, 4, 0, 2, 1, 0,      ""},
    };
    expectEdits(rows, [](Kt::Ptr<Cel>& edited, const Row& row) {
        const Kt::Ptr<Cel> before = edited;
        edited = before->rescale(row.sourceStart, row.sourceEnd, row.start, row.end, 1, row.levelEnd, row.quantum, 0);
    });
}

TEST(Trim, MovesAnEndOfASectionAndAllThatFollows)
{
    struct Row { const char *name, *before; int index; double d; trim_type type; bool raw; const char* after; double applied; };
    static const Row rows[] = {
        {"longer at the tail",     "A0-1 B1-3 C3-6",  2, 1, trim_end, false,    "A0-1 B1-4 C4-7",     1},
        {"by its out point",       "A0-1 B1-3 C3-6",  3, 1, trim_black, false,  "A0-1 B1-4 C4-7",     1},
        {"longer at the head",     "A0-1 B1-3 C3-6",  2, 1, trim_start, false,  "A0-1 B1-4@-1 C4-7",  1},
        {"shorter at the head",    "A0-2@10*2 B2-3",  0, -1, trim_start, false, "A0-1@12*2 B1-2",     -1},
        {"the last one",           "A0-1 B1-3*0.5",   3, 1, trim_end, true,     "A0-1 B1-4*0.5",      1},
        {"a frame stays",          "A0-2 B2-3",       0, -5, trim_end, false,   "A0-0.04 B0.04-1.04", -1.96},
        {"nothing stays",          "A0-2 B2-3",       0, -2, trim_end, true,    "A0-0 B0-1",          -2},
        {"less than nothing",      "A0-2",            0, -5, trim_end, true,    "A0--3",              -5},
        {"shorter than a frame",   "A0-0.02 B0.02-1", 0, 0, trim_end, false,    "A0-0.04 B0.04-1.02", 0.02},
        {"too little to see",      "A0-2",            0, 5e-7, trim_end, false, "A0-2",               5e-7},
        {"a level change",         "A<0 A=1@1 A>2@2 B2-3", 0, 1, trim_end, false, "A<0 A=2@2 A>3@3 B3-4", 1},
        {"a hole behind",          "A0-2 B3-4",       0, 1, trim_end, false,    "A0-3 B4-5",          1},
        {"off its line",           "A0-2@0>7",        0, 1, trim_end, false,    "A0-3",               1},
        {"by no number",           "A0-2",            0, kNan, trim_end, false, "A0-2",               0},
        {"for ever",               "A0-2",            0, kInf, trim_end, true,  "A0-2",               0},
        {"nothing",                "",                0, 2, trim_end, false,    "",                   2},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        ce_handle h(edited, row.index);
        EXPECT_DOUBLE_EQ(row.raw ? edited->trimRaw(h, row.d, row.type) : edited->trim(h, row.d, row.type), row.applied);
    });
    for (const int index : {-1, 2})
        EXPECT_EQ(thrownBy([&] { const auto t = track("A0-2"); ce_handle h(t, index); t->trim(h, 1, trim_end); }), "Cel::trim: ceh invalid");
}

TEST(Trim, OfWhatIsSelectedIsLimitedByTheMarks)
{
    struct Row { const char *name, *before; double d; const char* after; double applied; };
    static const Row rows[] = {
        {"nothing selected",       "A0-2 B2-4",             1,  "A0-2 B2-4",               1},
        {"a tail",                 "A0-2^0>2 B2-4",         1,  "A0-3^0>2 B3-5",           1},
        {"a tail, shorter",        "A0-2^0>2 B2-4",         -1, "A0-1^0>2 B1-3",           -1},
        {"as far as it goes",      "A0-2^0>2 B2-4",         -5, "A0-0^0>2 B0-2",           -2},
        {"two tails",              "A0-2^0>2 B2-4^0>2",     1,  "A0-3^0>2 B3-6^0>2",       1},
        {"two tails, limited",     "A0-2^0>2 B2-4^0>2",     5,  "A0-4^0>2 B4-8^0>2",       2},
        {"a head",                 "A0-2 B2-4^1>0",         1,  "A0-2 B2-5@-1^1>0",        1},
        {"both ends: twice",       "A0-2^1>2",              1,  "A0-4@-1^1>2",             1},
        {"black, a hole opens",    "A0-2 .2-4^3>0 B4-5",    1,  "A0-2 .3-5^3>0 B5-6",      1},
        {"black has no room",      "A0-2 .2-4^3>0 B4-5",    -1, "A0-2 .2-4^3>0 B4-5",      0},
        {"black fills a hole",     "A0-2 .3-4^3>0 B4-5",    -4, "A0-2 .2-3^3>0 B3-4",      -1},
        {"black rolls",            "A0-2 .2-4^4>0 B4-5",    1,  "A0-2 .3-4@1^4>0 B4-5",    1},
        {"black rolls to its end", "A0-2 .2-4^4>0 B4-5",    9,  "A0-2 .4-4@2^4>0 B4-5",    2},
        {"too little to see",      "A0-2^0>2",              5e-7, "A0-2^0>2",              0},
        {"by no number",           "A0-2^0>2",              kNan, "A0-2^0>2",              0},
        {"nothing",                "",                      1,  "",                        1},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        EXPECT_DOUBLE_EQ(edited->do_trim_test(row.d), row.applied);
        EXPECT_DOUBLE_EQ(edited->do_trim(row.d), row.applied);
    });
}

TEST(Simplification, TakesOutWhatCarriesNothing)
{
    constexpr auto kAll = Simplification::kAll, kZero = Simplification::kZeroLength, kBlack = Simplification::kBlack,
                   kQuantise = Simplification::kQuantiseInPlace, kMatch = Simplification::kMatchFrameCuts, kTidy = Simplification::eType(9);
    struct Row { const char *name; Simplification::eType kind; const char* before; Cel::Range range; const char* after; };
    static const Row rows[] = {
        {"no length",                kZero, "A0-2 B2-2 C2-4",        kWhole, "A0-2 C2-4"},
        {"between effects",          kZero, "$0-2 B2-2 $2-4",        kWhole, "$0-2 B2-2 $2-4"},
        {"beside an effect",         kZero, "$0-2 B2-2 C2-4",        kWhole, "$0-2 C2-4"},
        {"last, behind an effect",   kZero, "A0-2 $2-4 B4-4",        kWhole, "A0-2 $2-4 B4-4"},
        {"first, before an effect",  kZero, "B0-0 $0-2",             kWhole, "B0-0 $0-2"},
        {"first",                    kZero, "B0-0 A0-2",             kWhole, "A0-2"},
        {"alone",                    kZero, "B0-0",                  kWhole, ""},
        {"several",                  kZero, "A0-0 B0-0 C0-1 D1-1",   kWhole, "C0-1"},
        {"hardly any length",        kZero, "A0-2 B2-2.0000015 C2.0000015-4.0000015", kWhole, "A0-2 C2-4"},
        {"a little length",          kZero, "A0-2 B2-2.000003",      kWhole, "A0-2 B2-2.000003"},
        {"two materials",            kZero, "A<2 B>2",               kWhole, "A<2 B>2"},
        {"in a range",               kZero, "A0-0 B0-1 C1-1 D1-2",   {0.5, 2}, "A0-0 B0-1 D1-2"},
        {"an open end",              kZero, "A0-0 B<0",              kWhole, "B<0"},
        {"plays on",                 kMatch, "A0-2 A2-4@2",          kWhole, "A0-4"},
        {"plays on, fast",           kMatch, "A0-2*2 A2-4@4*2",      kWhole, "A0-4*2"},
        {"plays on, three times",    kMatch, "A0-1 A1-2@1 A2-3@2",   kWhole, "A0-3"},
        {"plays on, in a range",     kMatch, "A0-1 A1-2@1 A2-3@2",   {0, 1.5}, "A0-2 A2-3@2"},
        {"one slope",                kMatch, "A0-2:1>0.5 A2-4@2:0.5>0", kWhole, "A0-4:1>0"},
        {"two slopes",               kMatch, "A0-2:1>0.5 A2-4@2:0.5", kWhole, "A0-2:1>0.5 A2-4@2:0.5"},
        {"a jump of level",          kMatch, "A0-2 A2-4@2:0.5",      kWhole, "A0-2 A2-4@2:0.5"},
        {"a jump",                   kMatch, "A0-2 A2-4@3",          kWhole, "A0-2 A2-4@3"},
        {"another speed",            kMatch, "A0-2 A2-4@2*2",        kWhole, "A0-2 A2-4@2*2"},
        {"a hole",                   kMatch, "A0-2 A3-4@3",          kWhole, "A0-2 A3-4@3"},
        {"a ramp in front",          kMatch, "A0-2~0>4 A2-4@2",      kWhole, "A0-2~0>4 A2-4@2"},
        {"a ramp behind",            kMatch, "A0-2 A2-4@2~4>0",      kWhole, "A0-2 A2-4@2~4>0"},
        {"an effect",                kMatch, "A0-2#7 A2-4@2",        kWhole, "A0-2#7 A2-4@2"},
        {"ramps at the ends",        kMatch, "A0-2~4>0 A2-4@2~0>8",  kWhole, "A0-4~4>8"},
        {"black meets black",        kBlack, ".0-1 .1-2 A2-3",       kWhole, ".0-2 A2-3"},
        {"black of two kinds",       kBlack, "A0-1 .1-2 ,2-3",       kWhole, "A0-1 .1-3"},
        {"black at the ends",        kBlack, ".0-1 A1-2 .2-3",       kWhole, ".0-1 A1-2 .2-3"},
        {"a hole",                   kBlack, "A0-1 B2-3",            kWhole, "A0-1 .1-2 B2-3"},
        {"a hole in sound",          kBlack, "a0-1 b2-3",            kWhole, "a0-1 ,1-2 b2-3"},
        {"a hole behind black",      kBlack, ".0-1 B2-3",            kWhole, ".0-2 B2-3"},
        {"a hole before black",      kBlack, "A0-1 .2-3@5",          kWhole, "A0-1 .1-3@5"},
        {"a hole between black",     kBlack, ".0-1 .2-3",            kWhole, ".0-3"},
        {"black at any speed",       kBlack, ".0-1*2 .1-2@7",        kWhole, ".0-2"},
        {"black in a range",         kBlack, ".0-1 .1-2 .2-3 A3-4",  {0, 1.5}, ".0-2 .2-3 A3-4"},
        {"a hole",                   kTidy, "A0-2 B3-5",             kWhole, "A0-2 .2-3 B3-5"},
        {"holes",                    kTidy, "a0-2 b3-5 c6-7",        kWhole, "a0-2 ,2-3 b3-5 ,5-6 c6-7"},
        {"titles",                   kTidy, "&0-2 &3-4",             kWhole, "&0-2 .2-3 &3-4"},
        {"effects that meet",        kTidy, "$0-2 $2-4",             kWhole, "$0-2 .2-2 $2-4"},
        {"shots that meet",          kTidy, "A0-2 B2-4",             kWhole, "A0-2 B2-4"},
        {"an overlap",               kTidy, "A0-2 B1-3",             kWhole, "A0-2 B1-3"},
        {"a hole before the range",  kTidy, "A0-2 B3-5",             {0, 2.5}, "A0-2 B3-5"},
        {"a hole that ends in it",   kTidy, "A0-2 B3-5",             {3, 3}, "A0-2 .2-3 B3-5"},
        {"no range",                 kTidy, "A0-2 B3-5",             {kNan, 3}, "A0-2 B3-5"},
        {"off the frames",           kQuantise, "A0.013-1@5*2",      kWhole, "A0-1@5>6.974*2"},
        {"all",                      kAll, "A0-1.013 B1.013-1.013 .1.013-1.5 .1.5-2 A3-4", kWhole, "A0-1@0>1.013 .1-3@0>1.987 A3-4"},
        {"all, in a small range",    kAll, "A0-1 B1-1 C1-2 D3-4",    {8, 9}, "A0-1 B1-1 C1-2 .2-3 D3-4"},
        {"nothing",                  kAll, "",                       kWhole, ""},
    };
    expectEdits(rows, [](const Kt::Ptr<Cel>& edited, const Row& row) {
        const int before = edited->numEvents();
        if (row.kind == kTidy)
            edited->simplifyTidy(row.range);
        const bool changed = row.kind != kTidy && edited->simplify(row.kind, row.range);
        EXPECT_TRUE(changed == (edited->numEvents() != before) || row.kind == kTidy);
        if (row.kind == kBlack && row.range == kWhole) {
            EXPECT_FALSE(edited->canSimplifyBlack());
        }
    });
}

// clang-format on

} // namespace
} // namespace cel::test

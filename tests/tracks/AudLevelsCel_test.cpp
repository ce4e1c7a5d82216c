#include "tracks/AudLevelsCel.h"

#include "tests/support/level_notation.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tracks/AudCel.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr double kFrame = 0.04; ///< so the quantum is 0.01

/// An envelope with these nodes.
AudLevelsCel envelope(std::string_view notation, double resolution = kFrame)
{
    AudLevelsCel made(resolution);
    made.getNodeStore().insert_noAdjust(levelNodes(notation));
    return made;
}

std::string text(const AudLevelsCel& handle)
{
    return describe(handle.snapshot().nodes());
}

TEST(AudLevelsCel, IsBornEmptyAndSharedAndCloned)
{
    AudLevelsCel first = AudLevelsCel::createValidButEmpty();
    EXPECT_TRUE(first.valid() && first.performEditOpWithNullSrc());
    EXPECT_EQ(first.getResolution(), 1.0);
    EXPECT_EQ(first.id().getMagicType(), 2);
    EXPECT_EQ(first.getExtents(Editable::kSignificant, true), Editable::invalidRange());
    const AudLevelsCel shared(first);
    AudLevelsCel twin = first.clone();
    first.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    first.is_dummy(true);
    first.setResolution(kFrame);
    EXPECT_EQ(text(shared), "0.1=0.5");
    EXPECT_TRUE(shared.is_dummy());
    EXPECT_EQ(shared.getResolution(), kFrame);
    EXPECT_EQ(text(twin), "");
    EXPECT_FALSE(twin.is_dummy());
    EXPECT_EQ(twin.id(), first.id());

    twin = AudLevelsCel(true, 1.0);
    twin.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    EXPECT_EQ(twin.getExtents(Editable::kAllEvents, false), AudLevelsCel::Range(0.0, 0.0))
        << "one node, on the quantum of 0.25 s";
    twin.insertNode({7.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    EXPECT_EQ(twin.getExtents(Editable::kAllEvents, false), AudLevelsCel::Range(0.0, 7.0));
}

TEST(AudLevelsCel, IsSafeWithoutAnEnvelope)
{
    AudLevelsCel none = AudLevelsCel::createInvalid();
    none.id(IdStamp());
    none.is_dummy(true);
    none.setResolution(1.0);
    none.insertNode({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    none.getNodeStore().insert({0.1, 0.5F, AudLevelsCel::Store::kOrdinary, false});
    none.insert(none, {0.0, 1.0}, 0.0, {});
    none.replace(none, {0.0, 1.0}, 0.0, {}, Editable::kReplacePlain);
    none.remove({0.0, 1.0});
    none.quantiseCelEnd();
    none.replaceClipNodes(AudCel());
    none.checkNodesRevision(AudCel());
    none.tidyGuardNodesForward(1.0);
    none.tidyGuardNodesBackward(1.0);
    none.replaceDependentGuardNodesAtPoint(1.0);
    EXPECT_FALSE(none.simplify(Simplification::kAll, Editable::invalidRange()));
    EXPECT_EQ(none.thinToWithin(1.0), 0U);
    EXPECT_FALSE(none.valid() || none.is_dummy() || none.clone().valid());
    EXPECT_EQ(none.id(), IdStamp(0, 0, 0));
    EXPECT_EQ(none.levelAt(0.0), 1.0F);
    EXPECT_TRUE(none.getNodeStore().empty());
    EXPECT_EQ(none.getExtents(Editable::kAllEvents, false), Editable::invalidRange());
}

TEST(AudLevelsCel, RemovesAStretchAndHoldsTheLevelsOnBothSides)
{
    // clang-format off
    struct Case { const char* name; const char* before; double from, to; const char* after; };
    static const Case cases[] = {
        {"no nodes",                "",                        2, 4, "1.99=1] [2=1"},
        {"between two",             "0=0 10=1",                2, 4, "0=0 1.99=0.199] [2=0.4 8=1"},
        {"with what lies inside",   "0=0 2=1 3=1 4=0.5 10=1",  2, 4, "0=0 1.99=0.995] [2=0.5 8=1"},
        {"a node just behind goes", "0=1 4.0000009=0 10=1",    2, 4, "0=1 1.99=0.5025] [2=0 8=1"},
        {"one just in front stays", "0=1 1.999999999=0 10=1",  2, 4, "0=1 1.99=0.005] 1.999999999=0 [2=0.25 8=1"},
        {"at the beginning",        "0=0 10=1",                0, 4, "[0=0.4 6=1"},
        {"before the beginning",    "0=0 10=1",               -4, 5, "[-4=0.5 1=1"},
        {"nothing",                 "0=0 2=0.5 10=0.5",        2, 2, "0=0 1.99=0.4975] [2=0.5 10=0.5"},
        {"twice in one place",      "1.99=1] [2=0.5 4=0.5",    2, 3, "1.99=1] 1.99=1] [2=0.5 3=0.5"},
        {"behind the end",          "0=0 1=1",                 5, 6, "0=0 1=1 4.99=1] [5=1"},
        {"in black and out",        "0=1* [3=0.5",             2, 4, "0=1* 1.99=0.668333]* [2=0.5"},
        {"no extent",               "0=0",               1e99, 1e99, "0=0 1e+99=0] [1e+99=0"},
        {"no number",               "0=0 10=1",        0, INFINITY,  "0=0 10=1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudLevelsCel levels = envelope(c.before);
        levels.remove({c.from, c.to});
        EXPECT_EQ(text(levels), c.after);
    }
}

TEST(AudLevelsCel, InsertsNodesOfASourceBetweenGuardsAtItsLevels)
{
    // "none" is no source, "dummy" one that has nothing to say, "self" the envelope.
    // clang-format off
    struct Case { const char* name; const char* before; const char* source; double from, to, at; const char* after; };
    static const Case cases[] = {
        {"black",                    "0=0 10=1",  "none",       0, 2, 4, "0=0 3.99=0.399] [4=1* 5.99=1]* [6=0.4 12=1"},
        {"and a node at the place",  "0=0 4=0.5", "none",       0, 2, 4, "0=0 3.99=0.49875] [4=1* 5.99=1]*"},
        {"at the beginning",         "0=0 10=1",  "none",       0, 2, 0, "[0=1* 1.99=1]* [2=0 12=1"},
        {"behind the end",           "0=0",       "none",       0, 2, 4, "0=0 3.99=0] [4=1* 5.99=1]*"},
        {"a dummy",                  "0=0 10=1",  "dummy",      0, 2, 4, "0=0 3.99=0.399] [4=1 5.99=1] [6=0.4 12=1"},
        {"one without nodes",        "0=0 10=1",  "",           0, 2, 4, "0=0 3.99=0.399] [4=1 5.99=1] [6=0.4 12=1"},
        {"nodes",                    "0=0 10=1",  "0=0 20=1*",  8, 10, 4, "0=0 3.99=0.399] [4=0.4 5.99=0.4995] [6=0.4 12=1"},
        {"its own node at the start","0=1 10=1",  "8=0.5 9=0",  8, 10, 4, "0=1 3.99=1] 4=0.5 [4=0.5 5=0 5.99=0] [6=1 12=1"},
        {"not those near its end",   "0=1 10=1",  "0=1 9.9899995=0 9.995=0.5",  8, 10, 4,
                                     "0=1 3.99=1] [4=0.199199 5.99=5e-05] [6=1 12=1"},
        {"less than a quantum",      "0=0 10=1",  "0=0.5 20=0.5", 8, 8.005, 4, "0=0 3.99=0.399] 3.995=0.5] [4=0.5 [4.005=0.4 10.005=1"},
        {"nothing",                  "0=0 10=1",  "0=0.5",      8, 8, 4, "0=0 3.99=0.399] [4=0.4 10=1"},
        {"nothing behind the end",   "0=0",       "0=0.5",      8, 8, 4, "0=0 3.99=0]"},
        {"itself",                   "0=0 4=1 8=0", "self",     2, 6, 2, "0=0 1.99=0.4975] [2=0.5 4=1 5.99=0.5025] [6=0.5 8=1 12=0"},
        {"no number",                "0=0 10=1",  "none",       0, 2, NAN, "0=0 10=1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudLevelsCel levels = envelope(c.before);
        const std::string_view kind = c.source;
        AudLevelsCel source = kind == "none" || kind == "dummy" || kind == "self"
                                  ? AudLevelsCel::createInvalid()
                                  : envelope(kind);
        if (kind == "dummy") {
            source = envelope("0=0.5");
            source.is_dummy(true);
        } else if (kind == "self") {
            source = levels;
        }
        levels.insert(source, {c.from, c.to}, c.at, {});
        EXPECT_EQ(text(levels), c.after);
    }
}

TEST(AudLevelsCel, ReplacesAStretchAndLeavesWhatFollowsAlone)
{
    // clang-format off
    struct Case { const char* name; const char* before; double from, to, at; const char* after; };
    static const Case cases[] = {
        {"in the middle",         "0=0 5=1 10=1", 0, 2, 4,  "0=0 3.99=0.798] 4=0.5 [4=0.5 5.99=0.5] [6=1 10=1"},
        {"at the end",            "0=0 5=1",      0, 2, 4,  "0=0 3.99=0.798] 4=0.5 [4=0.5 5.99=0.5] [6=1"},
        {"at the beginning",      "0=0 5=1",      0, 1, 0,  "0=0.5 [0=0.5 0.99=0.5] [1=0.2 5=1"},
        {"from before 0 on",      "0=0 5=1",      0, 4, -1, "0=0.5 [0=0.5 3.99=0.5] [4=0.6 6=1"},
        {"all before 0",          "0=0 5=1",      0, 2, -3, "0=0.5 [0=0.5 1.99=0.5] [2=0 7=1"},
        {"nothing",               "0=0 5=1",      2, 2.0000005, 1, "0=0 5=1"},
        {"no number",             "0=0 5=1",      2, INFINITY, 1, "0=0 5=1"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudLevelsCel levels = envelope(c.before);
        levels.replace(envelope("0=0.5"), {c.from, c.to}, c.at, {}, Editable::kReplacePlain);
        EXPECT_EQ(text(levels), c.after);
    }
}

TEST(AudLevelsCel, TidiesGuards)
{
    const auto backward = [](AudLevelsCel& levels, double t) { levels.tidyGuardNodesBackward(t); };
    const auto forward = [](AudLevelsCel& levels, double t) { levels.tidyGuardNodesForward(t); };
    const auto anew = [](AudLevelsCel& levels, double t) {
        levels.replaceDependentGuardNodesAtPoint(t);
    };
    // clang-format off
    struct Case { const char* name; void (*tidy)(AudLevelsCel&, double); const char* before; double t; const char* after; };
    const Case cases[] = {
        {"back to a start guard",       backward, "0=1] [1=1 2=1 3=1 3.99=1] [4=1", 3.5, "0=1] 3.99=1] [4=1"},
        {"to an end guard",             backward, "0=1] 1=1 2=1 [4=1",              4.0, "0=1] [4=1"},
        {"a start guard that is first", backward, "[0=1 1=1 2=1 4=1",               4.0, "[0=1 4=1"},
        {"to the beginning",            backward, "0=1 1=1 2=1 4=1",                4.0, "4=1"},
        {"the cut's end guard stays",   backward, "[0=1 1=1 3.99=1] [4=1",          4.0, "[0=1 3.99=1] [4=1"},
        {"nothing in front of 0",       backward, "-1=1 1=1",                       0.0, "-1=1 1=1"},
        {"forward to an end guard",     forward,  "0=1 2=1 3=1 3.99=1] [4=1",       1.0, "0=1 [4=1"},
        {"to a start guard",            forward,  "0=1 2=1 3=1 [4=1 5=1",           1.0, "0=1 [4=1 5=1"},
        {"to the end",                  forward,  "0=1 2=1 3=1",                    2.0, "0=1"},
        {"nothing behind a cut",        forward,  "0=1 [2=1 3=1 4=1]",              2.0, "0=1 [2=1 3=1 4=1]"},
        {"nothing from 0 on",           forward,  "0=1 2=1",                        0.0, "0=1 2=1"},
        {"a pair anew",                 anew,     "0=0.5 3.99=0.3] [4=0.7 8=1",     4.0, "0=0.5 3.99=0.5] [4=0.7 8=1"},
        {"at a bare place",             anew,     "0=0.5 8=0.25*",                  4.0, "0=0.5 3.99=0.5] [4=0.25 8=0.25*"},
        {"behind the end",              anew,     "0=0.5",                          4.0, "0=0.5 [4=1"},
        {"in front of all",             anew,     "5=0.5",                          4.0, "[4=0.5 5=0.5"},
        {"at 0",                        anew,     "0=0.5 1=1",                      0.0, "[0=0.5 1=1"},
        {"without a node",              anew,     "",                               -2.0, "[-2=1"},
        {"no number",                   anew,     "0=0.5",                          NAN, "0=0.5"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudLevelsCel levels = envelope(c.before);
        c.tidy(levels, c.t);
        EXPECT_EQ(text(levels), c.after);
    }
}

TEST(AudLevelsCel, GivesEverySectionItsGuards)
{
    // clang-format off
    struct Case { const char* name; const char* track; const char* before; const char* after; const char* log; };
    static const Case cases[] = {
        {"a section in its middle", "a2-6", "0=0 10=1", "0=0 [2=0.2 5.99=0.599] 10=1", ""},
        {"two that meet", "a0-4 ,4-8", "0=0 8=0.8", "[0=0 3.99=0.399] [4=0.4* 7.99=0.799]* 8=0.8", ""},
        {"old guards go", "a0-4", "[0=1 1=0.5] [2=0.5 3.99=1] 4=1]", "[0=1 3.99=1] 4=1]", ""},
        {"and nodes at the new", "a0-4", "0=1 3.9900005=0.5 6=1*", "[0=1 3.99=0.5] 6=1*", ""},
        {"a level change inside", "a<0 a=1 a>4", "2=0.5*", "[0=0.5 2=0.5 3.99=0.5]", ""},
        {"shorter than a quantum", "a0-0.005", "2=0.5", "0=0.5] [0=0.5 2=0.5", ""},
        {"of no length", "a1-1", "2=0.5", "2=0.5", ""},
        {"no nodes", "a0-4", "", "", ""},
        {"no sections", "", "0=1", "0=1", ""},
        {"no out point", "a<0 b1-2", "0=1", "0=1 [1=1 1.99=1]",
         "---- 'replaceClipNodes()' - INVALID audio-channel event - clip start time <0.000000> ----\n"},
        {"an early one", "a3-1", "0=1", "0=1",
         "---- 'replaceClipNodes()' - INVALID audio-channel event - clip start time <3.000000> ----\n"},
        {"in one another", "a0-3 b1-4", "0=1", "[0=1 2.99=1]",
         "---- 'replaceClipNodes()' - INVALID audio-channel event - clip start time <1.000000> ----\n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudCel sound;
        static_cast<ManagedCel_CelSetter&>(sound).setCel(track(c.track));
        AudLevelsCel levels = envelope(c.before);
        LogCapture log;
        levels.replaceClipNodes(sound);
        EXPECT_EQ(text(levels), c.after);
        EXPECT_EQ(log.text(LogChannel::both), c.log);
        levels.checkNodesRevision(sound);
        EXPECT_EQ(text(levels), c.after) << "once more changes nothing";
    }
    AudLevelsCel untouched = envelope("0=1");
    untouched.replaceClipNodes(AudCel());
    EXPECT_EQ(text(untouched), "0=1");
}

} // namespace
} // namespace cel::test

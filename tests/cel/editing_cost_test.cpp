#include "cel/Cel.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>

namespace cel::test {
namespace {

constexpr int kEvents = 200'000;

/// What an edit of a long track may take of a processor. What costs a multiple for every doubling
/// of the track takes seconds here, also in a slow build.
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr double kAllowed = 0.25;
#else
constexpr double kAllowed = 5.0;
#endif

/// A track of sections of a second that stand so far apart, with so many level changes in each.
Kt::Ptr<Cel> longTrack(std::string_view materials, double spacing, int levelChanges)
{
    Kt::Ptr<Cel> track(new Cel(kEvents, 0.04));
    const int sections = kEvents / (2 + levelChanges);
    for (int i = 0; i < sections; ++i) {
        const double start = i * spacing;
        const Cookie shot = material(materials[static_cast<std::size_t>(i) % materials.size()]);
        IdStamp id;
        track->addEvent(ChannelEvent(start, 0, shot, 1, in_point, id, 0));
        for (int k = 1; k <= levelChanges; ++k)
            track->addEvent(ChannelEvent(start + double(k) / (levelChanges + 1), 0, shot, 0.5F,
                                         level_change, id, 0));
        ChannelEvent out(start + 1, 1, shot, 1, out_point, id, 0);
        out.velocity(1);
        track->addEvent(out);
    }
    return track;
}

void select(Cel& track, int every, trim_type type)
{
    for (int i = 0; i < track.numEvents(); i += every)
        track.getChanEventPtr(i)->set_trim(type);
}

// Every edit that has to do the same at many places of a track at once.
TEST(EditingCost, OfALongTrackGrowsWithItsLengthAlone)
{
    const Cel::Range whole = Editable::invalidRange();
    // clang-format off
    struct Case { const char* name; std::string_view materials; double spacing; int levelChanges; void (*prepare)(Cel&); std::function<void(Cel&)> edit; };
    const Case cases[] = {
        {"insert many sections",        "AB", 1, 0,  nullptr, [](Cel& c) { c.insert(&c, {0, 1e6}, 0.5, {}); }},
        {"insert between holes",        "AB", 2, 0,  nullptr, [](Cel& c) { c.insert(&c, {0, 1e6}, 0.5, {}); }},
        {"replace many sections",       "AB", 1, 0,  nullptr, [](Cel& c) { c.replace(&c, {0, 4e4}, 0.5, {}, Editable::kReplacePlain); }},
        {"remove every second",         ".,", 2, 0,  nullptr, [&](Cel& c) { c.simplifyBlack(whole); }},
        {"merge black that changes",    ".",  1, 2,  nullptr, [&](Cel& c) { c.simplifyBlack(whole); }},
        {"close holes in black",        ".",  2, 2,  nullptr, [&](Cel& c) { c.simplifyBlack(whole); }},
        {"close holes beside black",    "A.", 2, 1,  nullptr, [&](Cel& c) { c.simplifyBlack(whole); }},
        {"merge cuts",                  "A",  1, 0,  nullptr, [&](Cel& c) { c.simplifyAll(whole); }},
        {"fill holes",                  "AB", 2, 0,  nullptr, [&](Cel& c) { c.simplifyAll(whole); }},
        {"no length",                   "AB", 1, 0,  [](Cel& c) { for (int i = 1; i < c.numEvents(); i += 4) { c.getChanEventPtr(i)->edit_time(i / 2); c.getChanEventPtr(i)->strip_name(material('A')); } }, [&](Cel& c) { c.simplifyZeroLengthSections(whole); }},
        {"trim every section",          "AB", 1, 0,  [](Cel& c) { select(c, 2, trim_start); }, [](Cel& c) { c.do_trim(0.01); }},
        {"trim with an open end",       "AB", 1, 0,  [](Cel& c) { select(c, 2, trim_end); c.getChanEventPtr(c.numEvents() - 1)->info(in_point); }, [](Cel& c) { c.do_trim(0.01); }},
        {"trim one section often",      "A",  1, kEvents - 2, [](Cel& c) { select(c, 1, trim_end); }, [](Cel& c) { c.do_trim(0.01); }},
        {"feed black often",            "A",  1, kEvents - 2, [](Cel& c) { select(c, 1, trim_black); }, [](Cel& c) { c.do_trim(0.01); }},
        {"trim sections without ends",  "AB", 1, 0,  [](Cel& c) { select(c, 1, trim_end); for (int i = 0; i < c.numEvents(); ++i) c.getChanEventPtr(i)->info(in_point); }, [](Cel& c) { c.do_trim(0.01); }},
    };
    // clang-format on
    const LogCapture quiet;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Kt::Ptr<Cel> track = longTrack(c.materials, c.spacing, c.levelChanges);
        if (c.prepare)
            c.prepare(*track);
        const std::clock_t start = std::clock();
        c.edit(*track);
        EXPECT_LT(double(std::clock() - start) / CLOCKS_PER_SEC, kAllowed);
    }
}

} // namespace
} // namespace cel::test

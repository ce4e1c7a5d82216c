#include "cel/audit.h"

#include "cel/Cel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <string>

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr Cookie kLake(kVideoCookie, 1, 0, 0);
constexpr Cookie kBus(kVideoCookie, 2, 0, 0);

/// Events 0 to 7:  | lake 0-4 | bus 4-6 | black 6-8 | lake 8-10 |, in frames of 0.04 s.
Kt::Ptr<Cel> soundTrack()
{
    Kt::Ptr<Cel> track(new Cel(0, 0.04));
    track->appendEventPair(kLake, 100, 4, -1);
    track->appendEventPair(kBus, 20, 2, -1);
    track->appendEventPair(video_black, 0, 2, -1);
    track->appendEventPair(kLake, 104, 2, -1);
    return track;
}

/// "fault gap 2 4.5, note off-grid 3 6.01": severity, invariant, event and time of each finding.
std::string describeAll(const std::vector<cel::Finding>& findings)
{
    std::string text;
    for (const cel::Finding& finding : findings) {
        char line[128];
        std::snprintf(line, sizeof line, "%s %s %d %g", cel::describe(finding.severity),
                      finding.invariant, finding.index, finding.time);
        text += (text.empty() ? "" : ", ") + std::string(line);
    }
    return text;
}

void addEvent(Cel& track, double edit, ce_info kind)
{
    ChannelEvent event(edit, edit, kLake, 1.0F, kind, IdStamp(), 0);
    event.velocity(1);
    track.addEvent(event);
}

ChannelEvent& at(Cel& track, int i)
{
    return *track.getChanEventPtr(i);
}

/// Moves a section in both of its events, and its strip times along.
void moveSection(Cel& track, int in, double from, double to)
{
    at(track, in).edit_time(from);
    at(track, in + 1).edit_time(to);
    at(track, in + 1).strip_time(at(track, in).strip_time() + to - from);
}

void keepAsPairs(Cel& track)
{
    Cookie newer = kLake;
    newer.setVersion(1);
    at(track, 0).strip_name(newer);
    at(track, 1).strip_name(newer);
}

struct Damage
{
    const char* name;
    void (*apply)(Cel&);
    const char* expected;
};

// clang-format off
const Damage kDamages[] = {
    {"an open section", [](Cel& t) { addEvent(t, 10, in_point); },
     "fault pairs -1 2e+81, fault open-section 8 10"},
    {"two in points in a row", [](Cel& t) { at(t, 3).info(in_point); },
     "fault kinds 3 6, fault kinds 4 6"},
    {"an out point first", [](Cel& t) { at(t, 0).info(out_point); },
     "fault kinds 0 0, fault kinds 1 4"},
    {"a kind that there is not", [](Cel& t) { at(t, 4).info(undefined_event); },
     "fault kinds 4 6, fault kinds 5 8"},
    {"a level change behind its section", [](Cel& t) { addEvent(t, 10, in_point); at(t, 8).info(level_change); },
     "fault pairs -1 2e+81, fault kinds 8 10, fault pending 8 10"},
    {"waiting for the end of a section that is whole",
     [](Cel& t) { addEvent(t, 10, in_point); at(t, 8).info(out_point); at(t, 8).strip_time(106); at(t, 7).info(level_change); },
     "warning pairs -1 2e+81, note level-change 7 10, fault pending 8 10"},
    {"an edit time never set", [](Cel& t) { at(t, 2).edit_time(cel::kUnsetTime); }, "fault edit-time 2 2e+81"},
    {"an edit time that is no number", [](Cel& t) { at(t, 7).edit_time(kNotANumber); }, "fault edit-time 7 nan"},
    {"an endless strip time", [](Cel& t) { at(t, 6).strip_time(1.1e12); }, "fault strip-time 6 8"},
    {"a section backwards", [](Cel& t) { moveSection(t, 6, 8, 7); }, "fault order 7 7"},
    {"two sections at one time", [](Cel& t) { moveSection(t, 6, 7.96, 10); }, "fault overlap 6 7.96"},
    {"a hole", [](Cel& t) { moveSection(t, 6, 9, 10); }, "fault gap 6 9"},
    {"material without length", [](Cel& t) { moveSection(t, 6, 8, 8.0000009); }, "fault zero-length 6 8"},
    {"a negative level", [](Cel& t) { at(t, 0).level_sc(-0.5F); }, "fault level 0 0"},
    {"an endless level", [](Cel& t) { at(t, 1).level_sc(std::numeric_limits<float>::infinity()); }, "fault level 1 4"},
    {"velocities never set", [](Cel& t) { at(t, 2).velocity(cel::kUnsetVelocity); }, "warning velocity 2 4"},
    {"a velocity that is no number", [](Cel& t) { at(t, 3).velocity(float(kNotANumber)); }, "fault velocity 3 6"},
    {"two velocities in a section", [](Cel& t) { at(t, 3).velocity(2); }, "warning section-speed 3 6"},
    {"a strip time off the line", [](Cel& t) { at(t, 3).strip_time(22.00001); }, "warning strip-line 3 6"},
    {"no material", [](Cel& t) { at(t, 6).strip_name(Cookie()); at(t, 7).strip_name(Cookie()); },
     "fault cookie 6 8, fault cookie 7 10"},
    {"two materials in a section", [](Cel& t) { at(t, 7).strip_name(kBus); }, "warning material 7 10"},
    {"counters that lie", [](Cel& t) { at(t, 6).strip_name(video_black); at(t, 7).strip_name(video_black); },
     "warning event-count -1 2e+81, warning black-count -1 2e+81"},
    {"a fade where pairs are stored", [](Cel& t) { keepAsPairs(t); at(t, 3).level_sc(0); }, "warning pair-form 3 6"},
    {"an odd event where pairs are stored", [](Cel& t) { keepAsPairs(t); addEvent(t, 10, in_point); },
     "fault pairs -1 2e+81, warning pair-form -1 2e+81, fault open-section 8 10"},
    {"a level change where pairs are stored",
     [](Cel& t) { keepAsPairs(t); addEvent(t, 10, in_point); addEvent(t, 11, level_change); addEvent(t, 12, out_point); },
     "warning pairs -1 2e+81, warning pair-form -1 2e+81, note level-change 9 11, warning pair-form 9 11, warning pair-form 10 12"},
    {"a cut between two frames", [](Cel& t) { moveSection(t, 6, 8, 10.01); }, "note off-grid 7 10.01"},
};
// clang-format on

TEST(Audit, FindsEachDamageAtItsEventAndNothingElse)
{
    std::set<std::string> seen;
    for (const Damage& damage : kDamages) {
        SCOPED_TRACE(damage.name);
        const Kt::Ptr<Cel> track = soundTrack();
        damage.apply(*track);
        const std::vector<cel::Finding> findings = cel::audit(*track);
        EXPECT_EQ(describeAll(findings), damage.expected);
        for (const cel::Finding& finding : findings) {
            EXPECT_FALSE(finding.text.empty());
            seen.insert(finding.invariant);
        }
    }
    for (const cel::InvariantInfo& known : cel::auditedInvariants())
        EXPECT_EQ(seen.count(known.name), 1U) << known.name << " has no damaged track";
}

TEST(Audit, HasNothingToSayAboutSoundTracks)
{
    struct Case
    {
        const char* name;
        void (*change)(Cel&);
    };
    // clang-format off
    static const Case cases[] = {
        {"as built", [](Cel&) {}},
        {"without events", [](Cel& t) { t.clear(); }},
        {"a speed change", [](Cel& t) {
            ChannelEvent in(10, 50, kBus, 1.0F, in_point, IdStamp(), 0);
            ChannelEvent out(12, 46, kBus, 1.0F, out_point, IdStamp(), 0);
            t.addEvent(in); t.addEvent(out); }},
        {"black of no length", [](Cel& t) { t.appendEventPair(video_black, 0, 0, -1); }},
        {"a fade", [](Cel& t) { at(t, 3).level_sc(0); }},
        {"black with any strip time and speed", [](Cel& t) { at(t, 5).strip_time(-7); at(t, 4).velocity(3); }},
        {"three hours in", [](Cel& t) {
            t.insertEventPair(0, kLake, 0.1, 10800 + 0.04 / 3 * 3, -1); }},
        {"times that rounding moved", [](Cel& t) { at(t, 6).edit_time(8.0000009); }},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Kt::Ptr<Cel> track = soundTrack();
        c.change(*track);
        EXPECT_EQ(describeAll(cel::audit(*track)), "");
    }
}

TEST(Audit, SurvivesEventsOfRandomBytes)
{
    std::mt19937_64 random(20240229);
    for (int round = 0; round < 2000; ++round) {
        const Kt::Ptr<Cel> track = soundTrack();
        for (int i = 0; i < track->numEvents(); ++i) {
            unsigned char bytes[sizeof(ChannelEvent)];
            std::memcpy(bytes, &at(*track, i), sizeof bytes);
            for (unsigned char& byte : bytes)
                if (random() % 4 == 0)
                    byte = static_cast<unsigned char>(random());
            std::memcpy(static_cast<void*>(&at(*track, i)), bytes, sizeof bytes);
        }
        const std::vector<cel::Finding> findings = cel::audit(*track);
        EXPECT_FALSE(findings.empty());
        EXPECT_TRUE(std::is_sorted(findings.begin(), findings.end(),
                                   [](const auto& a, const auto& b) { return a.index < b.index; }));
    }
}

} // namespace

#include "cel/plays_same.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"
#include "tracks/CrossfadeBuilder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <rapidcheck/gtest.h>

/// What rolls and crossfades promise, on random tracks.
namespace cel::test {
namespace {

constexpr double kFrame = 0.04;
using Numbers = std::array<int, 8>;

std::vector<Numbers> randomNumbers()
{
    return *rc::gen::container<std::vector<Numbers>>(
        rc::gen::container<Numbers>(rc::gen::inRange(0, 1000)));
}

/// A section for each row of numbers: sound or black, in whole frames.
Kt::Ptr<Cel> randomTrack()
{
    Kt::Ptr<Cel> made = track("", kFrame);
    for (const Numbers& n : randomNumbers()) {
        const int speed = n[5] % 4 == 0 ? n[5] % 3 - 1 : 1;
        const double length = (n[1] % 25 + 1) * kFrame;
        const ce_handle in = made->appendEventPair(material("abc,"[n[0] % 4]), n[2] % 40 * kFrame,
                                                   length, n[3] % 10);
        ChannelEvent& first = *made->getChanEventPtr(in.get_index());
        ChannelEvent& last = *made->getChanEventPtr(in.get_index() + 1);
        for (ChannelEvent* event : {&first, &last})
            event->velocity(float(speed));
        last.strip_time(first.strip_time() + speed * length);
        first.level_sc(float(n[3] % 5) / 4);
        last.level_sc(n[4] % 2 ? first.level_sc() : float(n[4] % 5) / 4);
        first.audioRamp_DurationQFrames(unsigned(n[6] % 3 ? 0 : n[6]));
        last.audioRamp_DurationQFrames(unsigned(n[7] % 3 ? 0 : n[7]));
    }
    return made;
}

RC_GTEST_PROP(RandomRolls, MergeToWhatPlaysAsBefore, ())
{
    const Kt::Ptr<Cel> source = randomTrack();
    const Cel::Rolls rolls = source->chequerboard();
    for (const Cel* roll : {rolls.a.get(), rolls.b.get()}) {
        RC_ASSERT(bool(wellFormed(*roll)));
        RC_ASSERT(roll->getExtents(Editable::kAllEvents, false) ==
                  source->getExtents(Editable::kAllEvents, false));
    }
    const Kt::Ptr<Cel> merged = Cel::cheq_merge(*rolls.a, *rolls.b);
    RC_ASSERT(bool(wellFormed(*merged)));
    RC_ASSERT(playsSame(*source, *merged));
}

RC_GTEST_PROP(RandomRolls, PlayTheSameInsideTheirShotsWhenTheseGetHandles, ())
{
    const Kt::Ptr<Cel> roll = randomTrack()->chequerboard().a;
    const Kt::Ptr<Cel> wide(new Cel(*roll));
    const auto handle = [] { return *rc::gen::inRange(0, 30) * kFrame; };
    const double before = handle();
    const double after = handle();
    wide->cheq_widen_cel(before, after, *rc::gen::inRange(0, 4));
    RC_ASSERT(bool(wellFormed(*wide)));
    RC_ASSERT(wide->getExtents(Editable::kAllEvents, false) ==
              roll->getExtents(Editable::kAllEvents, false));
    const auto all = listDifferences(*roll, *wide);
    const auto events = roll->events();
    for (std::size_t i = 0; i < events.size(); i += 2)
        for (const DifferingStretch& d : all)
            RC_ASSERT(events[i].strip_name().isBlack() || d.to <= events[i].edit_time() + 2e-6 ||
                      d.from >= events[i + 1].edit_time() - 2e-6);
}

RC_GTEST_PROP(RandomCrossfades, LeaveNoTraceWhenTheyAreTakenAway, ())
{
    const Kt::Ptr<Cel> source = randomTrack();
    source->crossfade_removal_whole();
    const std::string before = describe(*source);
    const int cuts = source->crossfade_whole(*rc::gen::inRange(1, 99) / 50.0,
                                             Aud::GainCurve::eCurveType(*rc::gen::inRange(0, 4)));
    RC_ASSERT(source->crossfades_exist() == (cuts > 0));
    RC_ASSERT(source->crossfade_removal_whole() == cuts);
    RC_ASSERT(describe(*source) == before);
}

/// One change of a fade or a level, as an editor's panel makes it.
void changeRandomly(AudCel& sound, const Numbers& n)
{
    const double time = n[0] % 500 * kFrame;
    const ce_handle h = sound->find_ceh(time, n[1] % 2 ? in_point : out_point);
    if (n[2] % 4 == 0)
        sound.setShotSound(time, static_cast<BeginEnd>(n[3] % 3 - 1), float(n[4] % 5) / 4);
    else if (h.valid() && n[2] % 4 == 1)
        sound.setFadeType(h, Aud::GainCurve::eCurveType(n[3] % 4));
    else if (h.valid())
        sound.setFadeLength(h, static_cast<unsigned short>(n[3] % 2 ? 0 : n[4]));
}

RC_GTEST_PROP(RandomCrossfades, KeepTheWorkingListsAsIfTheyWereMadeAnew, ())
{
    AudCel sound;
    static_cast<ManagedCel_CelSetter&>(sound).setCel(randomTrack());
    sound.crossfade_whole(0.4, Aud::GainCurve::kConstantPower);
    for (const Numbers& n : randomNumbers()) {
        if (n[5] % 8 == 0)
            sound.cfade(n[0] % 500 * kFrame, n[1] % 50 * kFrame, Aud::GainCurve::kLinear);
        changeRandomly(sound, n);
    }
    RC_ASSERT(sound.getXFadeCelsValid());
    const Cel::Rolls lists = sound->cfade_lists();
    RC_ASSERT(bool(wellFormed(*lists.a)) && bool(wellFormed(*lists.b)));
    RC_ASSERT(describe(*sound.getXFadeCel(0)) == describe(*lists.a));
    RC_ASSERT(describe(*sound.getXFadeCel(1)) == describe(*lists.b));
    sound.setXFadesEnabled(false);
    const int removed = sound.crossfade_removal_whole();
    RC_ASSERT(sound.getXFadeCelsValid() == (removed == 0));
}

} // namespace
} // namespace cel::test

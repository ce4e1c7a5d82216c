#include "cel/audit.h"
#include "cel/inspect.h"
#include "fuzz/fuzz.h"
#include "platform/support/TextFile.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cel::fuzz {

unsigned Choices::below(unsigned count)
{
    if (input_.empty())
        return 0;
    next_ = next_ == 0 ? input_.size() - 1 : next_ - 1;
    return std::to_integer<unsigned>(input_[next_]) % count;
}

int Choices::index(const Cel& track)
{
    const unsigned high = below(256);
    return static_cast<int>((high * 256 + below(256)) %
                            (static_cast<unsigned>(track.numEvents()) + 2)) -
           1;
}

double Choices::time(const Cel& track)
{
    constexpr double kNear = 0.6e-6;
    constexpr double kInf = std::numeric_limits<double>::infinity();
    // clang-format off
    static constexpr double kOddTimes[] = {
        0.0, 1.0, -3.5, 0.02, 1e-7, cel::kEndlessTime, -cel::kEndlessTime, 2e12, 5e-10, kUnsetTime,
        kInvalidTime, 1e300, kInf, -kInf, std::numeric_limits<double>::quiet_NaN(), -0.0};
    // clang-format on
    const unsigned how = below(4);
    if (how == 3)
        return kOddTimes[below(std::size(kOddTimes))];
    const ChannelEvent* event = track.getChanEventPtr(index(track));
    const double from = event ? event->edit_time() : track.get_end_time();
    return how == 0 ? from + (double(below(5)) - 2) * kNear : from + double(below(256)) / 25;
}

NumRange<double, Ordered> Choices::range(const Cel& track)
{
    if (below(8) == 0)
        return Editable::invalidRange();
    const double start = time(track);
    return {start, time(track)};
}

Cookie Choices::material()
{
    constexpr Cookie kSynthetic(kEffectCookie, Cookie::kEffect, 0, Cookie::kSynthetic);
    static constexpr Cookie kSome[] = {
        video_black, audio_black, {kVideoCookie, 1, 0, 0}, {kAudioCookie, 2, 3, 4}, kSynthetic, {}};
    Cookie material = kSome[below(std::size(kSome))];
    material.setVersion(static_cast<unsigned char>(below(2)));
    return material;
}

namespace {

/// Runs a call that may refuse by an exception of the library; any other one ends the process.
template <class Call>
void permit(const Call& call)
{
    try {
        call();
    } catch (const Kt::Exception::Base&) {
    }
}

void askAboutEvent(const Cel& track, ce_handle h, double t)
{
    permit([&] { track.get_strip_time(h, t); });
    permit([&] { track.get_strip_level(h, t); });
    permit([&] { track.isActive(h, t); });
    permit([&] { h.matching_in_ceh().next(); });
    permit([&] { h.matching_out_ceh().prev(); });
    permit([&] { CEHPair(h).editRange(); });
    permit([&] { CEHPair(h).isEffect(); });
    permit([&] { track.get_next_ceh(h, in_point); });
    permit([&] { track.get_prev_ceh(h, out_point); });
    permit([&] { h.find_next_trim_mark(); });
    permit([&] { h.get_trim_mark(); });
    permit([&] { track.audioRamp_CurveType(h); });
}

void askForCopies(const Cel& track, Choices& choices)
{
    const double start = choices.time(track);
    const double end = choices.time(track);
    permit([&] { track.extract(start, end, choices.below(8)); });
    permit([&] { track.extract2(start, end, choices.below(4), choices.below(256) << 24); });
    permit([&] { track.copy(); });
    permit([&] { track.quantise(); });
    permit([&] { track.reverse(); });
    permit([&] { track.add_black_to_ends(3, 'S'); });
    permit([&] { track.simplify(1, true, true); });
    permit([&] { track.simplify_black(choices.range(track)); });
    permit([&] { track.rescale(start, end, end, start, 0.5, 2.0, 0.04, 1); });
    permit([&] {
        const Cel::Rolls rolls = track.chequerboard();
        Cel::cheq_merge(*rolls.a, *rolls.b);
        Cel::cheq_merge(track, *rolls.b);
    });
    permit([&] { track.cfade_lists(); });
}

} // namespace

void examine(const Cel& track, Choices& choices)
{
    constexpr int kAsked = 8; ///< events; others are met by other inputs
    const bool wellFormed = cel::audit(track).empty();
    cel::sectionsMeet(track);
    const cel::CelState state = cel::inspect(track);
    require(state.pendingInIndex >= -1 && state.pendingInIndex < track.numEvents(),
            "the open section is one of the track's");
    track.checkForZeroUtrs();
    track.hasRedundantCuts();
    track.hasRemovableCuts(0);
    track.hasSubFrameCuts();
    track.canSimplifyBlack();
    track.quantise_check();
    track.getExtents(Editable::kSignificant, false);
    track.isEmpty(choices.range(track));
    track.is_black(choices.range(track));
    TextFile text;
    track.writeToED2(text, Kt::Ed2Support::kNtsc);

    for (int i = 0; i < kAsked; ++i) {
        const double t = choices.time(track);
        const auto filter = static_cast<ce_info>(choices.below(16));
        ce_handle seeded = track.get_start_ceh();
        seeded.set_index(choices.index(track));
        askAboutEvent(track, seeded, t);
        track.find_ceh_seeded(seeded, t, filter);
        require(seeded.get_index() >= -1 && seeded.get_index() < track.numEvents(),
                "a search ends on the track or before it");
        require(!wellFormed || seeded.get_index() == track.find_ceh(t, filter).get_index(),
                "a seed does not change what is found");
    }
    askForCopies(track, choices);
}

namespace {

using Edit = void (*)(const Kt::Ptr<Cel>&, Choices&);

ce_handle someEvent(const Kt::Ptr<Cel>& track, Choices& choices)
{
    return {track, choices.index(*track)};
}

// clang-format off
constexpr Edit kEdits[] = {
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->insertEventPair(c.index(*t), c.material(), c.time(*t), c.time(*t), c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->appendEventPair(c.material(), 0.0, double(c.below(100)) / 25, -1.0); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->removeEventPairs(c.index(*t), static_cast<int>(c.below(4)), c.below(2) == 1); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->addEvent(ChannelEvent(c.time(*t), c.time(*t), c.material(), 1.0F, static_cast<ce_info>(c.below(16)), IdStamp(1, 2, 3), 0)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_edit_time(someEvent(t, c), c.time(*t), c.below(2) == 1); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_strip_time(someEvent(t, c), c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_start_strip_time(someEvent(t, c), c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_strip_cookie(someEvent(t, c), c.material()); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_strip_velocity(someEvent(t, c), static_cast<float>(c.time(*t))); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_strip_level(someEvent(t, c), static_cast<float>(c.below(8)) / 4); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_audioRamp_DurationQFrames(someEvent(t, c), c.below(256) << 8); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { someEvent(t, c).select_trim(static_cast<trim_type>(c.below(5))); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->set_resolution(1.0 / (1 + c.below(60))); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->makeCutAt(c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { ce_handle h = someEvent(t, c); t->trim(h, c.time(*t), static_cast<trim_type>(c.below(5))); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->do_trim(c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->remove(c.range(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->insert(c.below(4) == 0 ? nullptr : t.get(), c.range(*t), c.time(*t), {}); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->replace(t.get(), c.range(*t), c.time(*t), {}, Editable::kReplacePlain); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->slide(c.time(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices&)   { t->quantiseInPlace(); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->simplify(static_cast<Simplification::eType>(c.below(5)), c.range(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->simplifyTidy(c.range(*t)); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->cheq_widen_cel(std::fabs(c.time(*t)), std::fabs(c.time(*t)), static_cast<int>(c.below(4))); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->cfade(c.time(*t), std::fabs(c.time(*t)), Aud::GainCurve::kLinear); },
    [](const Kt::Ptr<Cel>& t, Choices& c) { t->crossfade_whole(std::fabs(c.time(*t)), Aud::GainCurve::kSCurve); },
    [](const Kt::Ptr<Cel>& t, Choices&)   { t->crossfade_removal_whole(); },
    [](const Kt::Ptr<Cel>& t, Choices&)   { t->deselect_all_trims(); },
};
// clang-format on

} // namespace

void edit(const Kt::Ptr<Cel>& track, Choices& choices)
{
    permit([&] { kEdits[choices.below(std::size(kEdits))](track, choices); });
}

} // namespace cel::fuzz

#include "bench/bare_track.h"
#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace cel::bench {

namespace {

constexpr double kHandle = 0.48;
constexpr double kFade = 0.4;

// ---- onto rolls and back ----------------------------------------------------------------------

/// The floors write to pages that are kept.
struct OnRolls
{
    explicit OnRolls(std::size_t sections)
        : track(longTrack(sections))
        , rolls(track->chequerboard())
        , first(4 * sections)
        , second(4 * sections)
    {
    }

    Kt::Ptr<Cel> track;
    Cel::Rolls rolls;
    std::vector<ChannelEvent> first;
    std::vector<ChannelEvent> second;
};

/// Every section to one array and a rest of its length to the other.
void dealOut(std::span<const ChannelEvent> events, ChannelEvent* to, ChannelEvent* other)
{
    for (std::size_t i = 0; i + 1 < events.size(); i += 2) {
        for (const ChannelEvent& event : {events[i], events[i + 1]}) {
            *to++ = event;
            *other = event;
            (other++)->strip_name(video_black);
        }
        std::swap(to, other);
    }
}

Contest chequerboard(std::size_t sections)
{
    const auto data = std::make_shared<OnRolls>(sections);
    return {[=] { benchmark::DoNotOptimize(data->track->chequerboard().b->numEvents()); },
            [=] {
                dealOut(data->track->events(), data->first.data(), data->second.data());
                benchmark::DoNotOptimize(data->first.data());
                benchmark::DoNotOptimize(data->second.data());
            }};
}

/// Of two arrays what is not black, in the order of time.
void collect(std::span<const ChannelEvent> a, std::span<const ChannelEvent> b, ChannelEvent* to)
{
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() || j < b.size()) {
        const bool first = j == b.size() || (i < a.size() && a[i].edit_time() < b[j].edit_time());
        const ChannelEvent& event = first ? a[i++] : b[j++];
        if (!event.strip_name().isBlack())
            *to++ = event;
    }
}

Contest merge(std::size_t sections)
{
    const auto data = std::make_shared<OnRolls>(sections);
    return {[=] {
                const auto track = Cel::cheq_merge(*data->rolls.a, *data->rolls.b);
                benchmark::DoNotOptimize(track->numEvents());
            },
            [=] {
                collect(data->rolls.a->events(), data->rolls.b->events(), data->first.data());
                benchmark::DoNotOptimize(data->first.data());
            }};
}

// ---- handles ----------------------------------------------------------------------------------

/// Both start from a copy of the roll.
struct Widening
{
    explicit Widening(const Kt::Ptr<Cel>& roll)
        : pristine(roll)
        , bare(*roll)
    {
    }

    Kt::Ptr<Cel> pristine;
    Kt::Ptr<Cel> track;
    BareTrack bare;
};

Contest widen(std::size_t sections)
{
    const auto data = std::make_shared<Widening>(longTrack(sections)->chequerboard().a);
    return {[=] {
                data->track = Kt::Ptr<Cel>(); // its pages first
                data->track = Kt::Ptr<Cel>(new Cel(*data->pristine));
                data->track->cheq_widen_cel(kHandle, kHandle, Cel::kWidenHeads | Cel::kWidenTails);
            },
            [=] {
                data->bare.restore();
                double by = -kHandle;
                for (ChannelEvent& event : data->bare.events()) {
                    event.edit_time(event.edit_time() + by);
                    event.strip_time(event.strip_time() + by);
                    by = -by;
                }
                benchmark::DoNotOptimize(data->bare.events().data());
            }};
}

// ---- crossfades -------------------------------------------------------------------------------

/// Every event of a shot gets a ramp, one pass.
void setAllRamps(std::span<ChannelEvent> events, unsigned quarterFrames)
{
    for (ChannelEvent& event : events)
        if (!event.strip_name().isBlack())
            event.audioRamp_DurationQFrames(quarterFrames);
    benchmark::DoNotOptimize(events.data());
}

Contest crossfade(std::size_t sections)
{
    const auto data = std::make_shared<Widening>(longTrack(sections));
    return {[=] { data->pristine->crossfade_whole(kFade, Aud::GainCurve::kConstantPower); },
            [=] { setAllRamps(data->bare.events(), 40); }};
}

Contest crossfadeAndRemoval(std::size_t sections)
{
    const auto data = std::make_shared<Widening>(longTrack(sections));
    return {[=] {
                data->pristine->crossfade_whole(kFade, Aud::GainCurve::kConstantPower);
                data->pristine->crossfade_removal_whole();
            },
            [=] {
                setAllRamps(data->bare.events(), 40);
                setAllRamps(data->bare.events(), 0);
            }};
}

} // namespace

std::vector<Row> crossfadeRows()
{
    return {
        {"chequerboard", kSizes, chequerboard},
        {"merge rolls", kSizes, merge},
        {"widen shots", kSizes, widen},
        {"crossfade every cut", kSizes, crossfade},
        {"crossfade every cut, and back", kSizes, crossfadeAndRemoval},
    };
}

} // namespace cel::bench

#include "bench/bare_track.h"
#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>

namespace cel::bench {

namespace {

using Range = NumRange<double, Ordered>;

// ---- tracks made from a track -----------------------------------------------------------------

/// The floors write to pages that are kept.
struct Remaking
{
    Kt::Ptr<Cel> track;
    std::vector<ChannelEvent> target;
};

using Remake = Kt::Ptr<Cel> (*)(const Cel& track);
using Pass = void (*)(std::span<const ChannelEvent> events, ChannelEvent* to);

std::function<Contest(std::size_t)> remaking(Remake remake, Pass pass)
{
    return [=](std::size_t sections) -> Contest {
        const auto data = std::make_shared<Remaking>();
        data->track = longTrack(sections);
        data->target.resize(2 * sections);
        return {[=] { benchmark::DoNotOptimize(remake(*data->track)->numEvents()); },
                [=] {
                    pass(data->track->events(), data->target.data());
                    benchmark::DoNotOptimize(data->target.data());
                }};
    };
}

/// Every event is compared with the one before it and copied.
void checkAndCopy(std::span<const ChannelEvent> events, ChannelEvent* to)
{
    double last = -1.0;
    for (const ChannelEvent& event : events) {
        if (event.edit_time() < last)
            return;
        last = event.edit_time();
        *to++ = event;
    }
}

void copyBackwards(std::span<const ChannelEvent> events, ChannelEvent* to)
{
    const double both = events.front().edit_time() + events.back().edit_time();
    for (auto event = events.rbegin(); event != events.rend(); ++event, ++to) {
        *to = *event;
        to->edit_time(both - event->edit_time());
    }
}

void copyRounding(std::span<const ChannelEvent> events, ChannelEvent* to)
{
    for (const ChannelEvent& event : events) {
        *to = event;
        to->edit_time(roundBare(event.edit_time(), kFrame));
        ++to;
    }
}

// ---- every second section goes ----------------------------------------------------------------

/// Sections in pairs: what `second` makes of a section's material and length stands behind it.
template <class Second>
Kt::Ptr<Cel> pairs(std::size_t sections, const Second& second)
{
    const Kt::Ptr<Cel> lone = longTrack(sections / 2);
    const Kt::Ptr<Cel> track(new Cel(static_cast<int>(2 * sections), kFrame));
    const std::span<const ChannelEvent> events = lone->events();
    for (std::size_t i = 0; i < events.size(); i += 2) {
        const double length = events[i + 1].edit_time() - events[i].edit_time();
        second(*track, events[i], length);
    }
    return track;
}

Kt::Ptr<Cel> withEmptySections(std::size_t sections)
{
    return pairs(sections, [](Cel& track, const ChannelEvent& in, double length) {
        track.appendEventPair(in.strip_name(), in.strip_time(), length, -1.0);
        track.appendEventPair(video_black, 0.0, 0.0, -1.0);
    });
}

Kt::Ptr<Cel> withMatchFrameCuts(std::size_t sections)
{
    return pairs(sections, [](Cel& track, const ChannelEvent& in, double length) {
        track.appendEventPair(in.strip_name(), in.strip_time(), length / 2, -1.0);
        track.appendEventPair(in.strip_name(), in.strip_time() + length / 2, length / 2, -1.0);
    });
}

/// Shots and blacks in turn would have nothing to join: two blacks between every two shots.
Kt::Ptr<Cel> withBlackMeetingBlack(std::size_t sections)
{
    bool black = false;
    return pairs(sections, [&black](Cel& track, const ChannelEvent& in, double length) {
        const Cookie material = black ? video_black : Cookie(kVideoCookie, 7, 0, 0);
        track.appendEventPair(material, in.strip_time(), length / 2, -1.0);
        track.appendEventPair(black ? video_black : Cookie(kVideoCookie, 8, 0, 0), 0.0, length / 2,
                              -1.0);
        black = !black;
    });
}

struct Compacting
{
    explicit Compacting(const Kt::Ptr<Cel>& made)
        : pristine(made)
        , track(new Cel(*made))
        , bare(*made)
    {
    }

    void restore()
    {
        track = Kt::Ptr<Cel>(); // its pages first
        track = Kt::Ptr<Cel>(new Cel(*pristine));
    }

    Kt::Ptr<Cel> pristine;
    Kt::Ptr<Cel> track;
    BareTrack bare;
};

/// The floor: sections that a plain test finds needless go, the others move up. The test sees the
/// last event that stays and the section.
template <class IsNeedless>
void compact(std::span<ChannelEvent> events, const IsNeedless& isNeedless)
{
    std::size_t write = 2;
    for (std::size_t read = 2; read < events.size(); read += 2) {
        if (isNeedless(events[write - 1], events[read], events[read + 1]))
            continue;
        if (write != read) {
            events[write] = events[read];
            events[write + 1] = events[read + 1];
        }
        write += 2;
    }
    benchmark::DoNotOptimize(write);
}

bool isEmptySection(const ChannelEvent&, const ChannelEvent& in, const ChannelEvent& out)
{
    return in.edit_time() == out.edit_time() && in.strip_name() == out.strip_name();
}

bool playsOn(const ChannelEvent& before, const ChannelEvent& in, const ChannelEvent&)
{
    return before.edit_time() == in.edit_time() && before.strip_time() == in.strip_time() &&
           before.strip_name() == in.strip_name() && before.level_sc() == in.level_sc() &&
           before.velocity() == in.velocity();
}

bool isBlackToo(const ChannelEvent& before, const ChannelEvent& in, const ChannelEvent&)
{
    return before.strip_name().isBlack() && in.strip_name().isBlack();
}

using Simplify = void (Cel::*)(const Range&);
using IsNeedless = bool (*)(const ChannelEvent&, const ChannelEvent&, const ChannelEvent&);

template <Simplify kSimplify, IsNeedless kIsNeedless, Kt::Ptr<Cel> (*kMake)(std::size_t)>
Contest simplifying(std::size_t sections)
{
    const auto data = std::make_shared<Compacting>(kMake(sections));
    return {[=] {
                data->restore();
                ((*data->track).*kSimplify)(Editable::invalidRange());
            },
            [=] {
                data->bare.restore();
                compact(data->bare.events(), kIsNeedless);
            }};
}

// ---- in place ---------------------------------------------------------------------------------

Contest quantisingInPlace(std::size_t sections)
{
    const auto data = std::make_shared<Compacting>(longTrack(sections));
    return {[=] { data->track->quantiseInPlace(); },
            [=] {
                shiftRounding(data->bare.events(), 0.0, kFrame);
                benchmark::DoNotOptimize(data->bare.events().data());
            }};
}

} // namespace

std::vector<Row> wholeTrackRows()
{
    return {
        {"copy(), every event checked", kSizes,
         remaking([](const Cel& track) { return track.copy(); }, checkAndCopy)},
        {"reverse", kSizes,
         remaking([](const Cel& track) { return track.reverse(); }, copyBackwards)},
        {"quantise", kSizes,
         remaking([](const Cel& track) { return track.quantise(); }, copyRounding)},
        {"quantise in place", kSizes, quantisingInPlace},
        {"simplify: empty sections", kSizes,
         simplifying<&Cel::simplifyZeroLengthSections, isEmptySection, withEmptySections>},
        {"simplify: match-frame cuts", kSizes,
         simplifying<&Cel::simplifyMatchFrameCuts, playsOn, withMatchFrameCuts>},
        {"simplify: black", kSizes,
         simplifying<&Cel::simplifyBlack, isBlackToo, withBlackMeetingBlack>},
    };
}

} // namespace cel::bench

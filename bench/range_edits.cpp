#include "bench/bare_track.h"
#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace cel::bench {

namespace {

constexpr std::size_t kEdits = 16; ///< in a pass, after which the track is what it was
constexpr double kStretch = 10.0;  ///< seconds, two sections

/// Edits all over a track. Every pass begins with a fresh copy of it, and its floor with a memcpy.
struct RangeEdits
{
    explicit RangeEdits(std::size_t sections)
        : pristine(longTrack(sections))
        , track(new Cel(*pristine))
        , bare(*pristine)
        , material(longTrack(8))
    {
        // Evenly spread, so that the tails are half a track on average at every size.
        const double length = pristine->get_end_time() - kEdits * kStretch;
        for (std::size_t i = 0; i < kEdits; ++i) {
            const double t = length * static_cast<double>(2 * i + 1) / (2 * kEdits) + kFrame / 3;
            times.push_back(t);
        }
        Random random(1);
        std::shuffle(times.begin(), times.end(), random);
        for (const double t : times)
            places.push_back(static_cast<std::size_t>(pristine->find_ceh(t, in_point).get_index()));
    }

    void restore()
    {
        track = Kt::Ptr<Cel>(); // its pages first
        track = Kt::Ptr<Cel>(new Cel(*pristine));
    }

    Kt::Ptr<Cel> pristine;
    Kt::Ptr<Cel> track;
    BareTrack bare;
    Kt::Ptr<Cel> material;
    std::vector<double> times;
    std::vector<std::size_t> places; ///< of the in points of the sections that hold the times
};

/// One edit of the track at a time, and its floor on the bare events from a place on.
using Edit = void (*)(RangeEdits&, double t);
using Floor = void (*)(BareTrack&, std::size_t place);

std::function<Contest(std::size_t)> editing(Edit edit, Floor floor)
{
    return [=](std::size_t sections) -> Contest {
        const auto data = std::make_shared<RangeEdits>(sections);
        const auto editAll = [=] {
            data->restore();
            for (const double t : data->times)
                edit(*data, t);
        };
        const auto moveAll = [=] {
            data->bare.restore();
            for (const std::size_t place : data->places)
                floor(data->bare, place);
            benchmark::DoNotOptimize(data->bare.events().data());
        };
        return {editAll, moveAll, kEdits};
    };
}

void cut(RangeEdits& data, double t)
{
    data.track->makeCutAt(t);
}
void moveByASection(BareTrack& bare, std::size_t place)
{
    bare.moveTail(place, 2);
}

void remove(RangeEdits& data, double t)
{
    data.track->remove({t, t + kStretch});
}
/// Of about three sections that a stretch touches, one goes and two are shortened.
void closeStretch(BareTrack& bare, std::size_t place)
{
    shiftBare(bare.moveTail(std::min(place + 2, bare.events().size()), -2), -kStretch);
}

void insert(RangeEdits& data, double t)
{
    data.track->insert(data.material.get(), {kFrame, kFrame + kStretch}, t, {});
}
/// Three sections come, one is cut in two.
void openStretch(BareTrack& bare, std::size_t place)
{
    shiftRounding(bare.moveTail(place, 8), kStretch, kFrame);
}

void replace(RangeEdits& data, double t)
{
    data.track->replace(data.material.get(), {kFrame, kFrame + kStretch}, t, {},
                        Editable::ReplaceFlags(1));
}
/// One section goes and three come; the description of what lies behind is rounded all the same.
void overwriteStretch(BareTrack& bare, std::size_t place)
{
    shiftRounding(bare.moveTail(place, 4), 0.0, kFrame);
}

// ---- trims ------------------------------------------------------------------------------------

struct Trimming
{
    Kt::Ptr<Cel> track;
    std::vector<ChannelEvent> events;
};

/// The floor of a trim: the selections are looked for, then the later events move.
void scanAndShift(std::span<ChannelEvent> events, std::size_t from, double d)
{
    std::size_t selected = 0;
    for (const ChannelEvent& event : events)
        selected += event.get_trim_type() != trim_none ? 1 : 0;
    benchmark::DoNotOptimize(selected);
    shiftBare(events.subspan(from), d);
}

/// A frame longer and a frame shorter again, with every `every`-th section selected at its end from
/// the middle of the track on, or one alone.
std::function<Contest(std::size_t)> trimming(std::size_t every)
{
    return [every](std::size_t sections) -> Contest {
        const auto data = std::make_shared<Trimming>();
        data->track = longTrack(sections);
        const std::size_t first = every ? 1 : sections | 1;
        for (std::size_t i = first; i < 2 * sections; i += every ? 2 * every : 2 * sections)
            ce_handle(data->track, static_cast<int>(i)).select_trim_end();
        data->events.assign(data->track->events().begin(), data->track->events().end());
        const auto trim = [data] {
            benchmark::DoNotOptimize(data->track->do_trim(kFrame));
            benchmark::DoNotOptimize(data->track->do_trim(-kFrame));
        };
        const auto shift = [data, first] {
            scanAndShift(data->events, first, kFrame);
            scanAndShift(data->events, first, -kFrame);
        };
        return {trim, shift, 2};
    };
}

} // namespace

std::vector<Row> rangeEditRows()
{
    return {
        {"cut", kSizes, editing(cut, moveByASection)},
        {"ripple remove of 10 s", kSizes, editing(remove, closeStretch)},
        {"ripple insert of 10 s", kSizes, editing(insert, openStretch)},
        {"replace 10 s", kSizes, editing(replace, overwriteStretch)},
        {"ripple trim, one selection", kSizes, trimming(0)},
        {"ripple trim, every tenth section", kSizes, trimming(10)},
    };
}

} // namespace cel::bench

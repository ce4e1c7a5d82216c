#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>

namespace cel::bench {

namespace {

const Cookie kShot(kVideoCookie, 7, 0, 0);
constexpr double kLength = 2.0; ///< of a new section: sums and differences with it are exact

// ---- append -----------------------------------------------------------------------------------

/// The floor: two records a section with an identifier each, to room that is there.
void appendRecords(std::vector<ChannelEvent>& records, std::size_t sections, ChannelEvent record)
{
    records.clear();
    for (std::size_t i = 0; i < 2 * sections; ++i) {
        record.editGraph(ChannelEvent::newId());
        records.push_back(record);
    }
}

void appendSections(Cel& track, std::size_t sections)
{
    track.clear(); // keeps its room
    for (std::size_t i = 0; i < sections; ++i)
        track.appendEventPair(kShot, 0.0, kLength, -1.0);
}

Contest appending(std::size_t sections)
{
    const Kt::Ptr<Cel> track(new Cel(static_cast<int>(2 * sections), kFrame));
    const auto records = std::make_shared<std::vector<ChannelEvent>>();
    records->reserve(2 * sections);
    return {[=] { appendSections(*track, sections); },
            [=, record = ChannelEvent()] { appendRecords(*records, sections, record); }, sections};
}

// ---- insert and remove ------------------------------------------------------------------------

/// The floor of an insertion and a removal: the later events move as bytes, then in time.
/// @param place  from the place of the insertion on; the last two records are the room for it.
void moveTail(std::span<ChannelEvent> place)
{
    const auto shift = [](std::span<ChannelEvent> events, double by) {
        for (ChannelEvent& event : events)
            event.edit_time(event.edit_time() + by);
    };
    const std::span<ChannelEvent> here = place.first(place.size() - 2);
    const std::span<ChannelEvent> later = place.last(here.size());
    std::memmove(static_cast<void*>(later.data()), here.data(), here.size_bytes());
    shift(later, kLength);
    std::memmove(static_cast<void*>(here.data()), later.data(), here.size_bytes());
    shift(here, -kLength);
}

struct Splicing
{
    Kt::Ptr<Cel> track;
    std::vector<ChannelEvent> events; ///< its events, and room for two more
    std::vector<int> places;          ///< even indices all over the track
};

Contest insertingAndRemoving(std::size_t sections)
{
    constexpr std::size_t kPlaces = 16;
    const auto data = std::make_shared<Splicing>();
    data->track = longTrack(sections);
    data->events.assign(data->track->events().begin(), data->track->events().end());
    data->events.resize(2 * sections + 2);
    Random random(1);
    // Evenly spread, so that the tails are half a track on average at every size.
    for (std::size_t i = 0; i < kPlaces; ++i)
        data->places.push_back(static_cast<int>(sections * (2 * i + 1) / (2 * kPlaces)) * 2);
    std::shuffle(data->places.begin(), data->places.end(), random);

    const auto edit = [data] {
        for (const int at : data->places) {
            data->track->insertEventPair(at, kShot, 0.0, kLength, -1.0);
            data->track->removeEventPair(at, true);
        }
    };
    const auto move = [data] {
        for (const int at : data->places)
            moveTail(std::span(data->events).subspan(static_cast<std::size_t>(at)));
    };
    return {edit, move, kPlaces};
}

// ---- copy -------------------------------------------------------------------------------------

Contest copying(std::size_t sections)
{
    const Kt::Ptr<Cel> track = longTrack(sections);
    const auto target = std::make_shared<std::vector<ChannelEvent>>(2 * sections);
    const auto copy = [track] {
        const Kt::Ptr<Cel> twin(new Cel(*track));
        benchmark::DoNotOptimize(twin->numEvents());
    };
    const auto copyBytes = [track, target] {
        const auto events = track->events();
        std::memcpy(static_cast<void*>(target->data()), events.data(), events.size_bytes());
    };
    return {copy, copyBytes};
}

} // namespace

std::vector<Row> editingRows()
{
    return {
        {"append a section", kSizes, appending},
        {"insert a section and remove it", kSizes, insertingAndRemoving},
        {"copy a track", kSizes, copying},
    };
}

} // namespace cel::bench

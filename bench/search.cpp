#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

namespace cel::bench {

namespace {

/// So many that the processor cannot learn by heart which way each search goes.
constexpr std::size_t kSearches = 1 << 16;

/// A track and the times that are looked for on it.
struct Searching
{
    Kt::Ptr<Cel> track;
    std::vector<double> times;
    std::vector<int> seeds;
};

/// All over the track.
std::shared_ptr<Searching> randomTimes(std::size_t sections)
{
    auto data = std::make_shared<Searching>();
    data->track = longTrack(sections);
    Random random(1);
    std::uniform_real_distribution<double> anywhere(0.0, data->track->get_end_time());
    for (std::size_t i = 0; i < kSearches; ++i)
        data->times.push_back(anywhere(random));
    return data;
}

/// All over the track as well, and with each a seed: an event of the section before or after.
std::shared_ptr<Searching> timesWithSeeds(std::size_t sections)
{
    auto data = randomTimes(sections);
    Random random(2);
    std::uniform_int_distribution<int> sectionsAway(-1, 1);
    for (const double t : data->times) {
        const int here = data->track->find_ceh(t, any_event).get_index();
        const int seed = here + 2 * sectionsAway(random);
        data->seeds.push_back(std::clamp(seed, 0, data->track->numEvents() - 1));
    }
    return data;
}

void findEach(const Searching& data)
{
    for (const double t : data.times)
        benchmark::DoNotOptimize(data.track->find_ceh(t, any_event).get_index());
}

/// What the standard library does on the very same events.
void lowerBoundEach(const Searching& data)
{
    const std::span<const ChannelEvent> events = data.track->events();
    const auto before = [](const ChannelEvent& event, double t) { return event.edit_time() < t; };
    for (const double t : data.times)
        benchmark::DoNotOptimize(std::lower_bound(events.begin(), events.end(), t, before));
}

void findEachSeeded(const Searching& data)
{
    ce_handle found = data.track->get_start_ceh();
    for (std::size_t i = 0; i < data.times.size(); ++i) {
        found.set_index(data.seeds[i]);
        data.track->find_ceh_seeded(found, data.times[i], any_event);
        benchmark::DoNotOptimize(found.get_index());
    }
}

Contest randomSearch(std::size_t sections)
{
    const auto data = randomTimes(sections);
    return {[data] { findEach(*data); }, [data] { lowerBoundEach(*data); }, kSearches};
}

Contest neighbourSearch(std::size_t sections)
{
    const auto data = timesWithSeeds(sections);
    return {[data] { findEachSeeded(*data); }, [data] { findEach(*data); }, kSearches};
}

} // namespace

std::vector<Row> searchRows()
{
    // Also 10^5 and 10^6 events, which are half as many sections.
    const std::vector<std::size_t> sizes = {1'000, 10'000, 50'000, 100'000, 500'000, 1'000'000};
    return {
        {"find (floor: std::lower_bound)", sizes, randomSearch},
        {"find a neighbour from a seed (floor: find)", sizes, neighbourSearch},
    };
}

} // namespace cel::bench

#include "bench/long_track.h"
#include "bench/rows.h"
#include "tracks/AudLevelsCelRep.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace cel::bench {

namespace {

using Store = AudLevelsCelRep::Store;
using Node = Store::Node;
using Levels = Kt::Ptr<AudLevelsCelRep>;

constexpr double kSpacing = 0.5; ///< seconds; sums and differences with it are exact

/// So many nodes, with levels drawn by a function of their number.
template <class Level>
Levels levels(std::size_t nodes, const Level& level)
{
    Levels made(new AudLevelsCelRep(kFrame));
    std::vector<Node> all;
    all.reserve(nodes);
    for (std::size_t i = 0; i < nodes; ++i)
        all.emplace_back(kSpacing * static_cast<double>(i), static_cast<float>(level(i)),
                         Store::kOrdinary, false);
    made->nodes().insert_noAdjust(all);
    return made;
}

Levels roughLevels(std::size_t nodes)
{
    Random random(3);
    std::uniform_real_distribution<double> anyLevel(0.0, 1.0);
    return levels(nodes, [&](std::size_t) { return anyLevel(random); });
}

// ---- level at a time --------------------------------------------------------------------------

Contest askingForLevels(std::size_t nodes)
{
    constexpr std::size_t kQuestions = 1 << 16;
    const Levels data = roughLevels(nodes);
    const auto times = std::make_shared<std::vector<double>>();
    Random random(1);
    std::uniform_real_distribution<double> anywhere(0.0, kSpacing * static_cast<double>(nodes));
    for (std::size_t i = 0; i < kQuestions; ++i)
        times->push_back(anywhere(random));
    const auto ask = [data, times] {
        for (const double t : *times)
            benchmark::DoNotOptimize(data->nodes().getLevelAtTime(t));
    };
    const auto search = [data, times] {
        const auto all = data->nodes().nodes();
        const auto before = [](const Node& node, double t) { return node.getRawTime() < t; };
        for (const double t : *times)
            benchmark::DoNotOptimize(std::lower_bound(all.begin(), all.end(), t, before));
    };
    return {ask, search, kQuestions};
}

// ---- insert and remove ------------------------------------------------------------------------

/// Record of the size of a node with its time in front, for moving nodes bare.
struct Record
{
    double time;
    double rest[2];
};
static_assert(sizeof(Record) == sizeof(Node));

/// The floor of an insertion and a removal: the later nodes move as bytes, then in time.
void moveTail(std::span<Record> place, std::size_t room)
{
    const auto shift = [](std::span<Record> nodes, double by) {
        for (Record& node : nodes)
            node.time += by;
    };
    const auto here = place.first(place.size() - room);
    const auto later = place.last(here.size());
    std::copy_backward(here.begin(), here.end(), later.end());
    shift(later, 1.0);
    std::copy(later.begin(), later.end(), here.begin());
    shift(here, -1.0);
}

/// A second of a source goes in at places all over the envelope, and out again. What both leave in
/// guards is taken out, so that every pass begins with the same nodes.
Contest insertingAndRemoving(std::size_t nodes)
{
    constexpr std::size_t kPlaces = 16;
    constexpr std::size_t kRoom = 5; // two nodes and three guards
    const Levels data = roughLevels(nodes);
    const Levels source = roughLevels(1000);
    data->nodes().reserve(nodes + 64);
    const auto records = std::make_shared<std::vector<Record>>(nodes + kRoom);
    const auto places = std::make_shared<std::vector<std::size_t>>();
    for (std::size_t i = 0; i < kPlaces; ++i)
        places->push_back(nodes * (2 * i + 1) / (2 * kPlaces));
    Random random(1);
    std::shuffle(places->begin(), places->end(), random);

    const auto edit = [=] {
        for (const std::size_t place : *places) {
            // Between two nodes, so that none is lost.
            const double at = kSpacing * (static_cast<double>(place) + 0.5);
            data->insert(source.get(), {100.25, 101.25}, at, {});
            data->remove({at, at + 1.0});
        }
        // The guards that stay are few, and go in one pass over what is compared with two moves
        // and two shifts for each place.
        data->nodes().eraseEach(
            [&](std::size_t i) { return data->nodes().nodes()[i].isGuardNode(); });
    };
    const auto move = [=] {
        for (const std::size_t place : *places)
            moveTail(std::span(*records).subspan(place), kRoom);
    };
    return {edit, move, kPlaces};
}

// ---- thinning ---------------------------------------------------------------------------------

/// Thins a copy of the nodes; the floor copies them too.
template <class Thin, class Pass>
Contest thinning(const Levels& data, const Thin& thin, const Pass& pass)
{
    const Levels copy(new AudLevelsCelRep(*data));
    const auto run = [=] {
        copy->nodes() = data->nodes();
        thin(*copy);
        benchmark::DoNotOptimize(copy->nodes().size());
    };
    const auto bare = [=] {
        copy->nodes() = data->nodes();
        benchmark::DoNotOptimize(pass(copy->nodes().nodes()));
    };
    return {run, bare};
}

double angles(std::span<const Node> nodes)
{
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
        const float rise = nodes[i + 1].getLevel() - nodes[i].getLevel();
        sum += std::atan(static_cast<double>(rise) /
                         (nodes[i + 1].getRawTime() - nodes[i].getRawTime()));
    }
    return sum;
}

double areas(std::span<const Node> nodes)
{
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < nodes.size(); ++i)
        sum += (nodes[i].getLevel() + nodes[i + 1].getLevel()) * 0.5 *
               (nodes[i + 1].getRawTime() - nodes[i].getRawTime());
    return sum;
}

Contest thinningBySlope(std::size_t nodes)
{
    return thinning(
        roughLevels(nodes), [](AudLevelsCelRep& levels) { levels.simplify1(); }, angles);
}

const auto kByArea = [](AudLevelsCelRep& levels) { levels.simplify2(); };

Contest thinningFlat(std::size_t nodes)
{
    return thinning(levels(nodes, [](std::size_t) { return 0.5; }), kByArea, areas);
}

/// One slope from the first node to the last: levels lie about it to their last digit.
Contest thinningSloping(std::size_t nodes)
{
    const double step = 0.8 / static_cast<double>(nodes);
    return thinning(
        levels(nodes, [=](std::size_t i) { return 0.1 + step * static_cast<double>(i); }), kByArea,
        areas);
}

/// Fades of a hundred nodes each, bent as the ear wants them.
Contest thinningFades(std::size_t nodes)
{
    return thinning(
        levels(nodes, [](std::size_t i) { return std::exp(-0.05 * static_cast<double>(i % 100)); }),
        kByArea, areas);
}

const auto kWithinOneDecibel = [](AudLevelsCelRep& levels) { levels.thinToWithin(1.0); };

Contest fewestOfFades(std::size_t nodes)
{
    return thinning(
        levels(nodes, [](std::size_t i) { return std::exp(-0.05 * static_cast<double>(i % 100)); }),
        kWithinOneDecibel, areas);
}

Contest fewestOfSlope(std::size_t nodes)
{
    const double step = 0.8 / static_cast<double>(nodes);
    return thinning(
        levels(nodes, [=](std::size_t i) { return 0.1 + step * static_cast<double>(i); }),
        kWithinOneDecibel, areas);
}

} // namespace

std::vector<Row> levelRows()
{
    return {
        {"level at a time (n nodes)", kSizes, askingForLevels},
        {"insert a second of levels and remove it (n nodes)", kSizes, insertingAndRemoving},
        {"thin levels by slope (n nodes)", kSizes, thinningBySlope},
        {"thin flat levels by area (n nodes)", kSizes, thinningFlat},
        {"thin fades by area (n nodes)", kSizes, thinningFades},
        {"thin one long slope by area (n nodes)", {1'000, 10'000}, thinningSloping},
        {"fewest nodes of fades within 1 dB (n nodes)", kSizes, fewestOfFades},
        {"fewest nodes of one long slope within 1 dB (n nodes)", kSizes, fewestOfSlope},
    };
}

} // namespace cel::bench

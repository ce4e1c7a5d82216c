#include "bench/rows.h"
#include "platform/os/OS.h"
#include "tracks/VidCel.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace cel::bench {

namespace {

constexpr std::size_t kCopies = 1000;

/// The size says nothing here: a copy shares the track, however long.
Contest copyingHandles(std::size_t)
{
    const auto track = std::make_shared<VidCel>();
    const auto count = std::make_shared<std::int32_t>(1);
    const auto copy = [track] {
        for (std::size_t i = 0; i < kCopies; ++i) {
            VidCel handle(*track);
            benchmark::DoNotOptimize(handle);
        }
    };
    const auto countUpAndDown = [count] {
        for (std::size_t i = 0; i < kCopies; ++i) {
            benchmark::DoNotOptimize(OS().increment(*count));
            benchmark::DoNotOptimize(OS().decrement(*count));
        }
    };
    return {copy, countUpAndDown, kCopies};
}

} // namespace

std::vector<Row> trackHandleRows()
{
    return {{"copy a handle and drop it", {1}, copyingHandles}};
}

} // namespace cel::bench

#include "bench/heap_watch.h"
#include "bench/long_track.h"
#include "bench/rows.h"
#include "platform/support/PStream.h"

#include <cmath>

namespace cel::bench {

namespace {

constexpr std::size_t kSections = 100'000;

std::string searchAllocations()
{
    const Kt::Ptr<Cel> track = longTrack(kSections);
    const double end = track->get_end_time();
    const HeapWatch heap;
    ce_handle found;
    int searches = 0;
    for (double t = 0.0; t < end; t += 5.0, ++searches) {
        found = track->find_ceh(t, any_event);
        track->find_ceh_seeded(found, t + 1.0, any_event);
    }
    return std::to_string(heap.allocations()) + " allocations in " + std::to_string(2 * searches) +
           " searches";
}

/// What a track takes: its events, an eighth of room to grow, and what is left over.
std::string memoryOf(const HeapWatch& heap)
{
    constexpr std::size_t kEvents = kSections * 2 * sizeof(ChannelEvent);
    constexpr std::size_t kRoom = kEvents / 8;
    const auto besides = static_cast<std::ptrdiff_t>(heap.bytesInUse() - kEvents - kRoom);
    return std::to_string(kSections) + " sections of 144 bytes, an eighth of room and " +
           std::to_string(besides) + " bytes besides";
}

std::string copiedMemory()
{
    const Kt::Ptr<Cel> track = longTrack(kSections);
    const HeapWatch heap;
    const Kt::Ptr<Cel> copy(new Cel(*track));
    return memoryOf(heap);
}

std::string loadedMemory()
{
    StreamFile file;
    PStream stream(file);
    longTrack(kSections)->STRM_hierarchyPack(stream);
    const HeapWatch heap;
    const Kt::Ptr<Cel> track(new Cel(0, kFrame));
    track->STRM_hierarchyUnpack(stream);
    return memoryOf(heap);
}

} // namespace

std::vector<Note> memoryNotes()
{
    return {
        {"find, allocations", searchAllocations},
        {"memory of a copied track", copiedMemory},
        {"memory of a loaded track", loadedMemory},
    };
}

} // namespace cel::bench

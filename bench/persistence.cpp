#include "bench/long_track.h"
#include "bench/rows.h"
#include "platform/support/PStream.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <span>

namespace cel::bench {

namespace {

constexpr std::size_t kSectionBytes = 2 * sizeof(ChannelEvent);
constexpr std::size_t kFlatBytes = 2 * 64; ///< of a section in flat records
constexpr std::size_t kPairBytes = 96;     ///< in a pair record

using Bytes = std::vector<std::byte>;

/// The floor of packing: of every section as many bytes as its stored form has.
template <std::size_t kStored>
void squeeze(std::span<const std::byte> events, std::span<std::byte> stored)
{
    const std::byte* from = events.data();
    std::byte* to = stored.data();
    for (std::size_t sections = stored.size() / kStored; sections > 0; --sections) {
        for (std::size_t half = 0; half < 2; ++half)
            std::memcpy(to + half * kStored / 2, from + half * kSectionBytes / 2, kStored / 2);
        from += kSectionBytes;
        to += kStored;
    }
}

/// The floor of unpacking: every byte of the events is written.
template <std::size_t kStored>
void stretch(std::span<const std::byte> stored, std::span<std::byte> events)
{
    const std::byte* from = stored.data();
    std::byte* to = events.data();
    for (std::size_t halves = 2 * stored.size() / kStored; halves > 0; --halves) {
        std::memcpy(to, from, kStored / 2);
        std::memset(to + kStored / 2, 0, (kSectionBytes - kStored) / 2);
        from += kStored / 2;
        to += kSectionBytes / 2;
    }
}

/// A track and its stream, and memory for the floors; all of it is kept from pass to pass.
struct Storing
{
    /// @param version  of the references to material: it decides on the form.
    Storing(std::size_t sections, unsigned char version)
        : track(longTrack(sections, version))
        , events(sections * kSectionBytes)
        , stored(sections * (version == 1 ? kPairBytes : kFlatBytes))
    {
        pack();
    }

    void pack()
    {
        file.clear();
        PStream stream(file);
        track->STRM_hierarchyPack(stream);
    }

    void unpack()
    {
        file.seek(0);
        PStream stream(file);
        track->STRM_hierarchyUnpack(stream);
    }

    Kt::Ptr<Cel> track;
    StreamFile file;
    Bytes events;
    Bytes stored;
};

template <unsigned char kVersion, std::size_t kStored>
Contest packing(std::size_t sections)
{
    const auto data = std::make_shared<Storing>(sections, kVersion);
    return {[data] { data->pack(); }, [data] { squeeze<kStored>(data->events, data->stored); }};
}

template <unsigned char kVersion, std::size_t kStored>
Contest unpacking(std::size_t sections)
{
    const auto data = std::make_shared<Storing>(sections, kVersion);
    return {[data] { data->unpack(); }, [data] { stretch<kStored>(data->stored, data->events); }};
}

} // namespace

std::vector<Row> persistenceRows()
{
    return {
        {"pack, flat records", kSizes, packing<0, kFlatBytes>},
        {"pack, pair records", kSizes, packing<1, kPairBytes>},
        {"unpack and check order, flat records", kSizes, unpacking<0, kFlatBytes>},
        {"unpack and check order, pair records", kSizes, unpacking<1, kPairBytes>},
    };
}

} // namespace cel::bench

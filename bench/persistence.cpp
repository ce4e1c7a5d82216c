#include "bench/long_track.h"
#include "bench/rows.h"
#include "bench/stored_forms.h"
#include "platform/support/PStream.h"

#include <memory>

namespace cel::bench {

namespace {

using Bytes = std::vector<std::byte>;

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
    return {[data] { data->pack(); },
            [data] { squeeze<kStored>(data->events, data->stored.data()); }};
}

template <unsigned char kVersion, std::size_t kStored>
Contest unpacking(std::size_t sections)
{
    const auto data = std::make_shared<Storing>(sections, kVersion);
    return {[data] { data->unpack(); },
            [data] { stretch<kStored>(data->stored, data->events.data()); }};
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

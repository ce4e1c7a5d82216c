#include "cel/Cel.h"

#include "cel/detail/faults.h"
#include "cel/detail/records.h"
#include "cel/detail/room.h"
#include "cel/inspect.h"
#include "platform/support/CookieJar.h"
#include "platform/support/Log.h"
#include "platform/support/PStream.h"
#include "platform/support/config.h"
#include "platform/support/layers.h"

#include <algorithm>
#include <atomic>
#include <climits>

using cel::detail::fail;
using cel::detail::kCelModule;
using cel::detail::kEventRecordBytes;
using cel::detail::kPairRecordBytes;

namespace {

constexpr unsigned char kLayerRevision = 4;
constexpr unsigned char kChannelInfoRevision = 2;
constexpr int kSmallestBlock = 3; ///< fewer events are stored one by one

constexpr unsigned char kFlatRecords = 3;
constexpr unsigned char kPairRecords = 4;

/// The smallest streamed event: its revision, four doubles.
constexpr std::size_t kSmallestStreamedEvent = 1 + 4 * sizeof(double);

constexpr const char* kShortFlatBlock =
    "Cel::unpackLegacyEvents() : Failed to read events (unexpected size)";
constexpr const char* kShortPairBlock = "Cel::unpack: Failed to read events (unexpected size)";
constexpr const char* kOddBlock = "Cel::unpack: Failed to read events (unexpected oddness)";

std::atomic<bool> repairsOrder = config_int("fix_out_of_order_events", 1, INT_MIN, INT_MAX) != 0;

std::size_t boundedBy(std::int64_t wanted, std::size_t available)
{
    return std::min(static_cast<std::size_t>(std::max<std::int64_t>(wanted, 0)), available);
}

/// Whether pair records give back the kinds that these events have.
bool fitsPairForm(std::span<const ChannelEvent> events)
{
    for (std::size_t i = 0; i < events.size(); ++i)
        if (events[i].info() != (i % 2 == 0 ? in_point : out_point))
            return false;
    return events.size() % 2 == 0;
}

} // namespace

bool cel::setOrderRepair(bool enabled)
{
    return repairsOrder.exchange(enabled);
}

// ---- the object stream's view of a track ------------------------------------------------------

StreamClassRegistrar Cel::STRM_L_Cel_registrar_(Cel::layerName(), Cel::shortLayerName(),
                                                &Cel::STRM_L_Cel_builder);

LightweightString<char> Cel::shortLayerName()
{
    return "C";
}

LightweightString<char> Cel::layerName()
{
    return "Cel";
}

LightweightString<char> Cel::subHierarchyName(bool shortForm, bool withBase) const
{
    LightweightString<char> name = Taggable::subHierarchyName(shortForm, withBase);
    if (!name.empty())
        name += ".";
    name += shortForm ? shortLayerName() : layerName();
    return name;
}

LightweightString<char> Cel::hierarchyName(bool shortForm, bool withBase) const
{
    return subHierarchyName(shortForm, withBase);
}

Kt::Ptr<Streamable> Cel::STRM_L_Cel_builder(PStream&)
{
    return Kt::Ptr<Streamable>(new Cel(builder));
}

Kt::Ptr<Streamable> Cel::clone(BuilderType type) const
{
    return Kt::Ptr<Streamable>(new Cel(type, *this));
}

void Cel::assign(const Streamable* other)
{
    if (const auto* track = dynamic_cast<const Cel*>(other))
        *this = *track;
}

void Cel::STRM_hierarchyPack(PStream& stream) const
{
    PackStack stack;
    STRM_layerPack(this, stream, &stack);
}

void Cel::STRM_hierarchyUnpack(PStream& stream)
{
    STRM_layerUnpack(this, stream);
}

void Cel::STRM_layerPack(const Cel* track, PStream& stream, PackStack* stack)
{
    PackStack own;
    PackStack& layers = stack ? *stack : own;
    layers.push_back({shortLayerName(), [track](PStream& body) {
                          track->pack(body);
                          return static_cast<unsigned char>(track->packRevision_);
                      }});
    Taggable::STRM_layerPack(track, stream, &layers);
}

void Cel::STRM_layerUnpack(Cel* track, PStream& stream)
{
    Taggable::STRM_layerUnpack(track, stream);
    cel::readLayer(stream, shortLayerName().view(), [track, &stream](const cel::LayerFrame& frame) {
        track->packRevision_ = frame.revision;
        track->chunkSize(frame.bodyBytes);
        track->unpack(stream);
    });
}

// ---- packing ----------------------------------------------------------------------------------

unsigned char Cel::getChannelEventPackRevision() const
{
    if (CookieJar::instance().getDefaultCookieVersion() == 1)
        return kPairRecords;
    for (std::size_t i = 0; i < events_.size(); i += 2)
        if (events_[i].strip_name().version() == 1)
            return kPairRecords;
    return kFlatRecords;
}

void Cel::pack(PStream& stream) const
{
    packRevision_ = kLayerRevision;
    packEditChannelInformation(stream);
    StreamFile& file = stream.file();
    file.setDouble(resolution_);
    file.setLong(numEvents());
    if (numEvents() >= kSmallestBlock) {
        const unsigned char revision = getChannelEventPackRevision();
        file.setLong(eventCount_);
        file.setLong(blackEventCount_);
        file.setCookedChar(static_cast<char>(revision));
        file.setLong(pendingInIndex_);
        if (revision == kFlatRecords)
            packEventsV3(stream);
        else
            packEventsV4(stream);
    } else {
        packSingleEvents(stream);
    }
    dirty_ = 0;
}

void Cel::packEditChannelInformation(PStream& stream) const
{
    stream.file().setCookedChar(static_cast<char>(kChannelInfoRevision));
    editChannelId_.pack(stream);
    stream << editChannelName_ << editChannelSubType_ << editChannelMaterialInfo_;
}

void Cel::packSingleEvents(PStream& stream) const
{
    for (const ChannelEvent& event : events_) {
        stream.file().setCookedChar(static_cast<char>(ChannelEvent::currentBuildRevision()));
        event.pack(stream);
    }
}

void Cel::packEventsV3(PStream& stream) const
{
    // Straight into the stream: a block of its own would be written and read once more.
    std::byte* record = stream.file().extend(events_.size() * kEventRecordBytes).data();
    for (const ChannelEvent& event : events_) {
        cel::detail::writeEventRecord(event, record);
        record += kEventRecordBytes;
    }
}

void Cel::packEventsV4(PStream& stream) const
{
    if (!fitsPairForm(events_))
        LogBoth("Warning: Cel::pack: the events do not fit the pair form, some will be lost\n");
    const std::size_t pairs = events_.size() / 2;
    std::byte* record = stream.file().extend(pairs * kPairRecordBytes).data();
    for (std::size_t i = 0; i < pairs; ++i) {
        cel::detail::writePairRecord(events_[2 * i], events_[2 * i + 1], record);
        record += kPairRecordBytes;
    }
}

// ---- unpacking --------------------------------------------------------------------------------

void Cel::unpack(PStream& stream)
{
    if (stream.atEnd()) {
        dirty_ = 0;
        return;
    }
    // What an earlier layer of the stream lacked is not missing here.
    stream.file().clearFault();
    // Layers of revision 1 carry the form of their body inside.
    const unsigned version =
        packRevision_ == 1 ? stream.file().getUnsignedLong() : static_cast<unsigned>(packRevision_);
    // Kept: readers of fault reports know this place as line 2719.
    if (version < 1 || version > kLayerRevision)
        fail("Unrecognised cel version", kCelModule, 2719);

    unpackEditChannelInformation(stream);
    const double resolution = stream.file().getDouble();
    const std::int32_t count = stream.file().getLong();
    const bool usable = acceptsResolution(resolution);
    init(0, usable ? resolution : resolution_);
    if (!usable)
        stream.errorText().append("Cel::set_resolution: too small");
    else if (count < 0)
        stream.errorText().append(kShortFlatBlock);
    else if (version == 1 || count < kSmallestBlock)
        unpackSingleEvents(stream, count);
    else
        unpackEventBlock(stream, version, count);
    dirty_ = 0;
}

void Cel::unpackEditChannelInformation(PStream& stream)
{
    const auto revision = static_cast<unsigned char>(stream.file().getCookedChar());
    if (revision != kChannelInfoRevision)
        stream.errorText().append("Cel::unpack: unknown edit channel information revision\n");
    editChannelId_.unpack(stream, kChannelInfoRevision);
    stream >> editChannelName_ >> editChannelSubType_ >> editChannelMaterialInfo_;
}

void Cel::unpackSingleEvents(PStream& stream, std::int32_t count)
{
    events_.reserve(boundedBy(count, stream.remaining() / kSmallestStreamedEvent));
    bool lastAccepted = false;
    while (numEvents() < count) {
        const auto revision = static_cast<unsigned char>(stream.file().getCookedChar());
        ChannelEvent event;
        event.unpack(stream, revision);
        if (stream.file().faulted()) {
            patchUp(stream, lastAccepted);
            return;
        }
        lastAccepted = addEvent(event) != 0;
    }
}

void Cel::patchUp(PStream& stream, bool lastAccepted)
{
    vond_printf("Cel::unpack error reading cel. Attempting to patch up cel\n");
    if (!events_.empty() && (events_.back().info() & in_point)) {
        if (lastAccepted)
            adjustEventCounts(events_.back(), false);
        events_.pop_back();
        if (pendingInIndex_ == numEvents())
            pendingInIndex_ = -1;
    }
    if (events_.empty())
        stream.errorText().append(
            "Cel::unpack. Attempting to patch up cel but resultant cel has no events\n");
}

void Cel::unpackEventBlock(PStream& stream, unsigned version, std::int32_t count)
{
    StreamFile& file = stream.file();
    eventCount_ = file.getLong();
    blackEventCount_ = file.getLong();
    unsigned revision = 1;
    if (version >= 3) {
        revision = static_cast<unsigned char>(file.getCookedChar());
        if (revision == 0 || revision > kPairRecords)
            stream.errorText().append("Cel::unpack: Version of channel_event mismatched!");
    }
    const std::int32_t pending = version >= 4 ? file.getLong() : -1;

    switch (revision) {
    case 1:
    case 2:
        unpackLegacyEvents<ChannelEventV2>(stream, count);
        break;
    case kFlatRecords:
        unpackLegacyEvents<ChannelEventV3>(stream, count);
        break;
    case kPairRecords:
        unpackEventsV4(stream, count);
        break;
    default:
        stream.errorText().append("Unexpected channel event revision");
        events_.resize(boundedBy(count, stream.remaining() / kEventRecordBytes));
    }

    // What the file says of an open section is believed only of an in point that is there.
    const ChannelEvent* in = getChanEventPtr(pending);
    pendingInIndex_ = in && (in->info() & in_point) ? pending : -1;
    if (stream.errorText().empty() && repairsOrder)
        fixOutOfOrderEvents();
}

template <class Record>
void Cel::unpackLegacyEvents(PStream& stream, std::int32_t count)
{
    const std::size_t whole = boundedBy(count, stream.remaining() / kEventRecordBytes);
    const std::byte* record = stream.file().take(whole * kEventRecordBytes).data();
    cel::detail::reserveWithRoom(events_, whole);
    for (std::size_t i = 0; i < whole; ++i) {
        events_.push_back(cel::detail::readEventRecord<Record>(record));
        record += kEventRecordBytes;
    }
    if (whole < static_cast<std::size_t>(count))
        stream.errorText().append(kShortFlatBlock);
    if (numEvents() % 2 != 0)
        stream.errorText().append(kOddBlock);
}

void Cel::unpackEventsV4(PStream& stream, std::int32_t count)
{
    const std::size_t wanted = static_cast<std::size_t>(count) / 2;
    const std::size_t whole = std::min(wanted, stream.remaining() / kPairRecordBytes);
    const std::byte* record = stream.file().take(whole * kPairRecordBytes).data();
    if (whole < wanted)
        stream.errorText().append(kShortPairBlock);
    if (count % 2 != 0) {
        stream.errorText().append(kOddBlock);
        // Kept: an odd count leaves events that say nothing, unless the block is short as well.
        if (whole == wanted) {
            events_.resize(static_cast<std::size_t>(count));
            return;
        }
    }

    cel::detail::reserveWithRoom(events_, 2 * whole);
    ChannelEvent in;
    ChannelEvent out;
    for (std::size_t i = 0; i < whole; ++i) {
        cel::detail::readPairRecord(record, in, out);
        events_.push_back(in);
        events_.push_back(out);
        record += kPairRecordBytes;
    }
}

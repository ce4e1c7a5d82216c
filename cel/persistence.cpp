#include "cel/Cel.h"

#include "cel/detail/counts.h"
#include "cel/detail/faults.h"
#include "cel/detail/records.h"
#include "cel/detail/room.h"
#include "cel/inspect.h"
#include "platform/foundation/compare.h"
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

/// Hands the events on in pieces, an even number in each but the last, until `pack` answers false:
/// straight into the stream, whose checksum keeps up with small pieces while they are in the cache.
/// @return whether that was not the case.
template <class Pack>
bool forEachPiece(std::span<const ChannelEvent> events, const Pack& pack)
{
    constexpr std::size_t kPiece = 256;
    for (; events.size() > kPiece; events = events.subspan(kPiece))
        if (!pack(events.first(kPiece)))
            return false;
    return pack(events);
}

/// Whether no edit time lies before the one in front of it: those are what a repair would move.
bool inOrder(std::span<const ChannelEvent> events)
{
    // Without a way out: nearly all are in order, and so the comparisons run side by side.
    bool ordered = true;
    for (std::size_t i = 1; i < events.size(); ++i)
        ordered &= !valLessThanVal(events[i].edit_time(), events[i - 1].edit_time());
    return ordered;
}

/// Fills an empty list with `count` events piece by piece: `read` sees the next and sets every
/// field of them. Small pieces, so that what an event is made of first is overwritten in the cache.
/// @return whether they are in order.
template <class Read>
bool fillInPieces(std::vector<ChannelEvent>& events, std::size_t count, const Read& read)
{
    constexpr std::size_t kPiece = 64;
    const ChannelEvent blank(ChannelEventV3{});
    bool ordered = true;
    cel::detail::reserveWithRoom(events, count);
    for (std::size_t done = 0; done < count; done += kPiece) {
        const std::size_t piece = std::min(kPiece, count - done);
        events.resize(done + piece, blank);
        const std::span all(events);
        read(all.last(piece));
        ordered &= inOrder(all.last(done == 0 ? piece : piece + 1));
    }
    return ordered;
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
        file.setLong(eventCount_);
        file.setLong(blackEventCount_);
        packEventBlock(stream);
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

void Cel::packEventBlock(PStream& stream) const
{
    StreamFile& file = stream.file();
    const std::size_t begin = file.bytes().size();
    const auto packHead = [this, &file](unsigned char revision) {
        file.setCookedChar(static_cast<char>(revision));
        file.setLong(pendingInIndex_);
    };
    // Most tracks are flat or show early that they are not: to look at all references first would
    // be a pass of its own.
    if (CookieJar::instance().getDefaultCookieVersion() != 1) {
        packHead(kFlatRecords);
        if (packEventsV3(stream))
            return;
        file.truncate(begin);
    }
    packHead(kPairRecords);
    packEventsV4(stream);
}

bool Cel::packEventsV3(PStream& stream) const
{
    stream.file().reserve(events_.size() * kEventRecordBytes);
    return forEachPiece(events_, [&stream](std::span<const ChannelEvent> piece) {
        const auto block = stream.file().extend(piece.size() * kEventRecordBytes);
        return cel::detail::writeEventRecords(piece, block.data());
    });
}

void Cel::packEventsV4(PStream& stream) const
{
    const auto sections = std::span(events_).first(events_.size() / 2 * 2);
    stream.file().reserve(sections.size() / 2 * kPairRecordBytes);
    bool kindsFit = true;
    forEachPiece(sections, [&](std::span<const ChannelEvent> piece) {
        const auto block = stream.file().extend(piece.size() / 2 * kPairRecordBytes);
        kindsFit &= cel::detail::writePairRecords(piece, block.data());
        return true;
    });
    if (!kindsFit || sections.size() < events_.size())
        LogBoth("Warning: Cel::pack: the events do not fit the pair form, some will be lost\n");
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

    bool ordered = true;
    switch (revision) {
    case 1:
    case 2:
        ordered = unpackLegacyEvents<ChannelEventV2>(stream, count);
        break;
    case kFlatRecords:
        ordered = unpackLegacyEvents<ChannelEventV3>(stream, count);
        break;
    case kPairRecords:
        ordered = unpackEventsV4(stream, count);
        break;
    default:
        stream.errorText().append("Unexpected channel event revision");
        events_.resize(boundedBy(count, stream.remaining() / kEventRecordBytes));
    }

    // What the file says of an open section is believed only of an in point that is there.
    const ChannelEvent* in = getChanEventPtr(pending);
    pendingInIndex_ = in && (in->info() & in_point) ? pending : -1;
    if (!ordered && stream.errorText().empty() && repairsOrder)
        fixOutOfOrderEvents();
}

template <class Record>
bool Cel::unpackLegacyEvents(PStream& stream, std::int32_t count)
{
    const std::size_t whole = boundedBy(count, stream.remaining() / kEventRecordBytes);
    const std::byte* record = stream.file().take(whole * kEventRecordBytes).data();
    const bool ordered = fillInPieces(events_, whole, [&record](std::span<ChannelEvent> piece) {
        cel::detail::readEventRecords<Record>(record, piece);
        record += piece.size() * kEventRecordBytes;
    });
    if (whole < static_cast<std::size_t>(count))
        stream.errorText().append(kShortFlatBlock);
    if (numEvents() % 2 != 0)
        stream.errorText().append(kOddBlock);
    return ordered;
}

bool Cel::unpackEventsV4(PStream& stream, std::int32_t count)
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
            return true;
        }
    }

    return fillInPieces(events_, 2 * whole, [&record](std::span<ChannelEvent> piece) {
        cel::detail::readPairRecords(record, piece);
        record += piece.size() / 2 * kPairRecordBytes;
    });
}

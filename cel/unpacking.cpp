#include "cel/Cel.h"

#include "cel/detail/counts.h"
#include "cel/detail/faults.h"
#include "cel/detail/layer.h"
#include "cel/detail/records.h"
#include "cel/detail/room.h"
#include "cel/inspect.h"
#include "platform/foundation/compare.h"
#include "platform/support/Log.h"
#include "platform/support/PStream.h"
#include "platform/support/config.h"

#include <algorithm>
#include <atomic>
#include <climits>

using cel::detail::fail;
using cel::detail::kCelModule;
using cel::detail::kChannelInfoRevision;
using cel::detail::kEventRecordBytes;
using cel::detail::kFlatRecords;
using cel::detail::kLayerRevision;
using cel::detail::kPairRecordBytes;
using cel::detail::kPairRecords;
using cel::detail::kSmallestBlock;

namespace {

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

#include "cel/Cel.h"

#include "cel/detail/layer.h"
#include "cel/detail/records.h"
#include "platform/support/CookieJar.h"
#include "platform/support/Log.h"
#include "platform/support/PStream.h"

using cel::detail::kChannelInfoRevision;
using cel::detail::kEventRecordBytes;
using cel::detail::kFlatRecords;
using cel::detail::kLayerRevision;
using cel::detail::kPairRecordBytes;
using cel::detail::kPairRecords;
using cel::detail::kSmallestBlock;

namespace {

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

} // namespace

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

#include "cel/detail/records.h"

#include <array>
#include <bit>
#include <cstring>

namespace cel::detail {

namespace {

constexpr unsigned kHighByteShift = 8;

template <class Record>
void store(const Record& record, std::byte* target)
{
    std::memcpy(target, &record, sizeof(Record));
}

/// Through raw bytes, since a default-made record would draw identifiers that nobody needs.
template <class Record>
Record load(const std::byte* source)
{
    std::array<std::byte, sizeof(Record)> bytes;
    std::memcpy(bytes.data(), source, sizeof(Record));
    return std::bit_cast<Record>(bytes);
}

} // namespace

void writeEventRecord(const ChannelEvent& event, std::byte* record)
{
    ChannelEventV3 flat{};
    event.asV3(flat);
    store(flat, record);
}

void writePairRecord(const ChannelEvent& in, const ChannelEvent& out, std::byte* record)
{
    const auto highByte = static_cast<std::uint8_t>(in.infoWord() >> kHighByteShift);
    const PairRecord pair{in.level_sc(),
                          in.velocity(),
                          in.strip_name(),
                          highByte,
                          {},
                          in.edit_time(),
                          in.strip_time(),
                          in.editGraph(),
                          in.audioRampWord(),
                          {},
                          out.edit_time(),
                          out.strip_time(),
                          out.editGraph(),
                          out.audioRampWord(),
                          {}};
    store(pair, record);
}

template <class Record>
ChannelEvent readEventRecord(const std::byte* record)
{
    return ChannelEvent(load<Record>(record));
}
template ChannelEvent readEventRecord<ChannelEventV2>(const std::byte*);
template ChannelEvent readEventRecord<ChannelEventV3>(const std::byte*);

void readPairRecord(const std::byte* record, ChannelEvent& in, ChannelEvent& out)
{
    const auto pair = load<PairRecord>(record);
    const std::uint32_t sharedInfo = std::uint32_t(pair.infoHighByte) << kHighByteShift;
    const auto fill = [&pair, sharedInfo](ChannelEvent& event, ce_info kind) {
        event.level_sc(pair.level);
        event.velocity(pair.velocity);
        event.strip_name(pair.material);
        event.infoWord(sharedInfo | kind);
    };
    fill(in, in_point);
    in.edit_time(pair.inEdit);
    in.strip_time(pair.inStrip);
    in.editGraph(pair.inGraph);
    in.audioRampWord(pair.inRamp);
    fill(out, out_point);
    out.edit_time(pair.outEdit);
    out.strip_time(pair.outStrip);
    out.editGraph(pair.outGraph);
    out.audioRampWord(pair.outRamp);
}

} // namespace cel::detail

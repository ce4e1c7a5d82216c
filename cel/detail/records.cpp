#include "cel/detail/records.h"

#include <cstring>

namespace cel::detail {

/// Where the fields of an event lie in memory.
struct EventLayout
{
    static constexpr std::size_t kLevel = offsetof(ChannelEvent, level_sc_);
    static constexpr std::size_t kTimes = offsetof(ChannelEvent, edit_time_);
    static constexpr std::size_t kMaterial = offsetof(ChannelEvent, strip_name_);
    static constexpr std::size_t kInfo = offsetof(ChannelEvent, infoWord_);
    static constexpr std::size_t kGraph = offsetof(ChannelEvent, editGraph_);
    static constexpr std::size_t kRamp = offsetof(ChannelEvent, audioRampWord_);
};

namespace {

// The stored forms hold stretches of an event as they lie in memory. They are moved as such: field
// by field, the wide loads of what follows would wait for the narrow stores of what came before,
// and a pass would take ten times as long.
using At = EventLayout;
using Flat = ChannelEventV3;
using Pair = PairRecord;

constexpr std::size_t kFlatHeadBytes = offsetof(Flat, cookieSecond);
constexpr std::size_t kMaterialHeadBytes = kFlatHeadBytes - At::kMaterial;
constexpr std::size_t kInfoAndGraphBytes = At::kRamp - At::kInfo;
constexpr std::size_t kLevelAndSpeedBytes = At::kTimes - At::kLevel;
constexpr std::size_t kTimesBytes = At::kMaterial - At::kTimes;
constexpr std::size_t kGraphBytes = At::kRamp - At::kGraph;

static_assert(offsetof(Flat, level_sc) == At::kLevel && offsetof(Flat, edit_time) == At::kTimes &&
              offsetof(Flat, cookieFirst) == At::kMaterial);
static_assert(offsetof(Flat, audioRampWord) - offsetof(Flat, infoWord) == kInfoAndGraphBytes);
static_assert(offsetof(Pair, inEdit) + kTimesBytes == offsetof(Pair, inGraph) &&
              offsetof(Pair, inGraph) + kGraphBytes == offsetof(Pair, inRamp) &&
              offsetof(Pair, outEdit) + kTimesBytes == offsetof(Pair, outGraph) &&
              offsetof(Pair, outGraph) + kGraphBytes == offsetof(Pair, outRamp));

constexpr unsigned kHighByteShift = 8;

std::byte* bytesOf(ChannelEvent& event)
{
    return reinterpret_cast<std::byte*>(&event);
}

const std::byte* bytesOf(const ChannelEvent& event)
{
    return reinterpret_cast<const std::byte*>(&event);
}

template <class Value>
void put(std::byte* to, Value value)
{
    std::memcpy(to, &value, sizeof(value));
}

template <class Value>
Value get(const std::byte* from)
{
    Value value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

/// A word of 32 bits whose upper half is padding, or no field at all.
std::uint32_t rampAlone(const std::byte* word)
{
    return get<std::uint16_t>(word);
}

/// The times, the identifier and the ramp of one event of a pair, to and from its part of the
/// record.
void writeHalf(const std::byte* event, std::byte* half)
{
    std::memcpy(half, event + At::kTimes, kTimesBytes);
    std::memcpy(half + kTimesBytes, event + At::kGraph, kGraphBytes);
    put(half + kTimesBytes + kGraphBytes, rampAlone(event + At::kRamp));
}

void readHalf(const std::byte* half, std::byte* event)
{
    std::memcpy(event + At::kTimes, half, kTimesBytes);
    std::memcpy(event + At::kGraph, half + kTimesBytes, kGraphBytes);
    put(event + At::kRamp, rampAlone(half + kTimesBytes + kGraphBytes));
}

/// What both events of a pair share.
void readShared(const std::byte* record, std::byte* event, ce_info kind)
{
    const auto highByte = get<std::uint8_t>(record + offsetof(Pair, infoHighByte));
    put(event, std::uint64_t(0)); // neither selected nor modified
    std::memcpy(event + At::kLevel, record + offsetof(Pair, level), kLevelAndSpeedBytes);
    std::memcpy(event + At::kMaterial, record + offsetof(Pair, material), sizeof(Cookie));
    put(event + At::kInfo, std::uint32_t(highByte) << kHighByteShift | kind);
}

} // namespace

bool writeEventRecords(std::span<const ChannelEvent> events, std::byte* records)
{
    bool needsPairForm = false;
    bool inPlace = true;
    for (const ChannelEvent& event : events) {
        const std::byte* const bytes = bytesOf(event);
        // The Cookie's second integer, type and version, a byte each.
        const auto material = get<std::uint32_t>(bytes + kFlatHeadBytes);
        std::memcpy(records, bytes, kFlatHeadBytes);
        put(records + offsetof(Flat, cookieSecond), (material & 0xFFU) | (material & 0xFF00U) << 8);
        std::memcpy(records + offsetof(Flat, infoWord), bytes + At::kInfo, kInfoAndGraphBytes);
        put(records + offsetof(Flat, audioRampWord), rampAlone(bytes + At::kRamp));
        records += kEventRecordBytes;
        needsPairForm |= inPlace & ((material >> 16 & 0xFFU) == 1);
        inPlace = !inPlace;
    }
    return !needsPairForm;
}

template <>
void readEventRecords<ChannelEventV3>(const std::byte* records, std::span<ChannelEvent> events)
{
    for (ChannelEvent& event : events) {
        std::byte* const bytes = bytesOf(event);
        const auto second = get<std::uint8_t>(records + offsetof(Flat, cookieSecond));
        const auto type = get<std::uint8_t>(records + offsetof(Flat, cookieType));
        std::memcpy(bytes, records, kFlatHeadBytes);
        // What a flat record does not say of the material, its version above all, is 0.
        std::memset(bytes + kFlatHeadBytes, 0, sizeof(Cookie) - kMaterialHeadBytes);
        put(bytes + kFlatHeadBytes, second | std::uint32_t(type) << 8);
        std::memcpy(bytes + At::kInfo, records + offsetof(Flat, infoWord), kInfoAndGraphBytes);
        put(bytes + At::kRamp, rampAlone(records + offsetof(Flat, audioRampWord)));
        records += kEventRecordBytes;
    }
}

template <>
void readEventRecords<ChannelEventV2>(const std::byte* records, std::span<ChannelEvent> events)
{
    for (ChannelEvent& event : events) {
        event = ChannelEvent(get<ChannelEventV2>(records));
        records += kEventRecordBytes;
    }
}

bool writePairRecords(std::span<const ChannelEvent> events, std::byte* records)
{
    unsigned otherKinds = 0;
    for (std::size_t i = 0; i + 1 < events.size(); i += 2) {
        const std::byte* const in = bytesOf(events[i]);
        const std::byte* const out = bytesOf(events[i + 1]);
        const auto info = get<std::uint32_t>(in + At::kInfo);
        std::memcpy(records + offsetof(Pair, level), in + At::kLevel, kLevelAndSpeedBytes);
        std::memcpy(records + offsetof(Pair, material), in + At::kMaterial, sizeof(Cookie));
        put(records + offsetof(Pair, infoHighByte), info >> kHighByteShift & 0xFFU);
        writeHalf(in, records + offsetof(Pair, inEdit));
        writeHalf(out, records + offsetof(Pair, outEdit));
        otherKinds |= (events[i].info() ^ in_point) | (events[i + 1].info() ^ out_point);
        records += kPairRecordBytes;
    }
    return otherKinds == 0;
}

void readPairRecords(const std::byte* records, std::span<ChannelEvent> events)
{
    for (std::size_t i = 0; i + 1 < events.size(); i += 2) {
        std::byte* const in = bytesOf(events[i]);
        std::byte* const out = bytesOf(events[i + 1]);
        readShared(records, in, in_point);
        readShared(records, out, out_point);
        readHalf(records + offsetof(Pair, inEdit), in);
        readHalf(records + offsetof(Pair, outEdit), out);
        records += kPairRecordBytes;
    }
}

} // namespace cel::detail

#pragma once

#include "cel/ChannelEvent.h"

#include <cstddef>
#include <span>

/// Layouts of the stored event blocks, as bytes.
namespace cel::detail {

/// One flat record of an event, in both legacy forms.
inline constexpr std::size_t kEventRecordBytes = sizeof(ChannelEventV3);

/// One record of a whole section.
struct PairRecord
{
    float level;
    float velocity;
    Cookie material;
    std::uint8_t infoHighByte; ///< bits 8 to 15 of the info word
    std::uint8_t padding1[3];
    double inEdit;
    double inStrip;
    IdStamp inGraph;
    std::uint16_t inRamp;
    std::uint8_t padding2[2];
    double outEdit;
    double outStrip;
    IdStamp outGraph;
    std::uint16_t outRamp;
    std::uint8_t padding3[2];
};
inline constexpr std::size_t kPairRecordBytes = 96;
static_assert(sizeof(PairRecord) == kPairRecordBytes && alignof(PairRecord) == 8);
static_assert(offsetof(PairRecord, material) == 8 && offsetof(PairRecord, infoHighByte) == 28 &&
              offsetof(PairRecord, inEdit) == 32 && offsetof(PairRecord, inGraph) == 48 &&
              offsetof(PairRecord, inRamp) == 60 && offsetof(PairRecord, outEdit) == 64 &&
              offsetof(PairRecord, outGraph) == 80 && offsetof(PairRecord, outRamp) == 92);

/// Writes the flat records of events, padding as zeros.
/// @return whether the form can name their material: no event in the place of an in point refers
/// to it with version 1.
bool writeEventRecords(std::span<const ChannelEvent> events, std::byte* records);

/// Writes the pair records of sections: both times, identifiers and ramps, all else from the in
/// point; padding as zeros. @param events  an even number.
/// @return whether the kinds of all events are those that the form gives back.
bool writePairRecords(std::span<const ChannelEvent> events, std::byte* records);

/// Reads flat records, `Record` being the legacy form. Every field of the events is set.
template <class Record>
void readEventRecords(const std::byte* records, std::span<ChannelEvent> events);

/// Reads pair records into events, an even number. They get the kinds that the form implies, and
/// neither a trim selection nor a modification, of which it knows nothing.
void readPairRecords(const std::byte* records, std::span<ChannelEvent> events);

} // namespace cel::detail

#pragma once

#include "cel/ChannelEvent.h"

#include <cstddef>

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

/// Writes the flat record of an event, padding as zeros.
void writeEventRecord(const ChannelEvent& event, std::byte* record);

/// Writes the pair record of a section: both times, identifiers and ramps, all else from the in
/// point; padding as zeros.
void writePairRecord(const ChannelEvent& in, const ChannelEvent& out, std::byte* record);

/// Reads a flat record, `Record` being the legacy form.
template <class Record>
ChannelEvent readEventRecord(const std::byte* record);

/// Reads a pair record into two events, which get the kinds that the form implies and keep their
/// trim selection and modification, of which the form knows nothing.
void readPairRecord(const std::byte* record, ChannelEvent& in, ChannelEvent& out);

} // namespace cel::detail

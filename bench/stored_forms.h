#pragma once

#include "cel/ChannelEvent.h"

#include <cstddef>
#include <cstring>
#include <span>

/// The floors of packing and unpacking: of every section as many bytes as its stored form has are
/// moved, and nothing is looked at.
namespace cel::bench {

inline constexpr std::size_t kSectionBytes = 2 * sizeof(ChannelEvent);
inline constexpr std::size_t kFlatBytes = 2 * 64; ///< of a section in flat records
inline constexpr std::size_t kPairBytes = 96;     ///< in a pair record

template <std::size_t kStored>
void squeeze(std::span<const std::byte> events, std::byte* to)
{
    const std::byte* from = events.data();
    for (std::size_t halves = 2 * events.size() / kSectionBytes; halves > 0; --halves) {
        std::memcpy(to, from, kStored / 2);
        from += kSectionBytes / 2;
        to += kStored / 2;
    }
}

/// Every byte of the events is written.
template <std::size_t kStored>
void stretch(std::span<const std::byte> stored, std::byte* to)
{
    const std::byte* from = stored.data();
    for (std::size_t halves = 2 * stored.size() / kStored; halves > 0; --halves) {
        std::memcpy(to, from, kStored / 2);
        std::memset(to + kStored / 2, 0, (kSectionBytes - kStored) / 2);
        from += kStored / 2;
        to += kSectionBytes / 2;
    }
}

} // namespace cel::bench

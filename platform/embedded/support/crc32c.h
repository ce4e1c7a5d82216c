#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace cel::detail {

/// The forms behind `cel::crc32c`; all give the same result for every input.
std::uint32_t crc32cByTable(std::span<const std::byte> bytes, std::uint32_t start);

/// @pre hasCrc32cInstruction()
std::uint32_t crc32cByInstruction(std::span<const std::byte> bytes, std::uint32_t start);

/// @pre hasCrc32cFolding()
std::uint32_t crc32cByFolding(std::span<const std::byte> bytes, std::uint32_t start);

bool hasCrc32cInstruction();
bool hasCrc32cFolding();

/// Checksum of two stretches that follow each other, from the checksum of each. O(log bytes).
std::uint32_t joinedCrc32c(std::uint32_t first, std::uint32_t second, std::size_t secondBytes);

} // namespace cel::detail

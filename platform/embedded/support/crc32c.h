#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace cel::detail {

/// The two forms behind `cel::crc32c`; both give the same result for every input.
std::uint32_t crc32cByTable(std::span<const std::byte> bytes, std::uint32_t start);

/// @pre hasCrc32cInstruction()
std::uint32_t crc32cByInstruction(std::span<const std::byte> bytes, std::uint32_t start);

bool hasCrc32cInstruction();

} // namespace cel::detail

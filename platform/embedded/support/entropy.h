#pragma once

#include <cstdint>

namespace cel::detail {

/// 64 random bits from the system. Where it has none to give, bits that differ between processes
/// and between calls. Does not throw and does not allocate, so a forked child may call it.
std::uint64_t randomBits() noexcept;

} // namespace cel::detail

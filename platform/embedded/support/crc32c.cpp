#include "platform/embedded/support/crc32c.h"

#include "platform/support/layers.h"

#include <array>
#include <cstring>

#if defined(__x86_64__) || defined(_M_X64)
#define CEL_CRC_INSTRUCTION
#include <nmmintrin.h>
#if defined(_MSC_VER)
#include <intrin.h>
#endif
#endif

#if defined(CEL_CRC_INSTRUCTION) && defined(__GNUC__)
#define CEL_TARGET_SSE42 __attribute__((target("sse4.2")))
#else
#define CEL_TARGET_SSE42
#endif

namespace cel {

namespace {

// A checksum is a polynomial over GF(2) modulo P, its bits reflected: bit 31 is the coefficient of
// x^0, bit 0 that of x^31.
constexpr std::uint32_t kReflectedP = 0x82F63B78;
constexpr std::uint32_t kOne = 0x80000000;

constexpr std::uint32_t timesX(std::uint32_t a)
{
    return (a >> 1) ^ ((a & 1) != 0 ? kReflectedP : 0);
}

constexpr std::uint32_t product(std::uint32_t a, std::uint32_t b)
{
    std::uint32_t sum = 0;
    for (; a != 0; a <<= 1, b = timesX(b))
        sum ^= (a & kOne) != 0 ? b : 0;
    return sum;
}

/// x^(8 count): what passing over `count` zero bytes multiplies a checksum by.
constexpr std::uint32_t zeroBytes(std::size_t count)
{
    std::uint32_t factor = kOne;
    std::uint32_t power = kOne >> 8;
    for (; count != 0; count >>= 1, power = product(power, power)) {
        if ((count & 1) != 0)
            factor = product(factor, power);
    }
    return factor;
}

/// Results of one fixed multiplication for each value of each of the four bytes of a checksum.
using ByteTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr ByteTables productsWith(std::uint32_t factor)
{
    ByteTables tables{};
    for (unsigned place = 0; place < 4; ++place) {
        for (std::uint32_t value = 0; value < 256; ++value)
            tables[place][value] = product(value << 8 * place, factor);
    }
    return tables;
}

constexpr std::uint32_t look(const ByteTables& tables, std::uint32_t word)
{
    return tables[0][word & 0xFF] ^ tables[1][word >> 8 & 0xFF] ^ tables[2][word >> 16 & 0xFF] ^
           tables[3][word >> 24];
}

// Eight bytes at a time: the first four stand eight bytes in front of the end, the others four.
constexpr ByteTables kPastEight = productsWith(zeroBytes(8));
constexpr ByteTables kPastFour = productsWith(zeroBytes(4));
constexpr std::array<std::uint32_t, 256> kPastOne = productsWith(zeroBytes(1))[0];

template <class Word>
Word load(const std::byte* at)
{
    Word word;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

} // namespace

namespace detail {

std::uint32_t crc32cByTable(std::span<const std::byte> bytes, std::uint32_t start)
{
    std::uint32_t crc = ~start;
    const std::byte* at = bytes.data();
    const std::byte* const end = at + bytes.size();
    for (; end - at >= 8; at += 8)
        crc = look(kPastEight, crc ^ load<std::uint32_t>(at)) ^
              look(kPastFour, load<std::uint32_t>(at + 4));
    for (; at != end; ++at)
        crc = kPastOne[(crc ^ std::to_integer<std::uint32_t>(*at)) & 0xFF] ^ crc >> 8;
    return ~crc;
}

#if defined(CEL_CRC_INSTRUCTION)

namespace {

// The instruction takes three cycles, but one can begin in each: three lanes side by side keep it
// busy. Their checksums are then joined by multiplying past the bytes behind each.
constexpr std::size_t kLane = 1024;
constexpr ByteTables kPastLane = productsWith(zeroBytes(kLane));
constexpr ByteTables kPastTwoLanes = productsWith(zeroBytes(2 * kLane));

} // namespace

CEL_TARGET_SSE42 std::uint32_t crc32cByInstruction(std::span<const std::byte> bytes,
                                                   std::uint32_t start)
{
    const std::byte* at = bytes.data();
    std::size_t left = bytes.size();
    std::uint64_t crc = ~start;
    for (; left >= 3 * kLane; at += 2 * kLane, left -= 3 * kLane) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (const std::byte* const laneEnd = at + kLane; at != laneEnd; at += 8) {
            crc = _mm_crc32_u64(crc, load<std::uint64_t>(at));
            second = _mm_crc32_u64(second, load<std::uint64_t>(at + kLane));
            third = _mm_crc32_u64(third, load<std::uint64_t>(at + 2 * kLane));
        }
        crc = look(kPastTwoLanes, static_cast<std::uint32_t>(crc)) ^
              look(kPastLane, static_cast<std::uint32_t>(second)) ^ third;
    }
    for (; left >= 8; at += 8, left -= 8)
        crc = _mm_crc32_u64(crc, load<std::uint64_t>(at));
    auto narrow = static_cast<std::uint32_t>(crc);
    for (; left != 0; ++at, --left)
        narrow = _mm_crc32_u8(narrow, std::to_integer<unsigned char>(*at));
    return ~narrow;
}

bool hasCrc32cInstruction()
{
#if defined(_MSC_VER) && !defined(__clang__)
    int registers[4];
    __cpuid(registers, 1);
    return (registers[2] & 1 << 20) != 0;
#else
    return __builtin_cpu_supports("sse4.2") != 0;
#endif
}

#else

std::uint32_t crc32cByInstruction(std::span<const std::byte> bytes, std::uint32_t start)
{
    return crc32cByTable(bytes, start);
}

bool hasCrc32cInstruction()
{
    return false;
}

#endif

} // namespace detail

std::uint32_t crc32c(std::span<const std::byte> bytes, std::uint32_t start)
{
    static const auto form =
        detail::hasCrc32cInstruction() ? &detail::crc32cByInstruction : &detail::crc32cByTable;
    return form(bytes, start);
}

} // namespace cel

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

// Not on Windows: g++ does not align the stack there for registers as wide as these.
#if defined(CEL_CRC_INSTRUCTION) && defined(__GNUC__) && !defined(_WIN32)
#define CEL_CRC_FOLDING
#define CEL_TARGET_FOLDING __attribute__((target("sse4.2,avx512f,vpclmulqdq")))
#include <immintrin.h>
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

/// x^(2^i) for every bit i of a size.
constexpr auto kSquares = [] {
    std::array<std::uint32_t, 64> squares{kOne >> 1};
    for (std::size_t i = 1; i < squares.size(); ++i)
        squares[i] = product(squares[i - 1], squares[i - 1]);
    return squares;
}();

constexpr std::uint32_t powerOfX(std::uint64_t exponent)
{
    std::uint32_t power = kOne;
    for (std::size_t i = 0; exponent != 0; ++i, exponent >>= 1) {
        if ((exponent & 1) != 0)
            power = product(power, kSquares[i]);
    }
    return power;
}

/// What passing over `count` zero bytes multiplies a checksum by.
constexpr std::uint32_t zeroBytes(std::size_t count)
{
    return powerOfX(8 * std::uint64_t(count));
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

#if defined(CEL_CRC_FOLDING)

namespace {

/// Four registers are folded side by side: a multiplication begins while others are under way.
constexpr std::size_t kRegister = sizeof(__m512i);
constexpr std::size_t kBlock = 4 * kRegister;

/// Factors that carry both halves of every 128-bit lane past `bytes`. A lane's first half stands 64
/// bits before its second; the rest corrects for where a product of two words comes out.
struct FoldingFactors
{
    explicit constexpr FoldingFactors(std::size_t bytes)
        : firstHalf(powerOfX(8 * bytes + 31))
        , secondHalf(powerOfX(8 * bytes - 33))
    {
    }
    std::uint64_t firstHalf;
    std::uint64_t secondHalf;
};
constexpr FoldingFactors kPastRegister(kRegister);
constexpr FoldingFactors kPastBlock(kBlock);

CEL_TARGET_FOLDING __m512i inEveryLane(const FoldingFactors& factors)
{
    const auto first = static_cast<long long>(factors.firstHalf);
    const auto second = static_cast<long long>(factors.secondHalf);
    return _mm512_set_epi64(second, first, second, first, second, first, second, first);
}

CEL_TARGET_FOLDING __m512i loadRegister(const std::byte* at)
{
    return _mm512_loadu_si512(at);
}

/// What stands for all bytes up to `next` and for those in it.
CEL_TARGET_FOLDING __m512i fold(__m512i sum, __m512i factors, __m512i next)
{
    constexpr int kAllThreeXored = 0x96;
    return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(sum, factors, 0x00),
                                     _mm512_clmulepi64_epi128(sum, factors, 0x11), next,
                                     kAllThreeXored);
}

/// Sixty-four bytes that have the checksum of all whole blocks at `at`, when it starts from 0.
CEL_TARGET_FOLDING std::array<std::byte, kRegister>
foldBlocks(const std::byte* at, std::size_t blocks, std::uint32_t start)
{
    __m512i sums[] = {loadRegister(at), loadRegister(at + kRegister),
                      loadRegister(at + 2 * kRegister), loadRegister(at + 3 * kRegister)};
    const __m128i startBits = _mm_cvtsi32_si128(static_cast<int>(start));
    sums[0] = _mm512_xor_si512(sums[0], _mm512_zextsi128_si512(startBits));

    const __m512i pastBlock = inEveryLane(kPastBlock);
    while (--blocks != 0) {
        at += kBlock;
        sums[0] = fold(sums[0], pastBlock, loadRegister(at));
        sums[1] = fold(sums[1], pastBlock, loadRegister(at + kRegister));
        sums[2] = fold(sums[2], pastBlock, loadRegister(at + 2 * kRegister));
        sums[3] = fold(sums[3], pastBlock, loadRegister(at + 3 * kRegister));
    }
    const __m512i pastRegister = inEveryLane(kPastRegister);
    for (std::size_t i = 1; i < 4; ++i)
        sums[i] = fold(sums[i - 1], pastRegister, sums[i]);

    std::array<std::byte, kRegister> folded;
    _mm512_storeu_si512(folded.data(), sums[3]);
    return folded;
}

} // namespace

std::uint32_t crc32cByFolding(std::span<const std::byte> bytes, std::uint32_t start)
{
    const std::size_t blocks = bytes.size() / kBlock;
    if (blocks == 0)
        return crc32cByInstruction(bytes, start);
    const auto folded = foldBlocks(bytes.data(), blocks, ~start);
    const std::uint32_t whole = crc32cByInstruction(folded, ~0U);
    return crc32cByInstruction(bytes.subspan(blocks * kBlock), whole);
}

bool hasCrc32cFolding()
{
    return hasCrc32cInstruction() && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("vpclmulqdq");
}

#else

std::uint32_t crc32cByFolding(std::span<const std::byte> bytes, std::uint32_t start)
{
    return crc32cByTable(bytes, start);
}

bool hasCrc32cFolding()
{
    return false;
}

#endif

std::uint32_t joinedCrc32c(std::uint32_t first, std::uint32_t second, std::size_t secondBytes)
{
    return product(first, zeroBytes(secondBytes)) ^ second;
}

} // namespace detail

std::uint32_t crc32c(std::span<const std::byte> bytes, std::uint32_t start)
{
    static const auto form = detail::hasCrc32cFolding()       ? &detail::crc32cByFolding
                             : detail::hasCrc32cInstruction() ? &detail::crc32cByInstruction
                                                              : &detail::crc32cByTable;
    return form(bytes, start);
}

} // namespace cel

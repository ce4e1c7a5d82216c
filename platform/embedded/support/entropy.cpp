#include "platform/embedded/support/entropy.h"

#include <chrono>

#if defined(_WIN32)
#include <random>
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <unistd.h>
#if defined(__APPLE__)
#include <sys/random.h>
#endif
#endif

namespace cel::detail {

namespace {

bool drawFromSystem(std::uint64_t& bits) noexcept
{
#if defined(_WIN32)
    try {
        std::random_device device;
        bits = std::uint64_t(device()) << 32 | device();
        return true;
    } catch (...) {
        return false;
    }
#else
    return getentropy(&bits, sizeof(bits)) == 0;
#endif
}

std::uint64_t processNumber() noexcept
{
#if defined(_WIN32)
    return GetCurrentProcessId();
#else
    return static_cast<std::uint64_t>(getpid());
#endif
}

/// Spreads every input bit over all output bits (the finaliser of splitmix64).
constexpr std::uint64_t mixed(std::uint64_t x) noexcept
{
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9U;
    x = (x ^ x >> 27) * 0x94D049BB133111EBU;
    return x ^ x >> 31;
}

} // namespace

std::uint64_t randomBits() noexcept
{
    std::uint64_t bits = 0;
    if (drawFromSystem(bits))
        return bits;
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return mixed(static_cast<std::uint64_t>(now) + mixed(processNumber()));
}

} // namespace cel::detail

#pragma once

#include <atomic>
#include <cstdint>

/// The operating system as the library needs it: the counting behind every reference count.
///
/// Both calls are atomic with respect to each other on any thread. `decrement` releases what the
/// caller wrote and acquires what the others wrote, so whoever sees 0 may destroy the object.
class OperatingSystem
{
public:
    /// @return the value after the increment.
    std::int32_t increment(std::int32_t& counter) const noexcept
    {
        return std::atomic_ref(counter).fetch_add(1, std::memory_order_relaxed) + 1;
    }

    /// @return the value after the decrement.
    std::int32_t decrement(std::int32_t& counter) const noexcept
    {
        return std::atomic_ref(counter).fetch_sub(1, std::memory_order_acq_rel) - 1;
    }

    /// @return the value now; another thread may have changed it by the time it is looked at.
    std::int32_t read(std::int32_t& counter) const noexcept
    {
        return std::atomic_ref(counter).load(std::memory_order_acquire);
    }
};

/// The operating system service of this process. Usable during static initialisation.
inline const OperatingSystem& OS() noexcept
{
    static constexpr OperatingSystem system;
    return system;
}

#pragma once

#include <mutex>

/// Re-entrant lock: one thread may take it several times and must release it as often.
///
/// A lock belongs to its object. Copying or assigning an object gives or leaves it its own free
/// lock, so classes that hold one stay copyable.
class CriticalSection
{
public:
    CriticalSection() = default;
    CriticalSection(const CriticalSection&) {}
    CriticalSection& operator=(const CriticalSection&) noexcept { return *this; }
    ~CriticalSection() = default;

    void lock() { mutex_.lock(); }
    bool try_lock() { return mutex_.try_lock(); }
    void unlock() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

namespace Kt {

/// Holds a `CriticalSection` for the length of a scope.
using Guard = std::scoped_lock<CriticalSection>;

} // namespace Kt

#pragma once

#include "platform/foundation/Ptr.h"

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

/// Keeps something up for as long as it lives: a `CriticalSection` taken, for the length of a
/// scope, or what a derived guard stands for, which is then shared by pointers.
class Guard : public InternalRefCount
{
public:
    explicit Guard(CriticalSection& section)
        : section_(&section)
    {
        section.lock();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() override
    {
        if (section_)
            section_->unlock();
    }

protected:
    Guard() = default;

private:
    CriticalSection* section_ = nullptr;
};

} // namespace Kt

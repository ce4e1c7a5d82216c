#pragma once

#include "platform/export.h"
#include "platform/os/OS.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

namespace Kt {

/// Base of everything that a `Kt::Ptr` holds: a reference count inside the object.
///
/// The count starts at 0: an object belongs to nobody until the first `Ptr` takes it, and the last
/// `Ptr` deletes it through the virtual destructor. The count is the object's own: copying or
/// assigning an object never copies it.
class CEL_PLATFORM_API InternalRefCount
{
public:
    InternalRefCount() = default;
    InternalRefCount(const InternalRefCount&) noexcept {}
    InternalRefCount& operator=(const InternalRefCount&) noexcept { return *this; }

    void incRef() const noexcept { OS().increment(refCount_); }

    /// @return the count that is left; at 0 the caller must destroy the object.
    std::int32_t decRef() const noexcept { return OS().decrement(refCount_); }

    /// Number of pointers that own the object at this moment; for tests and diagnosis.
    std::int32_t refCount() const noexcept { return OS().read(refCount_); }

protected:
    virtual ~InternalRefCount() = default;

private:
    friend struct DtorTraits;
    mutable std::int32_t refCount_ = 0;
};

/// How the last pointer disposes of an object.
struct DtorTraits
{
    static void destroy(const InternalRefCount* object) noexcept { delete object; }
};

/// How a pointer counts.
struct InternalRefCountTraits
{
    static void acquire(const InternalRefCount* object) noexcept { object->incRef(); }

    /// @return true when this was the last reference.
    static bool release(const InternalRefCount* object) noexcept { return object->decRef() == 0; }
};

/// Intrusive counted pointer. Null by default; copying shares, moving hands over, the last one
/// destroys. Different `Ptr`s to one object may be used from different threads, one `Ptr` may not.
template <class T, class Dtor = DtorTraits, class Counting = InternalRefCountTraits>
class Ptr
{
public:
    using element_type = T;

    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {}

    /// Takes a share in `object`, which may be null or already shared.
    Ptr(T* object) noexcept
        : object_(object)
    {
        acquire();
    }

    Ptr(const Ptr& other) noexcept
        : Ptr(other.object_)
    {
    }
    Ptr(Ptr&& other) noexcept
        : object_(std::exchange(other.object_, nullptr))
    {
    }

    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U, Dtor, Counting>& other)
    noexcept
        : Ptr(static_cast<T*>(other.get()))
    {
    }

    ~Ptr() { release(); }

    Ptr& operator=(Ptr other) noexcept
    {
        swap(other);
        return *this;
    }

    void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }
    void reset() noexcept { Ptr().swap(*this); }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    template <class U>
    bool operator==(const Ptr<U, Dtor, Counting>& other) const noexcept
    {
        return object_ == other.get();
    }
    bool operator==(std::nullptr_t) const noexcept { return object_ == nullptr; }

    /// An order by address, so that sets of pointers know an object again.
    bool operator<(const Ptr& other) const noexcept
    {
        return std::less<T*>()(object_, other.object_);
    }

private:
    void acquire() const noexcept
    {
        if (object_)
            Counting::acquire(object_);
    }
    void release() const noexcept
    {
        if (object_ && Counting::release(object_))
            Dtor::destroy(object_);
    }

    T* object_ = nullptr;
};

/// A share in the same object as a pointer to a derived class; null when it is of another class.
template <class T, class U>
Ptr<T> dynamicCast(const Ptr<U>& pointer) noexcept
{
    return Ptr<T>(dynamic_cast<T*>(pointer.get()));
}

} // namespace Kt

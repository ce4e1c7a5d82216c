#include "tests/support/counted_heap.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> inUse{0};
std::atomic<std::size_t> peak{0};

/// In front of every block stands its size, in as much room as keeps the block aligned.
constexpr std::size_t kHeader = alignof(std::max_align_t);

thread_local std::size_t untilFailure = 0; ///< 0: none is to fail
thread_local bool failsOnwards = false;
thread_local bool hasFailed = false;

bool isToFail() noexcept
{
    if (untilFailure == 0 || --untilFailure > 0)
        return false;
    untilFailure = failsOnwards ? 1 : 0;
    return hasFailed = true;
}

void* allocate(std::size_t size) noexcept
{
    if (isToFail())
        return nullptr;
    void* block = size <= SIZE_MAX - kHeader ? std::malloc(size + kHeader) : nullptr;
    if (!block)
        return nullptr;
    *static_cast<std::size_t*>(block) = size;
    const std::size_t now = inUse.fetch_add(size) + size;
    for (std::size_t highest = peak; now > highest && !peak.compare_exchange_weak(highest, now);) {
    }
    return static_cast<std::byte*>(block) + kHeader;
}

void release(void* memory) noexcept
{
    if (!memory)
        return;
    void* block = static_cast<std::byte*>(memory) - kHeader;
    inUse -= *static_cast<std::size_t*>(block);
    std::free(block);
}

} // namespace

// clang-format off
void* operator new(std::size_t size)
{
    if (void* memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
// clang-format on

cel::test::HeapPeak::HeapPeak()
    : before_(inUse)
{
    peak = before_;
}

std::size_t cel::test::HeapPeak::growth() const
{
    return peak - before_;
}

std::size_t cel::test::heapInUse()
{
    return inUse;
}

cel::test::FailingAllocations::FailingAllocations(std::size_t nth, bool onwards)
{
    hasFailed = false;
    failsOnwards = onwards;
    untilFailure = nth;
}

cel::test::FailingAllocations::~FailingAllocations()
{
    untilFailure = 0;
}

bool cel::test::FailingAllocations::happened()
{
    return hasFailed;
}

void cel::test::FailingAllocations::countOne()
{
    if (isToFail())
        throw std::bad_alloc();
}

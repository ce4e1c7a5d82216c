#pragma once

#include <cstddef>

namespace cel::test {

/// Watches by how much the heap of a program grows at most, from construction on. Counts what comes
/// from the plain and array forms of `operator new` that counted_heap.cpp puts in place of the
/// usual ones, on any thread. One at a time.
class HeapPeak
{
public:
    HeapPeak();
    std::size_t growth() const;

private:
    std::size_t before_;
};

/// Bytes that are in use.
std::size_t heapInUse();

/// Lets an allocation of this thread fail, counted from construction on: the n-th, or with
/// `onwards` all from the n-th on. One at a time.
class FailingAllocations
{
public:
    FailingAllocations(std::size_t nth, bool onwards);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// Whether one failed.
    static bool happened();

    /// Counts as an allocation. @throws std::bad_alloc when it is one that is to fail.
    static void countOne();
};

} // namespace cel::test

#pragma once

#include <cstddef>

/// What the heap holds, for programs whose `operator new` is the one of counted_heap.cpp. Plain and
/// array forms of this thread's program are counted; over-aligned ones go uncounted.
namespace cel::test {

/// Bytes in use that came from `operator new`, on any thread.
std::size_t heapInUse();

/// Watches by how much the heap grows at most, from its construction on. One at a time.
class HeapPeak
{
public:
    HeapPeak();
    std::size_t growth() const;

private:
    std::size_t before_;
};

} // namespace cel::test

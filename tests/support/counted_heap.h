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

} // namespace cel::test

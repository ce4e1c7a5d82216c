#pragma once

#include <cstddef>

namespace cel::bench {

/// Counts what operator new hands out while it lives. One at a time, on one thread.
class HeapWatch
{
public:
    HeapWatch();
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;
    ~HeapWatch();

    std::size_t allocations() const;

    /// Bytes that were asked for and not given back.
    std::size_t bytesInUse() const;
};

} // namespace cel::bench

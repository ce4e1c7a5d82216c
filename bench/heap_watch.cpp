#include "bench/heap_watch.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>

#include <dlfcn.h>

namespace cel::bench {

namespace {

struct Block
{
    void* address;
    std::size_t bytes;
};

/// Room for more blocks than a track holds at once; the watch itself must not allocate.
constexpr std::size_t kMostBlocks = 256;

std::array<Block, kMostBlocks> blocks;
std::size_t blockCount;
std::size_t allocationCount;
bool watching;

void* handedOut(void* address, std::size_t bytes)
{
    if (watching) {
        if (blockCount == kMostBlocks)
            std::abort();
        blocks[blockCount++] = {address, bytes};
        ++allocationCount;
    }
    return address;
}

void givenBack(void* address)
{
    const auto end = blocks.begin() + static_cast<std::ptrdiff_t>(blockCount);
    const auto block = std::find_if(
        blocks.begin(), end, [address](const Block& known) { return known.address == address; });
    if (block != end)
        *block = blocks[--blockCount];
}

/// The operator of that symbol in the library, whose place the one in this program takes.
template <class Function>
Function* next(const char* symbol)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

HeapWatch::HeapWatch()
{
    blockCount = 0;
    allocationCount = 0;
    watching = true;
}

HeapWatch::~HeapWatch()
{
    watching = false;
    blockCount = 0;
}

std::size_t HeapWatch::allocations() const
{
    return allocationCount;
}

std::size_t HeapWatch::bytesInUse() const
{
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < blockCount; ++i)
        bytes += blocks[i].bytes;
    return bytes;
}

} // namespace cel::bench

using cel::bench::givenBack;
using cel::bench::handedOut;
using cel::bench::next;

void* operator new(std::size_t bytes)
{
    static const auto allocate = next<void*(std::size_t)>("_Znwm");
    return handedOut(allocate(bytes), bytes);
}

void* operator new[](std::size_t bytes)
{
    static const auto allocate = next<void*(std::size_t)>("_Znam");
    return handedOut(allocate(bytes), bytes);
}

void operator delete(void* address) noexcept
{
    static const auto release = next<void(void*)>("_ZdlPv");
    givenBack(address);
    release(address);
}

void operator delete[](void* address) noexcept
{
    static const auto release = next<void(void*)>("_ZdaPv");
    givenBack(address);
    release(address);
}

void operator delete(void* address, std::size_t) noexcept
{
    operator delete(address);
}

void operator delete[](void* address, std::size_t) noexcept
{
    operator delete[](address);
}

// Every form of new and delete (plain, sized, aligned, nothrow), served by mimalloc.
//
// They must be visible outside the library. libstdc++ holds code that allocates in one module and
// frees in another; hidden operators would leave it with two heaps, and the first such free
// crashes.
#include <cstddef>
#include <cstdint>
#include <new>

#include <mimalloc.h>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

/// Beyond this size mimalloc maps every block anew and unmaps it when it is freed, so that each of
/// its pages is touched for the first time again and again. Few large pages instead of many small
/// ones make that ten times cheaper.
constexpr std::size_t kLargestKept = std::size_t(16) << 20;

void wishForLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size)
{
#if defined(__linux__)
    constexpr std::uintptr_t kLargePage = std::uintptr_t(2) << 20;
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const auto begin = (address + kLargePage - 1) & ~(kLargePage - 1);
    const auto end = (address + size) & ~(kLargePage - 1);
    // Where the system does not grant it, everything works as before.
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

void* allocate(std::size_t size)
{
    void* const block = mi_new(size);
    if (size > kLargestKept)
        wishForLargePages(block, size);
    return block;
}

// mimalloc 2.0.9 takes blocks of 256, 512 and 1024 bytes to be aligned to their size, but they are
// aligned to 128 only. A size that is no power of two takes the path that aligns for itself.
constexpr std::size_t alignable(std::size_t size, std::align_val_t alignment)
{
    return static_cast<std::size_t>(alignment) > 128 ? size | 1 : size;
}

void* allocate(std::size_t size, std::align_val_t alignment)
{
    return mi_new_aligned(alignable(size, alignment), static_cast<std::size_t>(alignment));
}

void* allocateOrNull(std::size_t size, std::align_val_t alignment) noexcept
{
    return mi_new_aligned_nothrow(alignable(size, alignment), static_cast<std::size_t>(alignment));
}

} // namespace

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

// clang-format off
void* operator new  (std::size_t n) { return allocate(n); }
void* operator new[](std::size_t n) { return allocate(n); }
void* operator new  (std::size_t n, const std::nothrow_t&) noexcept { return mi_new_nothrow(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return mi_new_nothrow(n); }
void* operator new  (std::size_t n, std::align_val_t a) { return allocate(n, a); }
void* operator new[](std::size_t n, std::align_val_t a) { return allocate(n, a); }
void* operator new  (std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return allocateOrNull(n, a); }
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return allocateOrNull(n, a); }

void operator delete  (void* p) noexcept { mi_free(p); }
void operator delete[](void* p) noexcept { mi_free(p); }
void operator delete  (void* p, std::size_t) noexcept { mi_free(p); }
void operator delete[](void* p, std::size_t) noexcept { mi_free(p); }
void operator delete  (void* p, const std::nothrow_t&) noexcept { mi_free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { mi_free(p); }
void operator delete  (void* p, std::align_val_t) noexcept { mi_free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { mi_free(p); }
void operator delete  (void* p, std::size_t, std::align_val_t) noexcept { mi_free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { mi_free(p); }
void operator delete  (void* p, std::align_val_t, const std::nothrow_t&) noexcept { mi_free(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { mi_free(p); }
// clang-format on

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

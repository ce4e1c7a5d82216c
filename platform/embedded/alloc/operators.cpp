// Every form of new and delete (plain, sized, aligned, nothrow), served by mimalloc.
//
// They must be visible outside the library. libstdc++ holds code that allocates in one module and
// frees in another; hidden operators would leave it with two heaps, and the first such free
// crashes.
#include <cstddef>
#include <new>

#include <mimalloc.h>

namespace {

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
void* operator new  (std::size_t n) { return mi_new(n); }
void* operator new[](std::size_t n) { return mi_new(n); }
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

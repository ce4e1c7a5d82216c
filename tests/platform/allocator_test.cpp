#include "cel/version.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#if defined(CEL_WITH_MIMALLOC)
#include <mimalloc.h>
#endif

namespace {

struct alignas(256) Aligned
{
    unsigned char bytes[256];
};

#if defined(CEL_WITH_MIMALLOC)
constexpr bool kWithMimalloc = true;
bool isFromMimalloc(const void* memory)
{
    return mi_is_in_heap_region(memory);
}
#else
constexpr bool kWithMimalloc = false;
bool isFromMimalloc(const void*)
{
    return false;
}
#endif

/// The program is linked with the shared library only; its memory shows whose operators it bound
/// to.
TEST(Allocator, ServesEveryFormOfNewInAProgramLinkedToTheLibrary)
{
    ASSERT_NE(celDllVersionStr(), nullptr); // keeps the library linked

    const auto plain = std::make_unique<int>(1);
    const auto array = std::make_unique<int[]>(1000);
    const auto aligned = std::make_unique<Aligned>();
    const std::unique_ptr<int> nothrow(new (std::nothrow) int(1));
    const std::unique_ptr<Aligned> alignedNothrow(new (std::nothrow) Aligned);

    EXPECT_EQ(isFromMimalloc(plain.get()), kWithMimalloc);
    EXPECT_EQ(isFromMimalloc(array.get()), kWithMimalloc);
    EXPECT_EQ(isFromMimalloc(aligned.get()), kWithMimalloc);
    EXPECT_EQ(isFromMimalloc(nothrow.get()), kWithMimalloc);
    EXPECT_EQ(isFromMimalloc(alignedNothrow.get()), kWithMimalloc);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned.get()) % alignof(Aligned), 0u);
}

/// Out-of-line string code lives in libstdc++: it must allocate and free in the same heap as we do.
TEST(Allocator, ServesTheStandardLibrarysOwnCode)
{
    std::string text(100, 'a');
    text.append(1000, 'b');
    text.reserve(5000);
    EXPECT_EQ(isFromMimalloc(text.data()), kWithMimalloc);
}

} // namespace

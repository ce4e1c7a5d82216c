#include "platform/support/StreamFile.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#if defined(CEL_WITH_MIMALLOC)
#include <mimalloc.h>
#else
static bool mi_is_in_heap_region(const void*)
{
    return false;
}
#endif

namespace {

/// This program is linked with the shared library, so that its memory shows whose operators it is
/// bound to. A sanitizer brings its own, and builds for one leave ours out.
class Allocator : public testing::Test
{
protected:
    void SetUp() override
    {
#if !defined(CEL_WITH_MIMALLOC)
        GTEST_SKIP() << "built with CEL_ALLOCATOR=system";
#endif
    }
};

template <std::size_t Alignment>
struct alignas(Alignment) Aligned
{
    unsigned char bytes[Alignment];
};

/// Memory of `T` from each form of `new` lies in mimalloc's heap and is aligned.
template <class T>
void expectServed()
{
    const auto single = std::make_unique<T>();
    const auto array = std::make_unique<T[]>(100);
    const std::unique_ptr<T> nothrow(new (std::nothrow) T);
    const std::unique_ptr<T[]> nothrowArray(new (std::nothrow) T[3]);
    for (const T* memory : {single.get(), array.get(), nothrow.get(), nothrowArray.get()}) {
        EXPECT_TRUE(mi_is_in_heap_region(memory)) << "alignment " << alignof(T);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignof(T), 0U);
    }
}

TEST_F(Allocator, ServesEveryFormOfNewInAProgramLinkedToTheLibrary)
{
    expectServed<int>();
    expectServed<Aligned<64>>();
    expectServed<Aligned<256>>();
    expectServed<Aligned<512>>();
    expectServed<Aligned<4096>>();
}

TEST_F(Allocator, ServesTheLibraryItself)
{
    StreamFile file; // its memory comes from a function inside the library
    file.extend(1000);
    EXPECT_TRUE(mi_is_in_heap_region(file.bytes().data()));
    StreamFile(std::move(file)).clear(); // and is freed here
}

/// Out-of-line string code lives in libstdc++: it must allocate and free in the same heap as we do.
TEST_F(Allocator, ServesTheStandardLibrarysOwnCode)
{
    std::string text(100, 'a');
    text.append(1000, 'b');
    text.reserve(5000);
    EXPECT_TRUE(mi_is_in_heap_region(text.data()));
}

} // namespace

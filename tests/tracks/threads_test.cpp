#include "tracks/AudCel.h"
#include "tracks/VidCel.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace cel::test {
namespace {

/// How often each thread does what it does: the tests run in every build, also in slow ones.
#if defined(__OPTIMIZE__) && !defined(_GLIBCXX_DEBUG)
constexpr int kCopies = 1'000'000;
#else
constexpr int kCopies = 50'000;
#endif

/// Runs a function on as many threads, numbered from 0, and waits for all.
template <class Run>
void onThreads(int count, const Run& run)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(run, i);
    for (std::thread& thread : threads)
        thread.join();
}

class CountedHandle : public VidCel
{
public:
    std::int32_t count() const { return rep()->refCount(); }
};

TEST(Threads, CountHandlesOnOneTrackTogether)
{
    CountedHandle track;
    onThreads(8, [&track](int) {
        for (int i = 0; i < kCopies; ++i) {
            const VidCel copy(track);
            VidCel another(copy);
            another = track;
        }
    });
    EXPECT_EQ(track.count(), 1);
}

} // namespace
} // namespace cel::test

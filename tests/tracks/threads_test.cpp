#include "tests/support/level_notation.h"
#include "tracks/AudLevelsCel.h"
#include "tracks/VidCel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace cel::test {
namespace {

/// How often each thread does what it does: the tests run in every build, also in slow ones.
#if defined(__OPTIMIZE__) && !defined(_GLIBCXX_DEBUG)
constexpr int kCopies = 1'000'000;
constexpr int kInsertions = 100'000;
#else
constexpr int kCopies = 50'000;
constexpr int kInsertions = 5'000;
#endif
constexpr int kEdits = kInsertions / 20;

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

bool inOrder(const AudLevelsCel::Store& store)
{
    const auto nodes = store.nodes();
    for (std::size_t i = 1; i < nodes.size(); ++i)
        if (nodes[i].getRawTime() < nodes[i - 1].getRawTime())
            return false;
    return true;
}

TEST(Threads, EditAndReadOneEnvelope)
{
    AudLevelsCel envelope(0.04);
    envelope.getNodeStore() = levels("0=0.5 10=1 20=0.5", 0.01);
    std::atomic<int> editing{4};
    std::atomic<bool> sound{true};
    onThreads(6, [&](int thread) {
        if (thread < 4) {
            AudLevelsCel mine(envelope);
            for (int i = 0; i < kEdits; ++i) {
                const double at = thread * 4 + i % 7;
                mine.insert(AudLevelsCel::createInvalid(), {0.0, 1.0}, at, {});
                mine.tidyGuardNodesForward(at + 0.5);
                mine.remove({at, at + 1.0});
                mine.simplify(Simplification::kAll, {at, at + 2.0});
                if (i % 64 == 0)
                    mine.thinToWithin(3.0);
            }
            --editing;
        }
        while (thread >= 4 && editing > 0) {
            const float level = envelope.levelAt(7.0);
            sound = sound && level >= 0.0F && level <= 1.0F && inOrder(envelope.snapshot());
            sound = sound && envelope.clone().getResolution() == 0.04;
        }
    });
    EXPECT_TRUE(sound);
    EXPECT_TRUE(inOrder(envelope.snapshot()));
}

TEST(Threads, InsertTwoEnvelopesIntoEachOtherAndNeverWaitForEver)
{
    AudLevelsCel both[] = {AudLevelsCel(0.04), AudLevelsCel(0.04)};
    both[0].getNodeStore() = levels("0=0.5 10=1", 0.01);
    both[1].getNodeStore() = levels("0=1 10=0.25", 0.01);
    onThreads(3, [&both](int thread) {
        AudLevelsCel into(both[thread % 2]);
        const AudLevelsCel from(both[thread == 2 ? 0 : 1 - thread]); // the third into itself
        for (int i = 0; i < kInsertions; ++i) {
            into.insert(from, {2.0, 3.0}, 5.0, {});
            into.remove({5.0, 6.0});
            if (i % 16 == 0)
                into.replace(from, {0.0, 30.0}, 0.0, {}, Editable::kReplacePlain);
            if (i % 32 == 0)
                into.simplify(Simplification::kAll, {0.0, 40.0});
        }
    });
    EXPECT_TRUE(inOrder(both[0].snapshot()) && inOrder(both[1].snapshot()));
}

} // namespace
} // namespace cel::test

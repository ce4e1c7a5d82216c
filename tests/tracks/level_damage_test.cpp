#include "tests/support/counted_heap.h"
#include "tests/support/golden.h"
#include "tests/support/level_notation.h"
#include "tests/support/track_notation.h"
#include "tests/tracks/level_stream.h"
#include "tracks/AudCel.h"
#include "tracks/AudLevelsCel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace cel::test {
namespace {

constexpr std::size_t kMiB = std::size_t(1) << 20;

/// Reads a body, holds the reader to its limit of memory, and edits what comes out.
void readWithinLimits(std::span<const std::byte> body, int revision)
{
    const HeapPeak heap;
    const DecodedLevels read = decodeLevels(body, revision);
    EXPECT_LE(heap.growth(), (8 + 4) * body.size() + kMiB);
    EXPECT_TRUE(read.atEnd);
    AudLevelsCelRep& levels = *read.levels;
    levels.insert(&levels, {0.5, 3.0}, 2.0, {});
    levels.tidyGuardNodesBackward(2.0);
    levels.replace(nullptr, {0.0, 2.0}, -1.0, {}, Editable::kReplacePlain);
    levels.remove({1.0, 2.0});
    levels.replaceDependentGuardNodesAtPoint(3.0);
    levels.simplify1();
    levels.simplify2();
    levels.thinToWithin(1.0);
    encodeLevels(levels);
}

TEST(LevelDamage, OfEveryBitAndLengthIsSurvived)
{
    for (int revision = 1; revision <= 3; ++revision) {
        auto body = hexFile("levels_r" + std::to_string(revision));
        for (std::size_t size = 0; size <= body.size(); ++size)
            readWithinLimits(std::span(body).first(size), revision);
        for (std::size_t bit = 0; bit < 8 * body.size(); ++bit) {
            body[bit / 8] ^= std::byte(1U << bit % 8);
            readWithinLimits(body, revision);
            body[bit / 8] ^= std::byte(1U << bit % 8);
        }
    }
}

TEST(LevelDamage, ByCountsCostsNoMemory)
{
    for (const std::uint32_t count :
         {1U, 3U, (1U << 25) - 1, 1U << 26, 44'739'244U, 1U << 31, ~0U}) {
        for (const std::size_t behind : {0U, 64U, 4096U}) {
            std::vector<std::byte> body(4 + behind);
            std::memcpy(body.data(), &count, sizeof count);
            readWithinLimits(body, 3);
        }
    }
    // Times that fall: each node belongs in front of all before it. One by one that takes minutes.
    constexpr std::uint32_t kNodes = 200'000;
    std::vector<std::byte> body(4 + 16 * kNodes);
    std::memcpy(body.data(), &kNodes, sizeof kNodes);
    for (std::uint32_t i = 0; i < kNodes; ++i) {
        const double line[] = {-static_cast<double>(i), 0.5};
        std::memcpy(body.data() + 4 + 16 * i, line, sizeof line);
    }
    EXPECT_EQ(decodeLevels(body, 1).levels->nodes().size(), kNodes);
}

TEST(LevelEdits, LeaveTheEnvelopeAsItWasWhereMemoryFails)
{
    const Kt::Ptr<AudLevelsCelRep> source(new AudLevelsCelRep(0.04));
    source->nodes() = levels("0=0.5 1=0.25 2=1 3=0", 0.01);
    AudCel track;
    static_cast<ManagedCel_CelSetter&>(track).setCel(cel::test::track("a0-2 ,2-4"));
    using Edit = std::function<void(AudLevelsCelRep&)>;
    // clang-format off
    const std::pair<const char*, Edit> edits[] = {
        {"remove",   [](auto& e) { e.remove({1.0, 2.5}); }},
        {"insert",   [&](auto& e) { e.insert(source.get(), {0.5, 2.5}, 1.0, {}); }},
        {"itself",   [](auto& e) { e.insert(&e, {0.5, 2.5}, 1.0, {}); }},
        {"replace",  [&](auto& e) { e.replace(source.get(), {0.5, 2.5}, -1.0, {}, Editable::kReplacePlain); }},
        {"backward", [](auto& e) { e.tidyGuardNodesBackward(2.0); }},
        {"forward",  [](auto& e) { e.tidyGuardNodesForward(1.5); }},
        {"guards",   [](auto& e) { e.replaceDependentGuardNodesAtPoint(2.0); }},
        {"clips",    [&](auto& e) { e.replaceClipNodes(track); }},
        {"assign",   [&](auto& e) { e = *source; }},
        {"coincident", [](auto& e) { e.removeCoincidentNodes(); }},
        {"slope",    [](auto& e) { e.simplify1(); }},
        {"area",     [](auto& e) { e.simplify2(); }},
        {"section",  [](auto& e) { e.simplify_section_2(0.0, 3.0); }},
        {"within",   [](auto& e) { e.thinToWithin(6.0); }},
    };
    // clang-format on
    for (const auto& [name, edit] : edits) {
        SCOPED_TRACE(name);
        edit(*Kt::Ptr<AudLevelsCelRep>(new AudLevelsCelRep(0.04))); // what is made once is there
        for (const bool onwards : {false, true}) {
            bool failed = true;
            for (std::size_t nth = 1; failed; ++nth) {
                const Kt::Ptr<AudLevelsCelRep> envelope(new AudLevelsCelRep(0.04));
                envelope->nodes() = levels("[0=0 1=1 1.2=0.5 1.99=1] [2=0.5 3=1 4=0", 0.01);
                const std::string before = describe(envelope->snapshot().nodes());
                {
                    const FailingAllocations failing(nth, onwards);
                    try {
                        edit(*envelope);
                    } catch (const std::bad_alloc&) {
                    }
                    failed = FailingAllocations::happened();
                }
                if (failed) {
                    EXPECT_EQ(describe(envelope->snapshot().nodes()), before) << "without " << nth;
                }
            }
        }
    }
}

} // namespace
} // namespace cel::test

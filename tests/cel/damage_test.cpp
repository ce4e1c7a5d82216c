#include "platform/foundation/Exception.h"
#include "platform/support/PStream.h"
#include "tests/support/counted_heap.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr std::size_t kMiB = std::size_t(1) << 20;

/// One file for every form, whole and damaged.
struct Form
{
    const char* file;
    int revision;
};
void PrintTo(const Form& form, std::ostream* out)
{
    *out << form.file;
}

constexpr Form kForms[] = {
    {"layer1_v1", 1}, {"layer1_v2", 1},        {"layer1_v4", 1}, {"layer2", 2},
    {"layer3_r3", 3}, {"layer3_r4", 3},        {"layer4_r3", 4}, {"layer4_r4", 4},
    {"layer4_n1", 4}, {"layer4_n2", 4},        {"layer4_n0", 4}, {"layer4_r4_odd", 4},
    {"layer4_r0", 4}, {"layer1_v1_cut_in", 1},
};

/// Reads a body and asks everything of what comes out; holds the reader to its limits.
void readWithinLimits(std::span<const std::byte> body, int revision)
{
    const auto start = std::chrono::steady_clock::now();
    const HeapPeak heap;
    Kt::Ptr<Cel> track;
    try {
        track = decode(body, revision).track;
    } catch (const Kt::Exception::RuntimeError& error) {
        ASSERT_STREQ(error.what(), "Unrecognised cel version");
        return;
    }
    // The stream that holds the body belongs to the test: at most two copies of it while it grows.
    ASSERT_LE(heap.growth(), 8 * body.size() + kMiB + 4 * body.size());
    ASSERT_LE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ASSERT_EQ(track->is_dirty(), 0);
    askEverything(track);
}

class Damage : public testing::TestWithParam<Form>
{
    LogCapture log_; // the reader may speak; nobody needs to hear it
};

TEST_P(Damage, ByTruncationIsSurvived)
{
    const std::vector<std::byte> body = hexFile(GetParam().file);
    for (std::size_t size = 0; size <= body.size(); ++size) {
        SCOPED_TRACE(size);
        ASSERT_NO_FATAL_FAILURE(readWithinLimits(std::span(body).first(size), GetParam().revision));
    }
}

TEST_P(Damage, ByAFlippedBitIsSurvived)
{
    std::vector<std::byte> body = hexFile(GetParam().file);
    for (std::size_t bit = 0; bit < 8 * body.size(); ++bit) {
        SCOPED_TRACE(testing::Message() << "bit " << bit % 8 << " of byte " << bit / 8);
        body[bit / 8] ^= std::byte(1 << bit % 8);
        ASSERT_NO_FATAL_FAILURE(readWithinLimits(body, GetParam().revision));
        body[bit / 8] ^= std::byte(1 << bit % 8);
    }
}

INSTANTIATE_TEST_SUITE_P(OfEveryForm, Damage, testing::ValuesIn(kForms),
                         [](const auto& form) { return std::string(form.param.file); });

TEST(HostileCount, CostsNoMemory)
{
    constexpr const char* kShortFlat =
        "Cel::unpackLegacyEvents() : Failed to read events (unexpected size)";
    constexpr const char* kShortPairs = "Cel::unpack: Failed to read events (unexpected size)";
    constexpr const char* kOddness = "Cel::unpack: Failed to read events (unexpected oddness)";
    constexpr std::uint32_t kCounts[] = {0x80000000, 0xFFFFFFFF, 3,        (1U << 25) - 1, 1U << 25,
                                         1U << 26,   44739244,   44739245, 0x7FFFFFFF};
    // clang-format off
    struct Block { int layer; std::vector<unsigned char> revision; bool pairs; };
    const Block blocks[] = {{2, {}, false}, {3, {3}, false}, {3, {4}, true}, {4, {3}, false}, {4, {4}, true}};
    // clang-format on
    LogCapture log;
    for (const Block& block : blocks)
        for (const std::uint32_t count : kCounts)
            for (const std::size_t behind : {0, 64, 4096}) {
                SCOPED_TRACE(testing::Message() << "revision " << block.layer << " count " << count
                                                << " with " << behind << " bytes behind");
                StreamFile file;
                file.write(hexFile("head"));
                file.setUnsignedLong(count);
                file.setUnsigned64(0); // both counters
                for (const unsigned char r : block.revision)
                    file.setCookedChar(static_cast<char>(r));
                if (block.layer == 4)
                    file.setLong(-1);
                std::memset(file.extend(behind).data(), 0, behind);

                const HeapPeak heap;
                const Decoded read = decode(file.bytes(), block.layer);
                EXPECT_LE(heap.growth(), kMiB);

                const bool negative = count >= 0x80000000;
                const std::size_t record = block.pairs ? 96 : 64;
                const std::size_t records = block.pairs ? count / 2 : count;
                const bool whole = !negative && records * record <= behind;
                const std::size_t each = block.pairs ? 2 : 1;
                std::string notes;
                if (negative || (!whole && !block.pairs))
                    notes = kShortFlat;
                else if (!whole)
                    notes = kShortPairs;
                const std::size_t events = negative ? 0 : whole ? count : behind / record * each;
                if (!negative && (block.pairs ? count : events) % 2 == 1)
                    notes += kOddness;
                EXPECT_EQ(read.notes, notes);
                EXPECT_EQ(std::size_t(read.track->numEvents()), events);
                askEverything(read.track);
            }
}

TEST(HostileCount, OfSingleEventsEndsAtTheLastByte)
{
    LogCapture log;
    for (const std::uint32_t count : {1U << 25, 0x7FFFFFFFU}) {
        StreamFile file;
        file.setUnsignedLong(1);
        file.write(hexFile("head"));
        file.setUnsignedLong(count);
        const HeapPeak heap;
        EXPECT_EQ(decode(file.bytes(), 1).track->numEvents(), 0);
        EXPECT_LE(heap.growth(), kMiB);
    }
}

} // namespace
} // namespace cel::test

#include "platform/foundation/Exception.h"
#include "platform/support/PStream.h"
#include "tests/support/counted_heap.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/well_formed.h"

#include <cstring>
#include <gtest/gtest.h>
#include <optional>

namespace cel::test {
namespace {

constexpr std::size_t kMiB = std::size_t(1) << 20;

/// A stored list: a body and the revision of its layer.
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
    {"layer1_v1", 1}, {"layer1_v2", 1}, {"layer1_v4", 1}, {"layer2", 2},           {"layer3_r3", 3},
    {"layer3_r4", 3}, {"layer4_r3", 4}, {"layer4_r4", 4}, {"layer4_r4_odd", 4},    {"layer4_r0", 4},
    {"layer4_n0", 4}, {"layer4_n1", 4}, {"layer4_n2", 4}, {"layer1_v1_cut_in", 1},
};

/// Reads a body, holds the reader to its limits, and asks everything of what comes out.
std::optional<Decoded> readWithinLimits(std::span<const std::byte> body, int revision)
{
    const HeapPeak heap;
    try {
        const Decoded read = decode(body, revision);
        // The stream that holds the body is the test's own: a few copies of it while it grows.
        EXPECT_LE(heap.growth(), (8 + 4) * body.size() + kMiB);
        askEverything(read.track);
        return read;
    } catch (const Kt::Exception::RuntimeError& error) {
        EXPECT_STREQ(error.what(), "Unrecognised cel version");
        return {};
    }
}

class Damage : public testing::TestWithParam<Form>
{
    LogCapture log_; // the reader may speak; nobody needs to hear it
};

TEST_P(Damage, ByTruncationIsSurvived)
{
    const std::vector<std::byte> body = hexFile(GetParam().file);
    for (std::size_t size = 0; size <= body.size() && !HasFailure(); ++size) {
        SCOPED_TRACE(size);
        readWithinLimits(std::span(body).first(size), GetParam().revision);
    }
}

TEST_P(Damage, ByAFlippedBitIsSurvived)
{
    std::vector<std::byte> body = hexFile(GetParam().file);
    for (std::size_t bit = 0; bit < 8 * body.size() && !HasFailure(); ++bit) {
        SCOPED_TRACE(testing::Message() << "bit " << bit % 8 << " of byte " << bit / 8);
        body[bit / 8] ^= std::byte(1 << bit % 8);
        readWithinLimits(body, GetParam().revision);
        body[bit / 8] ^= std::byte(1 << bit % 8);
    }
}

INSTANTIATE_TEST_SUITE_P(OfEveryForm, Damage, testing::ValuesIn(kForms),
                         [](const auto& form) { return std::string(form.param.file); });

TEST(HostileCount, CostsNoMemoryAndKeepsTheWholeRecords)
{
    constexpr const char* kShortFlat =
        "Cel::unpackLegacyEvents() : Failed to read events (unexpected size)";
    constexpr const char* kShortPairs = "Cel::unpack: Failed to read events (unexpected size)";
    constexpr const char* kOddness = "Cel::unpack: Failed to read events (unexpected oddness)";
    // What stays and what is noted, by the bytes behind the head: none, a flat record, 64 of them.
    // clang-format off
    struct Case { std::uint32_t count; bool pairs; int behind, events; std::string notes; };
    const std::string shortOddFlat = std::string(kShortFlat) + kOddness, shortOddPairs = std::string(kShortPairs) + kOddness;
    std::vector<Case> cases = {
        {3, false, 0, 0, kShortFlat}, {3, false, 64, 1, shortOddFlat}, {3, false, 4096, 3, kOddness},
        {3, true,  0, 0, shortOddPairs}, {3, true, 64, 0, shortOddPairs}, {3, true, 4096, 3, kOddness},
    };
    for (const std::uint32_t count : {0x80000000U, 0xFFFFFFFFU})
        for (const int behind : {0, 64, 4096})
            for (const bool pairs : {false, true})
                cases.push_back({count, pairs, behind, 0, kShortFlat});
    for (const std::uint32_t count : {(1U << 25) - 1, 1U << 25, 1U << 26, 44739244U, 44739245U, 0x7FFFFFFFU}) {
        const std::string& pairNotes = count % 2 == 1 ? shortOddPairs : kShortPairs;
        cases.insert(cases.end(), {
            {count, false, 0, 0, kShortFlat}, {count, false, 64, 1, shortOddFlat}, {count, false, 4096, 64, kShortFlat},
            {count, true,  0, 0, pairNotes},  {count, true,  64, 0, pairNotes},    {count, true,  4096, 84, pairNotes},
        });
    }
    // clang-format on
    LogCapture log;
    for (const Case& c : cases)
        for (const int revision : {2, 3, 4}) {
            if (revision == 2 && c.pairs)
                continue;
            SCOPED_TRACE(testing::Message()
                         << "revision " << revision << ", " << c.count << (c.pairs ? " paired" : "")
                         << " events with " << c.behind << " bytes");
            StreamFile body;
            body.write(hexFile("head"));
            body.setUnsignedLong(c.count);
            body.setUnsigned64(0); // both counters
            if (revision >= 3)
                body.setCookedChar(c.pairs ? 4 : 3);
            if (revision == 4)
                body.setLong(-1);
            std::memset(body.extend(std::size_t(c.behind)).data(), 0, std::size_t(c.behind));

            const HeapPeak heap;
            const auto read = readWithinLimits(body.bytes(), revision);
            EXPECT_LE(heap.growth(), kMiB);
            EXPECT_EQ(read->notes, c.notes);
            EXPECT_EQ(read->track->numEvents(), c.events);
        }
}

TEST(HostileCount, OfSingleEventsEndsAtTheLastByte)
{
    LogCapture log;
    StreamFile body;
    body.setUnsignedLong(1);
    body.write(hexFile("head"));
    body.setUnsignedLong(0x7FFFFFFF);
    const HeapPeak heap;
    EXPECT_EQ(readWithinLimits(body.bytes(), 1)->track->numEvents(), 0);
    EXPECT_LE(heap.growth(), kMiB);
}

} // namespace
} // namespace cel::test

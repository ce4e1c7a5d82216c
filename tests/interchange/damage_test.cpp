#include "cel/audit.h"
#include "interchange/cel_stream.h"
#include "interchange/cut_levels.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/counted_heap.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>
#include <limits>

namespace cel::test {
namespace {

constexpr std::size_t kMiB = std::size_t(1) << 20;

/// Reads a stream within the limit of memory, and audits what came out.
/// @return whether the reader had something to report.
bool isReported(std::span<const std::byte> bytes)
{
    const HeapPeak heap;
    std::string error;
    const auto loaded = readCut(bytes, error);
    EXPECT_LE(heap.growth(), 8 * bytes.size() + kMiB);
    if (!loaded)
        return !error.empty();
    for (const Kt::Ptr<Cel>& track : loaded->cut.tracks)
        (void)audit(*track);
    return !loaded->findings.empty();
}

TEST(DamagedCutStream, IsReportedWhereverItIsCutOff)
{
    const LogCapture log;
    const std::vector<std::byte> golden = hexFile("cut");
    for (std::size_t size = 0; size < golden.size(); ++size)
        ASSERT_TRUE(isReported(std::span(golden).first(size))) << size;
}

TEST(DamagedCutStream, IsReportedWhicheverBitFlips)
{
    const LogCapture log;
    Cut withLevels = cutOf({"A0-4"});
    setLevels(withLevels, *withLevels.tracks[0], flatLevels(*withLevels.tracks[0]));
    for (std::vector<std::byte> bytes : {hexFile("cut"), writeCut(withLevels)}) {
        EXPECT_FALSE(isReported(bytes));
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
            bytes[bit / 8] ^= std::byte(1 << bit % 8);
            ASSERT_TRUE(isReported(bytes)) << "bit " << bit % 8 << " of byte " << bit / 8;
            bytes[bit / 8] ^= std::byte(1 << bit % 8);
        }
    }
}

TEST(DamagedCutStream, WithSoundChecksumsIsReadWithinTheLimits)
{
    struct Case
    {
        const char* name;
        const char* layer;
        std::function<void(StreamFile&)> body;
        int copies;
    };
    const auto nothing = [](StreamFile&) {};
    const auto material = [](std::uint32_t claimed, int entries) {
        return [=](StreamFile& file) {
            file.setUnsignedLong(claimed);
            for (int i = 0; i < 4 * entries; ++i)
                file.setUnsignedLong(i % 4 == 0 ? 86 : 0);
        };
    };
    const auto cut = [](std::int32_t numerator, std::int32_t denominator, std::uint64_t start) {
        return [=](StreamFile& file) {
            file.setUnsignedLong(0);
            file.setLong(numerator);
            file.setLong(denominator);
            file.setCookedChar(1);
            file.setUnsigned64(start);
            file.setUnsignedLong(0xFFFFFFFF);
        };
    };
    const Case cases[] = {
        {"tracks without number", "C", nothing, 20'000},
        {"unknown layers without number", "?", nothing, 20'000},
        {"all the entries there could be", "M", material(0xFFFFFFFF, 0), 1},
        {"entries without any text", "M", material(200'000, 200'000), 1},
        {"entries of unknown kind", "M",
         [](StreamFile& file) {
             file.setUnsignedLong(100'000);
             for (int i = 0; i < 400'000; ++i)
                 file.setUnsignedLong(0);
         },
         1},
        {"no frames a second", "P", cut(0, 1, 0), 1},
        {"frames of no length", "P", cut(25, 0, 0), 1},
        {"negative frames", "P", cut(-25, -1, 0), 1},
        {"drops where there are none", "P", cut(25, 1, 0), 1},
        {"the farthest start", "P", cut(25, 1, std::uint64_t(1) << 63), 1},
        {"an empty cut layer", "P", nothing, 1},
    };
    const LogCapture log;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        StreamFile file;
        PStream stream(file);
        writeObjectStreamHeader(stream);
        for (int i = 0; i < c.copies; ++i)
            writeLayer(stream, c.layer, [&](PStream& body) {
                c.body(body.file());
                return static_cast<unsigned char>(1);
            });
        EXPECT_TRUE(isReported(file.bytes()));
    }
}

} // namespace
} // namespace cel::test

#include "cel/audit.h"
#include "interchange/cel_stream.h"
#include "interchange/cut_levels.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/interchange/cut_text.h"
#include "tests/support/counted_heap.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

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
    const LogCapture log;
    for (const TableRow& c : table("lists", "hostile layers")) {
        SCOPED_TRACE(c.place);
        StreamFile file;
        PStream stream(file);
        writeObjectStreamHeader(stream);
        for (int copy = 0; copy < c.integer(5); ++copy)
            writeLayer(stream, c[1], [&c](PStream& body) {
                body.file().write(std::as_bytes(std::span(c[2])));
                for (int entry = 0; entry < c.integer(4); ++entry)
                    body.file().write(std::as_bytes(std::span(c[3])));
                return static_cast<unsigned char>(1);
            });
        EXPECT_TRUE(isReported(file.bytes()));
    }
}

} // namespace
} // namespace cel::test

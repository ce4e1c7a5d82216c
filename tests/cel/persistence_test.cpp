#include "cel/Cel.h"
#include "cel/inspect.h"
#include "platform/foundation/Exception.h"
#include "platform/support/CookieJar.h"
#include "platform/support/PStream.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr const char* kReadSection =
    "A'1-5@10*2:0.5>0.25~100>8/2>3%3>0!1>0#1-2-40000003>11-12-40000013";

/// The events of a column of the table, which may name them.
std::string eventsOf(const std::string& column)
{
    for (const TableRow& row : table("stored_lists", "events"))
        if (row[0] == column)
            return row[1];
    return column;
}

TEST(Unpack, ReadsEveryFormAndWhatDamageLeavesOfIt)
{
    for (const TableRow& row : table("stored_lists", "read")) {
        SCOPED_TRACE(row.place + ", " + row[0]);
        LogCapture log;
        const Kt::Ptr<Cel> track(new Cel(0, 1.0));
        const unsigned before = track->getID();
        const Decoded read = decode(hexFile(row[0]), row.integer(1), track);

        EXPECT_EQ(describe(*track), eventsOf(row[2]));
        EXPECT_EQ(counters(*track), row[3]);
        EXPECT_EQ(read.notes, row[4]);
        EXPECT_EQ(log.text(), row[5]);
        EXPECT_EQ(track->is_dirty(), 0);
        EXPECT_EQ(track->get_resolution(), 0.04);
        EXPECT_EQ(track->editChannelId(), IdStamp(0x11, 0x22, 0x80000033));
        EXPECT_EQ(track->editChannelName(), "V1");
        EXPECT_EQ(track->editChannelSubType(), "pic");
        EXPECT_NE(track->getID(), before);
        askEverything(track);
    }
}

TEST(Unpack, EmptiesTheTrackItReadsInto)
{
    for (const char* file : {"layer4_n0", "layer4_n2", "layer4_r3", "layer4_negative"}) {
        const Kt::Ptr<Cel> used = track("A0-4 .4-6 B6-9");
        const ce_handle old = used->get_start_ceh();
        const Kt::Ptr<Cel> fresh = decode(hexFile(file), 4).track;
        decode(hexFile(file), 4, used);
        EXPECT_EQ(describe(*used), describe(*fresh)) << file;
        EXPECT_EQ(counters(*used), counters(*fresh)) << file;
        EXPECT_EQ(old.valid(), 0) << file;
    }
    const Kt::Ptr<Cel> used = track("A0-4 .4-6");
    const ce_handle old = used->get_start_ceh();
    used->make_dirty();
    EXPECT_EQ(decode(hexFile("layer4_empty"), 4, used).notes, ""); // nothing to read
    EXPECT_EQ(describe(*used), "A0-4 .4-6");
    EXPECT_EQ(old.valid(), 1);
    EXPECT_EQ(used->is_dirty(), 0);
}

TEST(Unpack, RefusesAnUnknownVersionBeforeAnythingChanges)
{
    // clang-format off
    struct Case { const char* file; int revision; };
    const Case cases[] = {{"layer1_v5", 1}, {"layer4_r3", 5}, {"layer1_v3", 0}, {"layer4_r3", 255}};
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.revision);
        const Kt::Ptr<Cel> used = track("A0-4 .4-6");
        const unsigned id = used->getID();
        try {
            decode(hexFile(c.file), c.revision, used);
            ADD_FAILURE() << "accepted";
        } catch (const Kt::Exception::RuntimeError& error) {
            EXPECT_STREQ(error.what(), "Unrecognised cel version");
            EXPECT_STREQ(error.file(), "cel\\Cel");
            EXPECT_EQ(error.line(), 2719);
        }
        EXPECT_EQ(describe(*used), "A0-4 .4-6");
        EXPECT_EQ(used->getID(), id);
        EXPECT_EQ(used->editChannelName(), "");
    }
}

TEST(Unpack, KeepsTheFormerResolutionWhenTheStoredOneIsNone)
{
    for (const char* file :
         {"layer4_resolution_small", "layer4_resolution_nan", "layer4_resolution_infinite"}) {
        SCOPED_TRACE(file);
        const Kt::Ptr<Cel> used = track("A0-4 .4-6", 0.5);
        const ce_handle old = used->get_start_ceh();
        EXPECT_EQ(decode(hexFile(file), 4, used).notes, "Cel::set_resolution: too small");
        EXPECT_EQ(used->get_resolution(), 0.5);
        EXPECT_EQ(used->numEvents(), 0);
        EXPECT_EQ(inspect(*used).eventCount, 0);
        EXPECT_EQ(old.valid(), 0);
        EXPECT_EQ(used->is_dirty(), 0);
        EXPECT_EQ(used->editChannelName(), "A7");
    }
}

TEST(Unpack, IsNotMisledByADamagedLayerInFrontOfIts)
{
    LogCapture log;
    StreamFile file;
    PStream stream(file);
    for (const char* name : {"layer4_n2_cut", "layer4_n2"})
        writeLayer(stream, "C", [name](PStream& layer) {
            layer.file().write(hexFile(name));
            return static_cast<unsigned char>(4);
        });
    const Kt::Ptr<Cel> first(new Cel(0, 1.0));
    const Kt::Ptr<Cel> second(new Cel(0, 1.0));
    first->STRM_hierarchyUnpack(stream);
    second->STRM_hierarchyUnpack(stream);
    EXPECT_EQ(describe(*first), "");
    EXPECT_EQ(describe(*second), kReadSection);
}

TEST(Unpack, FindsDisorderWhereverItLies)
{
    const LogCapture quiet;
    const Kt::Ptr<Cel> cel(new Cel(0, 0.04));
    for (int i = 0; i < 70; ++i)
        cel->appendEventPair(material('A'), 0, 1, -1);
    for (int i = 1; i < cel->numEvents(); ++i) { // events are read in pieces
        const Kt::Ptr<Cel> damaged(new Cel(*cel));
        damaged->getChanEventPtr(i)->edit_time(-1);
        const Kt::Ptr<Cel> read = decode(encode(*damaged).body, 4).track;
        EXPECT_EQ(read->get_event(i).edit_time(), cel->get_event(i - 1).edit_time()) << i;
    }
}

TEST(Pack, WritesExactlyTheseBytes)
{
    for (const TableRow& row : table("stored_lists", "written")) {
        SCOPED_TRACE(row.place + ", " + row[0]);
        const Kt::Ptr<Cel> cel = track(eventsOf(row[1]));
        cel->editChannelInfo("V1", IdStamp(0x11, 0x22, 0x80000033), "pic", "");
        if (row[1] == "flat")
            cel->getChanEventPtr(3)->infoWord(0xAB002004);
        const Encoded written = encode(*cel);
        EXPECT_EQ(written.revision, 4);
        EXPECT_EQ(hexText(written.body), hexText(hexFile(row[0])));
        EXPECT_EQ(cel->is_dirty(), 0);
    }
}

TEST(Pack, TellsItsFormBeforehand)
{
    const auto form = [](const char* notation) {
        return int(track(notation)->getChannelEventPackRevision());
    };
    EXPECT_EQ(form("A0-4 .4-6"), 3);
    EXPECT_EQ(form("A<0 A'>4 .4-6"), 3); // in points alone count
    EXPECT_EQ(form("A'0-4 .4-6"), 4);
    EXPECT_EQ(form("A0-4 B'4-6"), 4);
    for (const int version : {2, 1, 0}) {
        CookieJar::instance().setDefaultCookieVersion(static_cast<unsigned char>(version));
        EXPECT_EQ(form("A0-4 .4-6"), version == 1 ? 4 : 3) << version;
    }
}

TEST(Pack, WritesBackWhatItReadAndPadsWithZeros)
{
    std::vector<std::byte> body = hexFile("layer4_r4");
    const std::size_t record = body.size() - 2 * 96;
    for (std::size_t i = 20; i < 28; ++i)
        body[record + i] = std::byte(i); // the Cookie's extension
    std::vector<std::byte> padded = body;
    for (const std::size_t i : {29, 30, 31, 62, 63, 94, 95})
        padded[record + i] = std::byte(0xEE);
    EXPECT_EQ(hexText(encode(*decode(padded, 4).track).body), hexText(body));

    for (const char* file : {"layer4_r3", "layer4_r3_open", "layer4_n0", "layer4_n1", "layer4_n2"})
        EXPECT_EQ(hexText(encode(*decode(hexFile(file), 4).track).body), hexText(hexFile(file)));
}

TEST(Streams, HoldATrackInAFrameBehindAHeader)
{
    const std::vector<std::byte> bytes = hexFile("stream");
    StreamFile file(bytes);
    PStream stream(file);
    ASSERT_EQ(readObjectStreamHeader(stream), ObjectStreamHeader::ok);
    const Kt::Ptr<Cel> cel(new Cel(0, 1.0));
    cel->STRM_hierarchyUnpack(stream);
    EXPECT_EQ(describe(*cel), eventsOf("flat"));
    EXPECT_EQ(cel->chunkSize(), 311U);
    EXPECT_TRUE(stream.atEnd() && stream.errorText().empty() && stream.damageText().empty());

    StreamFile again;
    PStream writer(again);
    writeObjectStreamHeader(writer);
    cel->STRM_hierarchyPack(writer);
    EXPECT_EQ(hexText(again.bytes()), hexText(bytes));
}

TEST(Streams, BuildATrackFromEitherNameOfItsClass)
{
    StreamFile file;
    PStream stream(file);
    for (const auto& name : {Cel::layerName(), Cel::shortLayerName()}) {
        const auto builder = StreamClassRegistrar::find(name);
        ASSERT_NE(builder, nullptr) << name.c_str();
        const Kt::Ptr<Cel> made = dynamicCast<Cel>(builder(stream));
        ASSERT_TRUE(made);
        EXPECT_EQ(made->numEvents(), 0);
        EXPECT_EQ(made->get_resolution(), 1.0);
    }
}

} // namespace
} // namespace cel::test

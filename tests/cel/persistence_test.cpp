#include "cel/Cel.h"
#include "cel/inspect.h"
#include "platform/foundation/Exception.h"
#include "platform/support/CookieJar.h"
#include "platform/support/PStream.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/support/golden.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

// What the records of tests/data say, read off by hand.
// clang-format off
const std::string kFlatShot = "A1-5@10*2:0.5>0.25~100>8/2>3%3>0!1>0^1>2=4>0#1-2-40000003>11-12-40000013 ";
const std::string kV3 = kFlatShot + ".5-7%1>0^0>3=0>384#0>21-22-23";
const std::string kOdd = kFlatShot + ".5-7%1>0^0>3=0>384#0>21-22-23 B<7*?#31-32-40000033";
const std::string kOrdered = kFlatShot + ".5-5@0.5>3%1>0^0>3=0>384#0>21-22-23";
const std::string kUnorderedOdd = kFlatShot + ".<4.5%1#0";
constexpr const char* kV2 = "A1-5@10*2:0.5>0.25%3>0!1>0^1>2=4>0#1-2-40000003>11-12-40000013 .5-7:1>0%1>0^0>3=0>384#0>21-22-23";
constexpr const char* kV4 = "A'1-5@10*2:0.5~100>8/2>3%3!1#1-2-40000003>11-12-40000013 .5-7%1#0>21-22-23";
constexpr const char* kSingle = "A'1-5@10*2:0.5>0.25%3>0!1>0#1-2-40000003>11-12-40000013 .5-7:0.75>1~16383>8/0>3#0>21-22-23";
constexpr const char* kSingleShot = "A'1-5@10*2:0.5>0.25%3>0!1>0#1-2-40000003>11-12-40000013";
constexpr const char* kN1 = "A'<1.5@10.25:0.5~100/2%3!1#1-2-40000003";
constexpr const char* kN2 = "A'1-5@10*2:0.5>0.25~100>8/2>3%3>0!1>0#1-2-40000003>11-12-40000013";
constexpr const char* kN2Relaid = "A'1-5@10:0.5>0.25~100>8/2>3%3>0!1>0#1-2-40000003>11-12-40000013";
constexpr const char* kN2Refused = "A'5-1#1-2-40000003>11-12-40000013";
const std::string kNothing3 = "?|?@?*? ?|?@?*? ?|?@?*?";
// clang-format on

constexpr const char* kShortFlat =
    "Cel::unpackLegacyEvents() : Failed to read events (unexpected size)";
constexpr const char* kShortPairs = "Cel::unpack: Failed to read events (unexpected size)";
constexpr const char* kOddness = "Cel::unpack: Failed to read events (unexpected oddness)";
constexpr const char* kMismatch =
    "Cel::unpack: Version of channel_event mismatched!Unexpected channel event revision";
constexpr const char* kNoEvents =
    "Cel::unpack. Attempting to patch up cel but resultant cel has no events\n";
constexpr const char* kPatching = "Cel::unpack error reading cel. Attempting to patch up cel\n";
constexpr const char* kFixing = "Cel::unpack() : Fixing out of order events\n";

TEST(Unpack, ReadsEveryFormAndWhatDamageLeavesOfIt)
{
    // clang-format off
    struct Case { const char* file; int revision; std::string events; int material, black, open; std::string notes, logged; };
    const Case cases[] = {
        {"layer1_v1",          1, kSingle,         2,  2, -1, "", ""},
        {"layer1_v2",          1, kV2,             2,  2, -1, "", ""},
        {"layer1_v3",          1, kV3,             2,  2, -1, "", ""},
        {"layer1_v4",          1, kV4,             2,  2,  2, "", ""},
        {"layer2",             2, kV2,            77, -5, -1, "", ""},
        {"layer2_n2",          2, kN2Relaid,       2,  0, -1, "", ""},
        {"layer3_r1",          3, kV2,             2,  2, -1, "", ""},
        {"layer3_r2",          3, kV2,             2,  2, -1, "", ""},
        {"layer3_r3",          3, kV3,             2,  2, -1, "", ""},
        {"layer3_r4",          3, kV4,             2,  2, -1, "", ""},
        {"layer4_r1",          4, kV2,             2,  2, -1, "", ""},
        {"layer4_r3",          4, kV3,             2,  2, -1, "", ""},
        {"layer4_r4",          4, kV4,             2,  2, -1, "", ""},
        {"layer4_n0",          4, "",              0,  0, -1, "", ""},
        {"layer4_n1",          4, kN1,             1,  0,  0, "", ""},
        {"layer4_n2",          4, kN2,             2,  0, -1, "", ""},
        {"layer4_r3_open",     4, kV3,             2,  2,  2, "", ""},
        {"layer4_r3_open_out", 4, kV3,             2,  2, -1, "", ""},
        {"layer4_r3_open_past",4, kV3,             2,  2, -1, "", ""},
        {"layer4_r0",          4, kNothing3 + " ?|?@?*?", 2,  2, -1, kMismatch, ""},
        {"layer4_r5",          4, kNothing3,       2,  2, -1, kMismatch, ""},
        {"layer2_short",       2, kV2,             2,  2, -1, kShortFlat, ""},
        {"layer4_r3_short",    4, kV3,             2,  2, -1, kShortFlat, ""},
        {"layer4_r4_short",    4, kV4,             2,  2, -1, kShortPairs, ""},
        {"layer4_r3_odd",      4, kOdd,            2,  2,  4, kOddness, ""},
        {"layer4_r4_odd",      4, kNothing3 + " ?|?@?*? ?|?@?*?", 2,  2, -1, kOddness, ""},
        {"layer4_r4_odd_short",4, kV4,             2,  2, -1, std::string(kShortPairs) + kOddness, ""},
        {"layer4_negative",    4, "",              0,  0, -1, kShortFlat, ""},
        {"layer4_channel3",    4, "",              0,  0, -1, "Cel::unpack: unknown edit channel information revision\n", ""},
        {"layer4_n2_refused",  4, kN2Refused,      1,  0, -1, "", "Cel::addEvent() : invalid event time"},
        {"layer1_v1_cut_in",   1, kSingleShot,     2,  0, -1, "", kPatching},
        {"layer1_v1_cut_mid",  1, kSingleShot,     2,  0, -1, "", kPatching},
        {"layer4_n2_cut",      4, "",              0,  0, -1, kNoEvents, kPatching},
        {"layer4_r3_order",    4, kOrdered,        2,  2, -1, "", kFixing},
        {"layer4_r3_order_near",4,kV3,             2,  2, -1, "", ""},
        {"layer4_r3_order_odd",4, kUnorderedOdd,   2,  2, -1, kOddness, ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        LogCapture log;
        const Kt::Ptr<Cel> track(new Cel(0, 1.0));
        const unsigned before = track->getID();
        const Decoded read = decode(hexFile(c.file), c.revision, track);

        EXPECT_EQ(describe(*track), c.events);
        EXPECT_EQ(inspect(*track).eventCount, c.material);
        EXPECT_EQ(inspect(*track).blackEventCount, c.black);
        EXPECT_EQ(inspect(*track).pendingInIndex, c.open);
        EXPECT_EQ(read.notes, c.notes);
        EXPECT_EQ(log.text(), c.logged);
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
    EXPECT_EQ(describe(*second), kN2);
}

TEST(Unpack, PutsEventsInOrderOnlyWhenToldTo)
{
    const bool former = setOrderRepair(false);
    const Kt::Ptr<Cel> track = decode(hexFile("layer4_r3_order"), 4).track;
    EXPECT_FALSE(setOrderRepair(former));
    EXPECT_EQ(track->get_event(2).edit_time(), 4.5);
    EXPECT_EQ(track->get_event(2).strip_time(), 0.0);
}

TEST(Pack, WritesExactlyTheseBytes)
{
    // Neither the pairs nor single events hold all that stands here.
    // clang-format off
    struct Case { const char* file; std::string track; };
    const Case cases[] = {
        {"layer4_n0", ""},
        {"layer4_n1", "A'<0.9375@6.40625:0.5~100/2%3!1^4=12#1-2-40000003"}, // by 0.5 and 1.25 from 1.5 and 10.25
        {"layer4_n2", "A'1-5@10*2:0.5>0.25~100>8/2>3%3>0!1>0^1>2#1-2-40000003>11-12-40000013"},
        {"layer4_r3", kV3},
        {"layer4_r4", "A'1-5@10*2:0.5>0.25~100>8/2>3%3>0!1>0^1>2=4>0#1-2-40000003>11-12-40000013 .5-7*1>9:1>0%1>0!0>1^0>3#0>21-22-23"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const Kt::Ptr<Cel> cel = track(c.track);
        cel->editChannelInfo("V1", IdStamp(0x11, 0x22, 0x80000033), "pic", "");
        if (c.track == kV3)
            cel->getChanEventPtr(3)->infoWord(0xAB002004);
        const Encoded written = encode(*cel);
        EXPECT_EQ(written.revision, 4);
        EXPECT_EQ(hexText(written.body), hexText(hexFile(c.file)));
        EXPECT_EQ(cel->is_dirty(), 0);
    }
}

TEST(Pack, ChoosesThePairFormForCookiesOfVersionOne)
{
    // clang-format off
    struct Case { const char* name; const char* track; unsigned char jar; int revision; };
    const Case cases[] = {
        {"old Cookies",               "A0-4 .4-6",       0, 3},
        {"the first in point is new", "A'0-4 .4-6",      0, 4},
        {"a later in point is new",   "A0-4 .4-6 B'6-7", 0, 4},
        {"only an out point is new",  "A<0 A'>4 .4-6",   0, 3},
        {"the jar makes new ones",    "A0-4 .4-6",       1, 4},
        {"the jar makes others",      "A0-4 .4-6",       2, 3},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CookieJar::instance().setDefaultCookieVersion(c.jar);
        EXPECT_EQ(track(c.track)->getChannelEventPackRevision(), c.revision);
        CookieJar::instance().setDefaultCookieVersion(0);
    }
}

TEST(Pack, WarnsWhenThePairFormLosesEvents)
{
    // clang-format off
    struct Case { const char* name; const char* track; bool warns; };
    const Case cases[] = {
        {"pairs",                            "A'0-4 .4-6",       false},
        {"an odd number",                    "A'0-4 .<4",        true},
        {"two level changes",                "A'<0 A'=1 A'=2 A'>4", true},
        {"an odd number in the flat form",   "A0-4 .<4",         false},
        {"two events, written one by one",   "A'<0 A'<4",        false},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        encode(*track(c.track));
        EXPECT_EQ(
            log.text(),
            c.warns ? "Warning: Cel::pack: the events do not fit the pair form, some will be lost\n"
                    : "");
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
    EXPECT_EQ(describe(*cel), kV3);
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

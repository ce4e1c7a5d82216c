#include "cel/Cel.h"
#include "cel/inspect.h"
#include "platform/support/TagBag.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"
#include "tests/support/well_formed.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

/// Everything of a track that another one can have too.
std::string state(const Cel& cel)
{
    std::string text =
        describe(cel) + "; " + counters(cel) + ", " + std::to_string(cel.get_resolution()) + " s";
    for (const auto& part : {cel.editChannelId().asString(), cel.editChannelName(),
                             cel.editChannelSubType(), cel.editChannelMaterialInfo()})
        text += ", " + std::string(part.view());
    return text;
}

Kt::Ptr<Cel> fullTrack()
{
    Kt::Ptr<Cel> cel = track("A0-4#7 .4-6", 0.5);
    cel->addEvent(events("B<6").front());
    cel->editChannelInfo("V1", IdStamp(1, 2, 3), "pic", "tape");
    cel->make_clean();
    return cel;
}

constexpr const char* kFullState =
    "A0-4#7 .4-6 B<6; 3 material, 2 black, open 4, 0.500000 s, 1-2-3, V1, pic, tape";

TEST(Identity, GrowsByOneWithEveryTrackAndEveryRenewal)
{
    const Kt::Ptr<Cel> first(new Cel(0, 0.04));
    const Kt::Ptr<Cel> second(new Cel(5, 0.04));
    EXPECT_EQ(second->getID(), first->getID() + 1);
    EXPECT_GE(first->getID(), 11189196U);
    const Kt::Ptr<Cel> copy(new Cel(*first));
    EXPECT_EQ(copy->getID(), first->getID() + 2);
    *first = *copy;
    EXPECT_EQ(first->getID(), copy->getID() + 1);
    second->clear();
    EXPECT_EQ(second->getID(), copy->getID() + 2);
}

TEST(Copies, HaveTheSameStateButAnIdentityAndStoreOfTheirOwn)
{
    const Kt::Ptr<Cel> source = fullTrack();
    const std::unique_ptr<TagBag> store = makeMemoryTagBag();
    source->objectStore(store.get());
    ASSERT_EQ(state(*source), kFullState);

    const Kt::Ptr<Cel> copy(new Cel(*source));
    EXPECT_EQ(copy->refCount(), 1);
    const Kt::Ptr<Cel> clone = dynamicCast<Cel>(source->clone(Streamable::builder));
    const Kt::Ptr<Cel> assigned = track("C0-1");
    *assigned = *source;
    const Kt::Ptr<Cel> streamed = track("C0-1");
    streamed->assign(source.get());
    for (const Kt::Ptr<Cel>& other : {copy, clone, assigned, streamed}) {
        EXPECT_EQ(state(*other), kFullState);
        EXPECT_NE(other->getID(), source->getID());
        EXPECT_EQ(other->is_dirty(), 1);
        EXPECT_EQ(other->objectStore(), nullptr);
    }
    EXPECT_EQ(copy->get_event(0).editGraph(), IdStamp(7, 0, 0)); // identifiers are copied
    copy->addEvent(events("B>8").front());
    EXPECT_EQ(source->numEvents(), 5);
    EXPECT_EQ(source->is_dirty(), 0);
}

TEST(Container, FillsWithTheBlackOfItsFirstEvent)
{
    EXPECT_EQ(track("")->getBlackCookie(), video_black);
    EXPECT_EQ(track("A0-4 b4-5")->getBlackCookie(), video_black);
    EXPECT_EQ(track("a0-4 B4-5")->getBlackCookie(), audio_black);
    EXPECT_EQ(track(",0-4")->getBlackCookie(), audio_black);
    EXPECT_EQ(track("&0-4")->getBlackCookie(), video_black);
    EXPECT_TRUE(track("A0-4")->canReferTo(kSubtitleCookie));
}

TEST(Checks, SeeSectionsThatRunBackAndHolesBetweenThem)
{
    // clang-format off
    struct Case { const char* track; bool meet; };
    const Case cases[] = {
        {"", true}, {"A<0", true}, {"A0-4 .4-6", true}, {"A0-4 B4-4", true}, {"A4-3 B3-5", false},
        {"A0-4 B5-6", false}, {"A0-4 B4.0000009-6", true}, {"A0-4 B4.000002-6", false}, {"A4-3.9999991", true},
        {"A0-4 B3-6", true}, // kept: an overlap passes
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(sectionsMeet(*track(c.track)), c.meet) << c.track;
}

TEST(Checks, ReportWhatTheyAreToldTo)
{
    EXPECT_EQ(track("A4-1")->verify(), 0);
    LogCapture log;
    Cel::reportError("50 % of it");
    EXPECT_EQ(log.text(LogChannel::stacktrace), "50 % of it");
}

// The helpers that other tests build on.
TEST(Notation, ComesBackAsItWasWritten)
{
    for (const char* text :
         {"", "A0-4 .4-6 b-1--0.5@7*-2:0.5>0.25",
          "A0-4@1>8*2>1:1>0~20>8/2>0%3>0^1>2=4>8#7>8-1-40000001",
          "$0-1!1 &1-2!1>0 ?2-3!0>1 A'3-4 ,4-5", "A<0*? A=1:nan A>? A|1e+99@-1e+99", "A<0 B>4",
          "A0-0.000001~5 B0.04-0.08#0>3"})
        EXPECT_EQ(describe(*track(text)), text);
    EXPECT_EQ(describe(*track("A0.1-0.30000000004*0.1")), "A0.1-0.3*0.1");
    for (const char* text : {"A", "A0", "A0-", "A0-4@", "A0-4x", "*0-4", "A0-4:1>"})
        EXPECT_THROW(events(text), std::invalid_argument) << text;
}

TEST(WellFormed, NamesWhatIsBroken)
{
    // clang-format off
    struct Case { const char* track; const char* fault; };
    const Case cases[] = {
        {"", ""}, {"A0-4 .4-6 B6-6", ""}, {"A0-4 B3.9999995-6", ""},
        {"A<0 A=1 A>4", "not in, out"}, {"A<0", "an odd number"}, {"A0-4 B4-3", "out of order"},
        {"A0-4 B4.000002-6", "a gap"}, {"A0-4 B3-6", "out of order"}, {"A0-?", "no real time"}, {"A0-4@nan", "no real time"},
    };
    // clang-format on
    for (const Case& c : cases) {
        const testing::AssertionResult result = wellFormed(*track(c.track));
        EXPECT_EQ(bool(result), *c.fault == '\0') << c.track;
        EXPECT_EQ(std::string(result.message()).find(c.fault), 0U) << result.message();
    }
    const Kt::Ptr<Cel> miscounted = track("A0-4 .4-6");
    miscounted->getChanEventPtr(0)->strip_name(video_black);
    EXPECT_FALSE(wellFormed(*miscounted));
}

} // namespace
} // namespace cel::test

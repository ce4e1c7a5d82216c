#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/track_notation.h"
#include "tracks/CrossfadeBuilder.h"
#include "tracks/VFXCel.h"
#include "tracks/VidCel.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace cel::test {
namespace {

static_assert(sizeof(VidCel) == sizeof(ManagedCel) && sizeof(AudCel) == sizeof(ManagedCel));

/// A track of a kind, with these events.
template <class Handle = VidCel>
Handle handle(std::string_view notation)
{
    Handle made;
    static_cast<ManagedCel_CelSetter&>(made).setCel(track(notation));
    return made;
}

/// Counts how often it is told of an edit, and how often its state is asked to go.
class Told : public ManagedCel
{
public:
    struct State : Rep
    {
        explicit State(int& deaths)
            : deaths_(deaths)
        {
        }
        ~State() override { ++deaths_; }
        int& deaths_;
    };

    explicit Told(Rep* rep)
        : ManagedCel(rep)
    {
    }
    int times = 0;
    using ManagedCel::rep;

private:
    void modification() override { ++times; }
};

TEST(TrackHandles, ShareTheirTrackAndCountEachOther)
{
    int deaths = 0;
    {
        Told first(new Told::State(deaths));
        EXPECT_EQ(first.rep()->refCount(), 1);
        {
            Told second(first);
            Told moved(std::move(second));
            second = moved;
            Told& same = second;
            second = same;
            EXPECT_EQ(first.rep()->refCount(), 3) << "moving shares, assigning to itself does not";
            static_cast<ManagedCel_CelSetter&>(moved).setCel(track("A0-4"));
            EXPECT_EQ(moved.times, 1);
        }
        EXPECT_EQ(first.rep()->refCount(), 1);
        EXPECT_EQ(describe(*first.getCel()), "A0-4") << "a list swapped through one handle";
        first = Told(new Told::State(deaths));
        EXPECT_EQ(deaths, 1);
    }
    EXPECT_EQ(deaths, 2);
}

TEST(TrackHandles, EditTheSharedListAndAreToldOfItChangedOrNot)
{
    int deaths = 0;
    const auto edits = [&deaths](const Kt::Ptr<Cel>& list) {
        Told told(new Told::State(deaths));
        static_cast<ManagedCel_CelSetter&>(told).setCel(list);
        std::string steps;
        const auto step = [&] {
            steps += std::to_string(told.times) + " " + (list ? describe(*list) : "none") + "; ";
        };
        step();
        told.insert(handle("X0-1"), {0.0, 1.0}, 2.0, {});
        step();
        told.replace(handle("Y0-1"), {0.0, 1.0}, 4.0, {}, Editable::kReplacePlain);
        step();
        told.remove({0.0, 1.0});
        step();
        EXPECT_FALSE(told.simplify(Simplification::kZeroLength, Editable::invalidRange()));
        step();
        told.quantiseCelEnd();
        step();
        const auto extent = told.getExtents(Editable::kAllEvents, false);
        return steps + std::to_string(extent.end());
    };
    EXPECT_EQ(edits(track("A0-4 B4-6")),
              "1 A0-4 B4-6; 2 A0-2 X2-3 A3-5@2 B5-7; 3 A0-2 X2-3 A3-4@2 Y4-5 B5-7; "
              "4 A0-1@1 X1-2 A2-3@2 Y3-4 B4-6; 5 A0-1@1 X1-2 A2-3@2 Y3-4 B4-6; "
              "5 A0-1@1 X1-2 A2-3@2 Y3-4 B4-6; 6.000000");
    EXPECT_EQ(edits({}), "1 none; 2 none; 3 none; 4 none; 5 none; 5 none; " +
                             std::to_string(Editable::invalidRange().end()));
}

TEST(TrackHandles, AreSafeWithoutATrack)
{
    Told none(static_cast<ManagedCel::Rep*>(nullptr));
    const Told copy(none);
    none = copy;
    none.id(IdStamp());
    EXPECT_EQ(none.id(), IdStamp(0, 0, 0));
    EXPECT_FALSE(none.valid());
    EXPECT_FALSE(none.getCel());
    none.insert(handle("A0-1"), {0.0, 1.0}, 0.0, {});
    none.replace(none, {0.0, 1.0}, 0.0, {}, Editable::kReplacePlain);
    none.remove({0.0, 1.0});
    EXPECT_FALSE(none.simplify(Simplification::kAll, Editable::invalidRange()));
    none.quantiseCelEnd();
    static_cast<ManagedCel_CelSetter&>(none).setCel(track("A0-1"));
    EXPECT_EQ(none.times, 5);
    EXPECT_EQ(none.getExtents(Editable::kAllEvents, true), Editable::invalidRange());

    // Through the base any kind of handle can be given any track.
    AudCel sound;
    static_cast<ManagedCel&>(sound) = handle("A0-4");
    sound.setSoundOutputEnabled(true);
    sound.setShotSound(1.0, kBegin, 0.5F);
    EXPECT_FALSE(sound.getSoundOutputEnabled() || sound.getXFadesEnabled() ||
                 sound.clone().valid());
    EXPECT_EQ(sound.getLevelsChanID(), IdStamp(0, 0, 0));
    EXPECT_EQ(describe(*sound.getCel()), "A0-4:0.5>1");
}

/// What is true of every kind of track.
template <class Handle>
void expectOneOfAKind()
{
    for (const Handle& made : {Handle(), Handle::createInvalid(), Handle::createValidButEmpty()}) {
        EXPECT_FALSE(made.valid() || made.is_dummy() || made.performEditOpWithNullSrc());
        EXPECT_EQ(made.id().getMagicType(), 2);
        EXPECT_NE(made.id(), Handle().id());
        EXPECT_FALSE(made.clone().valid());
        EXPECT_EQ(made.clone().id(), made.id());
    }
    auto original = handle<Handle>("A0-4 B4-6");
    const Handle twin = original.clone();
    original.remove({0.0, 4.0});
    EXPECT_EQ(describe(*original.getCel()), "B0-2");
    EXPECT_EQ(describe(*twin.getCel()), "A0-4 B4-6");
    EXPECT_EQ(twin.id(), original.id());
    EXPECT_NE(twin->getID(), original->getID());
}

TEST(TrackHandles, OfEveryKindBeginWithoutAListAndCloneToATrackOfTheirOwn)
{
    expectOneOfAKind<VidCel>();
    expectOneOfAKind<VFXCel>();
    expectOneOfAKind<AudCel>();
}

TEST(VFXCel, SimplifiesBlackAndThenEmptySectionsWhateverTheFirstDid)
{
    for (const TableRow& c : table("track_handles", "effects")) {
        SCOPED_TRACE(c.place);
        auto effects = handle<VFXCel>(c[0]);
        const LogCapture log;
        const auto type = c[1] == "all"           ? Simplification::kAll
                          : c[1] == "zero length" ? Simplification::kZeroLength
                                                  : Simplification::kMatchFrameCuts;
        EXPECT_EQ(effects.simplify(type, Editable::invalidRange()), c[2] != c[0]);
        EXPECT_EQ(describe(*effects.getCel()), c[2]);
    }
    // A range counts for all, and for nothing else.
    auto effects = handle<VFXCel>("A0-1 B1-1 C1-9");
    EXPECT_FALSE(effects.simplify(Simplification::kAll, {5.0, 6.0}));
    EXPECT_TRUE(effects.simplify(Simplification::kZeroLength, {5.0, 6.0}));
}

TEST(AudCel, KeepsItsSwitchesInAClone)
{
    AudCel sound;
    EXPECT_FALSE(sound.getSoundOutputEnabled() || sound.getXFadeCelsValid());
    EXPECT_TRUE(sound.getXFadesEnabled());
    EXPECT_FALSE(sound.getLevelsChanID().valid());

    const IdStamp envelope;
    sound.setSoundOutputEnabled(true);
    sound.setXFadesEnabled(false);
    sound.setLevelsChanID(envelope);
    CrossfadeBuilder::set(sound, track("a0-4"), {});
    const AudCel twin = sound.clone();
    EXPECT_TRUE(twin.getSoundOutputEnabled());
    EXPECT_FALSE(twin.getXFadesEnabled() || twin.getXFadeCelsValid() || twin.getXFadeCel(0));
    EXPECT_EQ(twin.getLevelsChanID(), envelope);
    EXPECT_TRUE(sound.getXFadeCelsValid() && sound.getXFadeCel(0));
    EXPECT_FALSE(sound.getXFadeCel(1) || sound.getXFadeCel(2));

    sound.quantiseCelEnd();
    EXPECT_TRUE(sound.getXFadeCelsValid());
    sound.remove({0.0, 1.0});
    EXPECT_FALSE(sound.getXFadeCelsValid()) << "an edit makes the lists stale and keeps them";
    EXPECT_TRUE(sound.getXFadeCel(0));
}

TEST(AudCel, SetsTheLevelOfTheShotThatHoldsATime)
{
    for (const TableRow& c : table("track_handles", "shot sound")) {
        auto sound = handle<AudCel>(c[0]);
        sound.setShotSound(c.number(1), static_cast<BeginEnd>(c.integer(2)), 0.5F);
        EXPECT_EQ(describe(*sound.getCel()), c[3]) << c.place;
    }
    AudCel().setShotSound(0.0, kBeginAndEnd, 1.0F);
}

/// Does to the track "a0-4 b4-8" what a row says.
void change(AudCel& sound, std::string_view what)
{
    const ce_handle cut = sound->find_ceh(4.0, in_point);
    if (what == "fade and softer head")
        sound.setFadeType(cut, Aud::GainCurve::kSCurve);
    if (what.starts_with("fade"))
        sound.setFadeLength(cut, 8);
    if (what.ends_with("softer head"))
        sound.setShotSound(5.0, kBegin, 0.25F);
    if (what == "softer tail")
        sound.setShotSound(1.0, kEnd, 0.25F);
}

TEST(AudCel, CarriesFadesAndLevelsOverToTheCrossfadeLists)
{
    for (const TableRow& c : table("track_handles", "crossfade lists")) {
        SCOPED_TRACE(c.place);
        auto sound = handle<AudCel>("a0-4 b4-8");
        CrossfadeBuilder::set(sound, {}, track(c[1]));
        change(sound, c[2]);
        EXPECT_EQ(describe(*sound.getXFadeCel(1)), c[3]);
        EXPECT_TRUE(sound.getXFadeCelsValid());

        // Lists that are not valid any more stay as they are.
        CrossfadeBuilder::set(sound, track(c[1]), track(c[1]));
        sound.invalidateXFadeCels();
        change(sound, c[2]);
        EXPECT_EQ(describe(*sound.getXFadeCel(0)), c[1]);
    }
}

TEST(AudCel, LeavesTheListsAloneForWhatIsNotRecorded)
{
    auto sound = handle<AudCel>("a0-4 ,4-8");
    CrossfadeBuilder::set(sound, track("a0-4 b4-8"), {});
    sound.setShotSound(5.0, kBeginAndEnd, 0.25F);
    EXPECT_EQ(describe(*sound.getXFadeCel(0)), "a0-4 b4-8");

    // A level that is no number is new every time.
    sound.setShotSound(1.0, kEnd, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(describe(*sound.getXFadeCel(0)), "a0-4:1>nan b4-8");
}

TEST(AudCel, RefusesAHandleOnNoEvent)
{
    auto sound = handle<AudCel>("a0-4");
    CrossfadeBuilder::set(sound, track("a0-4"), {});
    EXPECT_THROW(sound.setFadeLength({}, 8), Kt::Exception::RuntimeError);
    EXPECT_THROW(sound.setFadeType({}, Aud::GainCurve::kLinear), Kt::Exception::RuntimeError);
    sound.setFadeLength(sound->get_start_ceh(), 65535);
    EXPECT_EQ(describe(*sound.getXFadeCel(0)), "a0-4~16383>0");
}

} // namespace
} // namespace cel::test

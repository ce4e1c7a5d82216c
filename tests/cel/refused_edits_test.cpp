#include "platform/primitives/EffectInstance_opu4h5a4j.h"
#include "platform/support/Log.h"
#include "platform/support/TagBag.h"
#include "tests/support/counted_heap.h"
#include "tests/support/edit_notation.h"
#include "tests/support/table.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <string>
#include <utility>

/// Edits happen or do not: whatever memory, a hook, an effect or the store refuses in the middle of
/// one, the track and the objects of its sections are as they were.
namespace cel::test {
namespace {

struct Refusal
{
};

/// What a hook does may fail, as often as allocations do.
void mayFail()
{
    try {
        FailingAllocations::countOne();
    } catch (const std::bad_alloc&) {
        throw Refusal();
    }
}

/// An effect of so many seconds that takes another one as its input.
class Effect final : public EffectInstance_opu4h5a4j
{
public:
    Effect(double length, const IdStamp& taken)
        : seconds(length)
        , input(taken)
    {
    }
    double seconds;
    IdStamp input;

    bool hasTrackInputs() const override { return input.valid(); }
    unsigned getNumTrackInputs() const override { return 1; }
    IdStamp getInputTrackId(unsigned) const override { return input; }
    void remapInputIDs(const std::map<IdStamp, IdStamp>& ids) override
    {
        mayFail();
        if (const auto found = ids.find(input); found != ids.end())
            input = found->second;
    }
    void resizeParameters(double share, ParamResizeMethod) override
    {
        seconds *= share;
        if (share < 1.0)
            mayFail(); // half way through its work
    }

    Kt::Ptr<Streamable> clone(BuilderType) const override
    {
        return Kt::Ptr<Streamable>(new Effect(seconds, input));
    }
    void assign(const Streamable* other) override
    {
        seconds = static_cast<const Effect*>(other)->seconds;
        input = static_cast<const Effect*>(other)->input;
    }
    LightweightString<char> hierarchyName(bool, bool) const override { return {}; }
    void STRM_hierarchyPack(PStream&) const override {}
    void STRM_hierarchyUnpack(PStream&) override {}
};

/// A store that tells what it holds and may refuse to store.
class Store final : public TagBag
{
public:
    TagBase openObject(const IdStamp& id) override
    {
        const auto found = objects.find(id);
        return found == objects.end() ? TagBase() : TagBase(id, found->second);
    }
    void storeObject(const TagBase& tag) override
    {
        mayFail();
        objects[tag.id()] = Kt::dynamicCast<Effect>(tag.object());
    }
    Kt::Ptr<Taggable> extractObject(const IdStamp& id) override
    {
        const Kt::Ptr<Taggable> object = openObject(id).object();
        objects.erase(id);
        return object;
    }
    void destroyObject(const IdStamp& id) override { objects.erase(id); }

    std::map<IdStamp, Kt::Ptr<Effect>> objects;
};

/// A track whose hooks keep something of their own and may fail before they change it.
class Hooked final : public Cel
{
public:
    explicit Hooked(const Cel& other)
        : Cel(other)
    {
        for (const ChannelEvent& event : other.events())
            lengths[event.editGraph()] = 1.0;
    }
    std::map<IdStamp, double> lengths;

private:
    void copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& ids, double share,
                           ParamResizeMethod method) override
    {
        mayFail();
        Cel::copySegmentObject(h, event, ids, share, method);
        if (event.editGraph() != h.getEffectGraph())
            lengths.try_emplace(event.editGraph(), 1.0);
    }
    void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method) override
    {
        if (share < 1.0)
            mayFail();
        Cel::resizeSegmentObject(id, share, method);
        if (share < 1.0)
            mayFail();
        if (const auto found = lengths.find(id); found != lengths.end())
            found->second *= share;
    }
    void destroySegmentObject(const IdStamp& id) override
    {
        Cel::destroySegmentObject(id);
        lengths.erase(id);
    }
};

/// How a track is edited: in one splice or, with hooks or a store, step by step.
struct Kind
{
    bool hooked, stored;
};
constexpr Kind kKinds[] = {{false, false}, {false, true}, {true, false}, {true, true}};

/// A track, the objects of its sections, and the track that is edited into it.
struct Scene
{
    Scene(const Cel& pattern, const Cel& source, Kind kind)
        : track(kind.hooked ? Kt::Ptr<Cel>(new Hooked(pattern)) : Kt::Ptr<Cel>(new Cel(pattern)))
        , other(new Cel(source))
    {
        if (kind.stored)
            track->objectStore(&store);
        for (unsigned i = 1; i <= 9; ++i) {
            // Two and two take each other as their input; that of the last one is nowhere.
            const IdStamp input(i % 2 == 0 ? i - 1 : i + 1, 0, 0);
            store.objects[IdStamp(i, 0, 0)] = Kt::Ptr<Effect>(new Effect(i, input));
        }
        track->make_clean();
    }

    /// Everything that an edit may change, as bytes and text.
    std::string state() const
    {
        std::string text;
        for (const Cel* cel : {track.get(), other.get()}) {
            const std::span events = cel->events();
            text.append(reinterpret_cast<const char*>(events.data()), events.size_bytes());
            text += counters(*cel) + (cel->is_dirty() ? " dirty " : " clean ") +
                    std::to_string(cel->getID()) + '\n';
        }
        for (const auto& [id, effect] : store.objects)
            text += std::string(id.asString().c_str()) + ' ' + std::to_string(effect->seconds) +
                    ' ' + effect->input.asString().c_str() + '\n';
        if (const auto* own = dynamic_cast<const Hooked*>(track.get()))
            for (const auto& [id, length] : own->lengths)
                text += std::string(id.asString().c_str()) + ' ' + std::to_string(length) + '\n';
        return text;
    }

    Store store;
    Kt::Ptr<Cel> track;
    Kt::Ptr<Cel> other;
};

/// What an edit does wrong when the n-th thing that may fail does, or all from it on.
struct Attempt
{
    bool failed = false; ///< whether the edit came that far
    std::string fault;
};

Attempt attempt(const EditLine& edit, Scene&& scene, std::size_t nth, bool onwards)
{
    const std::string before = scene.state();
    Kt::Ptr<Cel> edited = scene.track;
    Attempt result;
    bool thrown = false;
    {
        const FailingAllocations failing(nth, onwards);
        try {
            run(edit, edited, scene.other);
        } catch (const std::bad_alloc&) {
            thrown = true;
        } catch (const Refusal&) {
            thrown = true;
        }
        result.failed = FailingAllocations::happened();
    }
    if (thrown != result.failed)
        result.fault = "keeps it to itself";
    else if (thrown && scene.state() != before)
        result.fault = "leaves " + describe(*scene.track);
    return result;
}

/// Lets one thing after the other fail. @return how often something did.
int failEverywhere(const EditLine& edit, const Cel& pattern, const Cel& source, Kind kind,
                   bool onwards)
{
    attempt(edit, Scene(pattern, source, kind), 0, false); // what is made once is there from here
    for (std::size_t nth = 1;; ++nth) {
        const std::size_t inUse = heapInUse();
        Attempt result = attempt(edit, Scene(pattern, source, kind), nth, onwards);
        if (result.fault.empty() && heapInUse() != inUse)
            result.fault = "leaks";
        EXPECT_EQ(result.fault, "") << " at failure " << nth << (onwards ? " for good" : "");
        if (!result.failed || !result.fault.empty())
            return static_cast<int>(nth) - 1;
    }
}

TEST(RefusedEdits, HappenOrDoNot)
{
    const LogSink former = setLogSink([](LogChannel, const std::string&) {}); // takes no memory
    const Kt::Ptr<Cel> source = track(table("refused_edits", "other").front()[0]);
    int failures = 0;
    for (const TableRow& notation : table("refused_edits", "tracks")) {
        const Kt::Ptr<Cel> pattern = track(notation[0]);
        for (const TableRow& row : table("refused_edits", "edits"))
            for (const Kind kind : kKinds)
                for (const bool onwards : {false, true}) {
                    SCOPED_TRACE(row.place + " on " + notation.place);
                    failures += failEverywhere(EditLine(row[0]), *pattern, *source, kind, onwards);
                }
    }
    setLogSink(former);
    EXPECT_GT(failures, 5000) << "little is left that may be refused";
}

TEST(Rolls, HaveTheirOwnEffectsWhichFollowTheHandlesOfTheirShots)
{
    const Kt::Ptr<Cel> pattern = track(".0-4 A4-8#2@9 .8-12");
    Scene scene(*pattern, *pattern, {false, true});
    const Cel::Rolls rolls = scene.track->chequerboard();
    const IdStamp own = rolls.a->get_event(2).editGraph();
    EXPECT_EQ(rolls.a->objectStore(), &scene.store);
    rolls.a->cheq_widen_cel(1, 2, Cel::kWidenHeads | Cel::kWidenTails);
    EXPECT_DOUBLE_EQ(scene.store.objects.at(own)->seconds, 2 * 7.0 / 4);
    EXPECT_DOUBLE_EQ(scene.store.objects.at(IdStamp(2, 0, 0))->seconds, 2);
}

/// The seconds of the sections' objects, and how many objects there are in all.
std::string objectsOf(const Scene& scene)
{
    std::string text;
    for (const ChannelEvent& event : scene.track->events())
        if (const auto found = scene.store.objects.find(event.editGraph());
            (event.info() & in_point) && !event.strip_name().isBlack())
            text += found == scene.store.objects.end() ? "- "
                                                       : numberText(found->second->seconds) + " ";
    return text + "of " + std::to_string(scene.store.objects.size());
}

TEST(StoredObjects, AreCopiedAsTheyWereBeforeTheEdit)
{
    for (const TableRow& row : table("refused_edits", "objects")) {
        SCOPED_TRACE(row.place);
        Scene scene(*track(row[0]), *track("Z0-1"), {false, true});
        for (const EditLine& edit : editLines(row[1]))
            run(edit, scene.track);
        EXPECT_EQ(objectsOf(scene), row[2]);
    }
}

} // namespace
} // namespace cel::test

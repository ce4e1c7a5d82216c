#include "cel/Cel.h"
#include "cel/inspect.h"
#include "platform/primitives/EffectInstance_opu4h5a4j.h"
#include "platform/support/TagBag.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

/// Edits happen or do not: whatever a hook, an effect or the store refuses in the middle of one,
/// the track and the objects of its sections are as they were.
namespace cel::test {
namespace {

struct Refusal
{
};

/// Refuses the n-th of the calls that may be refused, or all from it on.
class Refusing
{
public:
    Refusing(int nth, bool onwards)
    {
        left = nth;
        goesOn = onwards;
    }
    ~Refusing() { left = -1; }
    Refusing(const Refusing&) = delete;
    Refusing& operator=(const Refusing&) = delete;

    static inline int left = -1; ///< none is refused
    static inline bool goesOn = false;
};

/// What may be refused is refused here.
void mayFail()
{
    if (Refusing::left < 0)
        return;
    if (Refusing::left > 0) {
        --Refusing::left;
        return;
    }
    Refusing::left = Refusing::goesOn ? 0 : -1;
    throw Refusal();
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

/// A track and the objects of its sections.
struct Scene
{
    Scene(const Cel& pattern, bool hooked, bool stored)
        : track(hooked ? Kt::Ptr<Cel>(new Hooked(pattern)) : Kt::Ptr<Cel>(new Cel(pattern)))
    {
        if (stored)
            track->objectStore(&store);
        for (unsigned i = 1; i <= 9; ++i) {
            // Each takes the next one as its input, and the last the first one.
            const IdStamp input(i % 9 + 1, 0, 0);
            store.objects[IdStamp(i, 0, 0)] = Kt::Ptr<Effect>(new Effect(i, input));
        }
        track->make_clean();
    }

    /// Everything that an edit may change, as bytes and text.
    std::string state() const
    {
        const std::span events = std::as_const(*track).events();
        std::string text(reinterpret_cast<const char*>(events.data()), events.size_bytes());
        text += counters(*track) + (track->is_dirty() ? " dirty" : "") + '\n';
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
};

const Cel::IdMap kIds{{IdStamp(3, 0, 0), IdStamp(33, 0, 0)}, {IdStamp(4, 0, 0), IdStamp(44, 0, 0)}};

// clang-format off
struct Case { const char* name; void (*edit)(Cel&, const Cel*); };
const Case kCases[] = {
    {"cut",                  [](Cel& c, const Cel*) { c.makeCutAt(1); }},
    {"remove in a section",  [](Cel& c, const Cel*) { c.remove({1, 3}); }},
    {"remove across cuts",   [](Cel& c, const Cel*) { c.remove({1, 7}); }},
    {"remove pairs",         [](Cel& c, const Cel*) { c.removeEventPairs(2, 2, true); }},
    {"insert",               [](Cel& c, const Cel* s) { c.insert(s, {1, 5}, 1, kIds); }},
    {"insert in front",      [](Cel& c, const Cel* s) { c.insert(s, {1, 5}, -1, kIds); }},
    {"insert behind",        [](Cel& c, const Cel* s) { c.insert(s, {0, 6}, 20, {}); }},
    {"insert itself",        [](Cel& c, const Cel*) { c.insert(&c, {1, 7}, 5, kIds); }},
    {"insert black",         [](Cel& c, const Cel*) { c.insert(nullptr, {0, 1}, 1, {}); }},
    {"insert nothing",       [](Cel& c, const Cel* s) { c.insert(s, {1, 1}, 1, {}); }},
    {"replace in a section", [](Cel& c, const Cel* s) { c.replace(s, {1, 3}, 1, kIds, Editable::kReplacePlain); }},
    {"replace across cuts",  [](Cel& c, const Cel* s) { c.replace(s, {0, 6}, 1, kIds, Editable::kReplacePlain); }},
    {"replace the end",      [](Cel& c, const Cel* s) { c.replace(s, {0, 6}, 13, {}, Editable::kReplacePlain); }},
    {"replace up to a hole", [](Cel& c, const Cel* s) { c.replace(s, {0, 1.5}, 12, {}, Editable::kReplacePlain); }},
    {"replace from before",  [](Cel& c, const Cel* s) { c.replace(s, {0, 6}, -3, {}, Editable::kReplacePlain); }},
    {"replace an effect",    [](Cel& c, const Cel* s) { c.replace(s, {4, 6}, 4, {}, Editable::kReplacePlain); }},
    {"replace by itself",    [](Cel& c, const Cel*) { c.replace(&c, {1, 7}, 5, kIds, Editable::kReplacePlain); }},
    {"simplify all",         [](Cel& c, const Cel*) { c.simplifyAll(Editable::invalidRange()); }},
    {"simplify no length",   [](Cel& c, const Cel*) { c.simplifyZeroLengthSections(Editable::invalidRange()); }},
    {"simplify black",       [](Cel& c, const Cel*) { c.simplifyBlack(Editable::invalidRange()); }},
    {"simplify cuts",        [](Cel& c, const Cel*) { c.simplifyMatchFrameCuts(Editable::invalidRange()); }},
    {"tidy",                 [](Cel& c, const Cel*) { c.simplifyTidy(Editable::invalidRange()); }},
    {"insert a section",     [](Cel& c, const Cel*) { c.insertEventPair(2, material('N'), 0, 1, 0); }},
    {"weld",                 [](Cel& c, const Cel* s) { c.weld(const_cast<Cel*>(s), 0); }},
    {"weld itself",          [](Cel& c, const Cel*) { c.weld(&c, 0); }},
    {"trim selections",      [](Cel& c, const Cel*) { c.do_trim(0.5); }},
};
constexpr const char* kTracks[] = {
    "A0-4#1^2>0 $4-6#2^0>2 B6-6 B6-9#5 C9-10 C10-11@1 D11-11 .11-12 .12-13 E14-16#6 .17-18",
    "A<0#1 A=1 A=2 A>4 B4-6#2 C<6#3 C=7 C>9@3 .9-13 D14-16",
};
// clang-format on

/// Tries an edit with the n-th thing that may fail failing, for all n until none does any more.
/// @return how often it failed.
int failEverywhere(const Case& c, const Cel& pattern, const Cel& source, bool hooked, bool stored,
                   bool forGood)
{
    for (int at = 0;; ++at) {
        SCOPED_TRACE(testing::Message()
                     << c.name << " on " << describe(pattern) << ", failure " << at
                     << (forGood ? " for good" : "") << (hooked ? ", hooked" : "")
                     << (stored ? ", stored" : ""));
        Scene scene(pattern, hooked, stored);
        const std::string before = scene.state();
        try {
            const Refusing refusing(at, forGood);
            c.edit(*scene.track, &source);
            return at;
        } catch (const Refusal&) {
        }
        EXPECT_TRUE(scene.state() == before) << describe(*scene.track);
        if (testing::Test::HasFailure())
            return at;
    }
}

TEST(Edits, HappenOrDoNot)
{
    const LogCapture quiet;
    const Kt::Ptr<Cel> source = track("X0-3#3 .3-4 Y4-8#4 Z8-9#5");
    int failures = 0;
    for (const char* notation : kTracks)
        for (const Case& c : kCases)
            for (const bool hooked : {false, true})
                for (const bool stored : {false, true})
                    for (const bool forGood : {false, true})
                        failures +=
                            failEverywhere(c, *track(notation), *source, hooked, stored, forGood);
    EXPECT_GT(failures, 500) << "little is left that may be refused";
}

} // namespace
} // namespace cel::test

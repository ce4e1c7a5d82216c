#include "cel/Cel.h"
#include "platform/primitives/EffectInstance_opu4h5a4j.h"
#include "platform/support/Log.h"
#include "platform/support/TagBag.h"
#include "tests/support/counted_heap.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

// Edits that run out of memory happen or do not.
namespace cel::test {
namespace {

/// An effect of one input; counts how many there are.
class Effect : public EffectInstance_opu4h5a4j
{
public:
    explicit Effect(const IdStamp& input)
        : input_(input)
    {
        ++alive;
    }
    static inline int alive = 0;

    bool hasTrackInputs() const override { return true; }
    unsigned getNumTrackInputs() const override { return 1; }
    IdStamp getInputTrackId(unsigned index) const override
    {
        return index == 0 ? input_ : IdStamp(0, 0, 0);
    }
    void remapInputIDs(const std::map<IdStamp, IdStamp>& ids) override
    {
        const auto found = ids.find(input_);
        input_ = found == ids.end() ? input_ : found->second;
    }
    void resizeParameters(double share, ParamResizeMethod) override { duration *= share; }
    Kt::Ptr<Streamable> clone(BuilderType) const override
    {
        return Kt::Ptr<Streamable>(new Effect(input_));
    }
    void assign(const Streamable*) override {}
    LightweightString<char> hierarchyName(bool, bool) const override { return "effect"; }
    void STRM_hierarchyPack(PStream&) const override {}
    void STRM_hierarchyUnpack(PStream&) override {}

    double duration = 1;

private:
    ~Effect() override { --alive; }
    IdStamp input_;
};

/// A track whose hooks allocate.
class Hooked : public Cel
{
public:
    explicit Hooked(const Cel& other)
        : Cel(other)
    {
    }

private:
    void copySegmentObject(const ce_handle& h, ChannelEvent& e, const IdMap& ids, double share,
                           ParamResizeMethod method) override
    {
        const std::unique_ptr<int> scratch(new int(1));
        Cel::copySegmentObject(h, e, ids, share, method);
    }
    void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method) override
    {
        const std::unique_ptr<int> scratch(new int(1));
        Cel::resizeSegmentObject(id, share, method);
    }
};

enum class Kind { plain, withStore, withHooks };

/// A track, a source that is edited into it, and their store: two effects that refer to each other.
struct Scene
{
    explicit Scene(Kind kind)
    {
        if (kind == Kind::withHooks) {
            edited = Kt::Ptr<Cel>(new Hooked(*edited));
            edited->make_clean();
        }
        if (kind != Kind::withStore)
            return;
        store->storeObject(
            TagBase(IdStamp(7, 0, 0), Kt::Ptr<Taggable>(new Effect(IdStamp(8, 0, 0)))));
        store->storeObject(
            TagBase(IdStamp(8, 0, 0), Kt::Ptr<Taggable>(new Effect(IdStamp(7, 0, 0)))));
        edited->objectStore(store.get());
        source->objectStore(store.get());
    }

    /// All that there is to see.
    std::string state() const
    {
        std::string text;
        for (const Cel* cel : {edited.get(), source.get()}) {
            for (const ChannelEvent& event : cel->events()) {
                ChannelEventV3 record;
                std::memset(&record, 0, sizeof record);
                event.asV3(record);
                text.append(reinterpret_cast<const char*>(&record), sizeof record);
            }
            text += counters(*cel) + std::to_string(cel->is_dirty()) +
                    std::to_string(cel->get_resolution()) + std::to_string(cel->getID());
        }
        for (const IdStamp& id : {IdStamp(7, 0, 0), IdStamp(8, 0, 0)})
            if (const auto effect = Kt::dynamicCast<Effect>(store->openObject(id).object()))
                text += std::to_string(effect->duration) +
                        effect->getInputTrackId(0).asString().c_str();
        return text + std::to_string(Effect::alive);
    }

    std::unique_ptr<TagBag> store = makeMemoryTagBag();
    Kt::Ptr<Cel> edited =
        track("A0-2#7^1>2 .2-3 $3-4#8 A4-4 C4-6@1~20>40 C6-8@3 D9-10 ,10-11 .11-12 E12-12.01");
    Kt::Ptr<Cel> source = track("X0-1#7 Y1-3#8 .4-5 Z5-9#7");
};

struct Case
{
    const char* name;
    void (*edit)(Cel& edited, const Kt::Ptr<Cel>& source);
};
using Track = Cel;
const Cel::Range kWhole = Editable::invalidRange();

// clang-format off
const Case kCases[] = {
    {"addEvent",         [](Track& t, const Kt::Ptr<Cel>&) { t.addEvent(ChannelEvent(20, 0, material('A'), 1.0F, in_point, IdStamp(7, 0, 0), 0)); }},
    {"insertEventPair",  [](Track& t, const Kt::Ptr<Cel>&) { t.insertEventPair(2, material('A'), 0, 1, -1); }},
    {"appendEventPair",  [](Track& t, const Kt::Ptr<Cel>&) { t.appendEventPair(material('A'), 0, 1, -1); }},
    {"removeEventPairs", [](Track& t, const Kt::Ptr<Cel>&) { t.removeEventPairs(0, 4, true); }},
    {"set material",     [](Track& t, const Kt::Ptr<Cel>&) { t.set_strip_cookie(t.get_start_ceh(), video_black); }},
    {"slip",             [](Track& t, const Kt::Ptr<Cel>&) { t.set_start_strip_time(t.get_start_ceh(), 5); }},
    {"assign",           [](Track& t, const Kt::Ptr<Cel>& s) { t = *s; }},
    {"assign stream",    [](Track& t, const Kt::Ptr<Cel>& s) { t.assign(s.get()); }},
    {"clear",            [](Track& t, const Kt::Ptr<Cel>&) { t.clear(); }},
    {"channel",          [](Track& t, const Kt::Ptr<Cel>&) { t.editChannelInfo("a name of more than fifteen letters", IdStamp(1, 2, 3), "V", "m"); }},
    {"cut",              [](Track& t, const Kt::Ptr<Cel>&) { t.makeCutAt(1); }},
    {"remove in one",    [](Track& t, const Kt::Ptr<Cel>&) { t.remove({0.5, 1}); }},
    {"remove many",      [](Track& t, const Kt::Ptr<Cel>&) { t.remove({1, 7}); }},
    {"remove sections",  [](Track& t, const Kt::Ptr<Cel>&) { t.remove({0, 4}); }},
    {"insert",           [](Track& t, const Kt::Ptr<Cel>& s) { t.insert(s.get(), {0.5, 6}, 1, {}); }},
    {"insert, mapped",   [](Track& t, const Kt::Ptr<Cel>& s) { t.insert(s.get(), {0, 9}, 4, {{IdStamp(7, 0, 0), IdStamp(9, 0, 0)}}); }},
    {"insert at the end", [](Track& t, const Kt::Ptr<Cel>& s) { t.insert(s.get(), {0, 3}, 20, {}); }},
    {"insert before 0",  [](Track& t, const Kt::Ptr<Cel>& s) { t.insert(s.get(), {0, 3}, -2, {}); }},
    {"insert black",     [](Track& t, const Kt::Ptr<Cel>&) { t.insert(nullptr, {0, 3}, 5, {}); }},
    {"insert nothing",   [](Track& t, const Kt::Ptr<Cel>& s) { t.insert(s.get(), {1, 1}, 5, {}); }},
    {"insert itself",    [](Track& t, const Kt::Ptr<Cel>&) { t.insert(&t, {1, 8}, 5, {}); }},
    {"replace",          [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {0.5, 6}, 1, {}, Editable::kReplacePlain); }},
    {"replace sections", [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {0, 3}, 4, {}, Editable::kReplacePlain); }},
    {"replace under effect", [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {0, 1}, 3, {}, Editable::kReplacePlain); }},
    {"replace the end",  [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {0, 9}, 7, {}, Editable::kReplacePlain); }},
    {"replace before 0", [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {0, 3}, -1, {}, Editable::kReplacePlain); }},
    {"replace itself",   [](Track& t, const Kt::Ptr<Cel>&) { t.replace(&t, {1, 8}, 5, {}, Editable::kReplacePlain); }},
    {"replace, nothing", [](Track& t, const Kt::Ptr<Cel>& s) { t.replace(s.get(), {1, 1}, 5, {}, Editable::kReplacePlain); }},
    {"extract",          [](Track& t, const Kt::Ptr<Cel>&) { t.extract(1, 7, 0); }},
    {"extract2",         [](Track& t, const Kt::Ptr<Cel>&) { t.extract2(5, 7, 1, 1); }},
    {"copy",             [](Track& t, const Kt::Ptr<Cel>&) { t.copy(); }},
    {"clone",            [](Track& t, const Kt::Ptr<Cel>&) { t.clone(Streamable::builder); }},
    {"appendCel",        [](Track& t, const Kt::Ptr<Cel>& s) { t.appendCel(s); }},
    {"overlay",          [](Track& t, const Kt::Ptr<Cel>&) { t.overlay(track("X8.2-8.5"), true); }},
    {"black at the ends", [](Track& t, const Kt::Ptr<Cel>&) { t.add_black_to_ends(3, 'S'); }},
    {"weld",             [](Track& t, const Kt::Ptr<Cel>& s) { t.weld(s.get(), 1); }},
    {"weld itself",      [](Track& t, const Kt::Ptr<Cel>&) { t.weld(&t, 0); }},
    {"slide",            [](Track& t, const Kt::Ptr<Cel>&) { t.slide(1); }},
    {"trim",             [](Track& t, const Kt::Ptr<Cel>&) { ce_handle h = t.get_start_ceh(); t.trim(h, 1, trim_end); }},
    {"trim selected",    [](Track& t, const Kt::Ptr<Cel>&) { t.do_trim(1); }},
    {"deselect",         [](Track& t, const Kt::Ptr<Cel>&) { t.deselect_all_trims(); }},
    {"quantise",         [](Track& t, const Kt::Ptr<Cel>&) { t.quantise(); }},
    {"quantise in place", [](Track& t, const Kt::Ptr<Cel>&) { t.quantiseInPlace(); }},
    {"reverse",          [](Track& t, const Kt::Ptr<Cel>&) { t.reverse(); }},
    {"rescale",          [](Track& t, const Kt::Ptr<Cel>&) { t.rescale(1, 8, 5, 0, 1, 0, 0, 0); }},
    {"simplify all",     [](Track& t, const Kt::Ptr<Cel>&) { t.simplify(Simplification::kAll, kWhole); }},
    {"zero length",      [](Track& t, const Kt::Ptr<Cel>&) { t.simplify(Simplification::kZeroLength, kWhole); }},
    {"simplify black",   [](Track& t, const Kt::Ptr<Cel>&) { t.simplify(Simplification::kBlack, kWhole); }},
    {"match frame cuts", [](Track& t, const Kt::Ptr<Cel>&) { t.simplify(Simplification::kMatchFrameCuts, kWhole); }},
    {"tidy",             [](Track& t, const Kt::Ptr<Cel>&) { t.simplifyTidy(kWhole); }},
    {"simplified",       [](Track& t, const Kt::Ptr<Cel>&) { t.simplify(1, true, true); }},
    {"simplified black", [](Track& t, const Kt::Ptr<Cel>&) { t.simplify_black(kWhole); }},
};
// clang-format on

/// Lets one allocation of an edit fail, or all from it on. @return whether the edit came that far.
bool failsAt(std::size_t nth, bool onwards, const Case& c, Kind kind, std::string& fault)
{
    const std::size_t inUse = heapInUse();
    bool failed = false;
    {
        Scene scene(kind);
        const std::string before = scene.state();
        bool thrown = false;
        {
            const FailingAllocations failing(nth, onwards);
            try {
                c.edit(*scene.edited, scene.source);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            failed = FailingAllocations::happened();
        }
        if (thrown != failed)
            fault = "keeps it to itself";
        else if (thrown && scene.state() != before)
            fault = "leaves " + describe(*scene.edited);
    }
    if (fault.empty() && heapInUse() != inUse)
        fault = "leaks";
    return failed;
}

TEST(EditsOutOfMemory, HappenOrDoNot)
{
    const LogSink former = setLogSink([](LogChannel, const std::string&) {});
    int failed = 0;
    for (const Kind kind : {Kind::plain, Kind::withStore, Kind::withHooks})
        for (const Case& c : kCases)
            for (const bool onwards : {false, true}) {
                std::string fault;
                failsAt(0, false, c, kind,
                        fault); // what is made once is there before all is counted
                fault.clear();
                std::size_t nth = 1;
                for (; failsAt(nth, onwards, c, kind, fault) && fault.empty(); ++nth)
                    ++failed;
                EXPECT_EQ(fault, "") << c.name << ", track " << int(kind) << ", allocation " << nth;
            }
    setLogSink(former);
    RecordProperty("failed", failed);
}

} // namespace
} // namespace cel::test

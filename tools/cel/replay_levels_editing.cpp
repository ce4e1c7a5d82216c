// Operations that change the nodes of an envelope.

#include "tools/cel/replay_levels_session.h"
#include "tools/cel/setting.h"
#include "tracks/AudCel.h"

namespace cel::replay {

namespace {

using tool::setSetting;
using tool::textOf;

using Store = AudLevelsCel::Store;

AudLevelsCel::Range rangeFrom(const Value& low, const Value& high)
{
    return {low.number(), high.number()};
}

Store::Node nodeFrom(Arguments a)
{
    return {a[0].number(), a[1].real(), static_cast<Store::eNodeType>(a[2].integer()), a[3].flag()};
}

void node(LevelSession& s, Arguments a)
{
    s.levels(a[0]).getNodeStore().insert_noAdjust(nodeFrom(a.subspan(1)));
}

void draw(LevelSession& s, Arguments a)
{
    s.levels(a[0]).insertNode(nodeFrom(a.subspan(1)));
}

void remove(LevelSession& s, Arguments a)
{
    s.levels(a[0]).remove(rangeFrom(a[1], a[2]));
}

AudLevelsCel sourceFrom(LevelSession& s, const Value& name)
{
    return name.isNull() ? AudLevelsCel::createInvalid() : s.levels(name);
}

void insert(LevelSession& s, Arguments a)
{
    s.levels(a[0]).insert(sourceFrom(s, a[1]), rangeFrom(a[2], a[3]), a[4].number(), {});
}

void replace(LevelSession& s, Arguments a)
{
    const auto flags = static_cast<Editable::ReplaceFlags>(a[5].integer());
    s.levels(a[0]).replace(sourceFrom(s, a[1]), rangeFrom(a[2], a[3]), a[4].number(), {}, flags);
}

void tidyForward(LevelSession& s, Arguments a)
{
    s.levels(a[0]).tidyGuardNodesForward(a[1].number());
}

void tidyBackward(LevelSession& s, Arguments a)
{
    s.levels(a[0]).tidyGuardNodesBackward(a[1].number());
}

void guard(LevelSession& s, Arguments a)
{
    s.levels(a[0]).replaceDependentGuardNodesAtPoint(a[1].number());
}

void coincident(LevelSession& s, Arguments a)
{
    if (AudLevelsCelRep* state = s.levels(a[0]).state())
        state->removeCoincidentNodes();
}

/// An audio track of the sections, each [start, end, black].
AudCel trackOf(const Value& sections)
{
    constexpr double kFrame = 0.04;
    const Kt::Ptr<Cel> list(new Cel(0, kFrame));
    for (const Value& section : sections.array()) {
        const Value::Array& parts = section.array();
        if (parts.size() != 3)
            throw ScriptError("a section is [start, end, black]");
        const Cookie material = parts[2].flag() ? audio_black : Cookie(kAudioCookie, 1, 0, 0);
        const IdStamp none(0, 0, 0);
        const double start = parts[0].number();
        const double end = parts[1].number();
        list->addEvent(ChannelEvent(start, start, material, 1.0F, in_point, none, 0));
        list->addEvent(ChannelEvent(end, end, material, 1.0F, out_point, none, 0));
    }
    AudCel track;
    static_cast<ManagedCel_CelSetter&>(track).setCel(list);
    return track;
}

void clips(LevelSession& s, Arguments a)
{
    const AudCel track = trackOf(a[1]);
    s.levels(a[0]).replaceClipNodes(track);
}

void simplify(LevelSession& s, Arguments a)
{
    if (!a[4].isNull())
        setSetting("track_sound_simplify_style", textOf(a[4].number()));
    const auto type = static_cast<Simplification::eType>(a[1].integer());
    const bool sameCount = s.levels(a[0]).simplify(type, rangeFrom(a[2], a[3]));
    s.line("simplify", a[0].text(), sameCount ? "true" : "false");
}

constexpr LevelOperation kOperations[] = {
    {"node", 5, node},          {"draw", 5, draw},         {"remove", 3, remove},
    {"insert", 5, insert},      {"replace", 6, replace},   {"tidyF", 2, tidyForward},
    {"tidyB", 2, tidyBackward}, {"guard", 2, guard},       {"coincident", 1, coincident},
    {"clips", 2, clips},        {"simplify", 5, simplify},
};

} // namespace

std::span<const LevelOperation> levelEditingOperations()
{
    return kOperations;
}

} // namespace cel::replay

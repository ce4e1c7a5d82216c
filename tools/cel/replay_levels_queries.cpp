// Operations that ask an envelope, and those that print it.

#include "tools/cel/replay_levels_session.h"

namespace cel::replay {

namespace {

const char* word(bool value)
{
    return value ? "true" : "false";
}

void level(LevelSession& s, Arguments a)
{
    s.line("level", a[0].text(), s.levels(a[0]).getNodeStore().getLevelAtTime(a[1].number()));
}

void black(LevelSession& s, Arguments a)
{
    s.line("black", a[0].text(),
           word(s.levels(a[0]).getNodeStore().isInAudioBlackAtTime(a[1].number())));
}

void find(LevelSession& s, Arguments a)
{
    s.line("find", a[0].text(), s.levels(a[0]).getNodeStore().find(a[1].number()).index());
}

void extents(LevelSession& s, Arguments a)
{
    const AudLevelsCel::Range range = s.levels(a[0]).getExtents(Editable::kAllEvents, false);
    s.line("extents", a[0].text(), range.start(), range.end());
}

void valid(LevelSession& s, Arguments a)
{
    s.line("valid", a[0].text(), word(s.levels(a[0]).valid()));
}

void info(LevelSession& s, Arguments a)
{
    const ScriptedLevels& levels = s.levels(a[0]);
    const AudLevelsCelRep* state = levels.state();
    const int major = state ? state->revisionMajor() : 0;
    const int minor = state ? state->revisionMinor() : 0;
    s.line("info", a[0].text(), "resolution", levels.getResolution(), "revision",
           std::to_string(major) + '.' + std::to_string(minor), "nodes",
           state ? state->nodesRevision() : 0, "dummy", levels.is_dummy() ? 1 : 0);
}

void dump(LevelSession& s, Arguments a)
{
    const auto nodes = s.levels(a[0]).getNodeStore().nodes();
    s.line("dump", a[0].text(), nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i)
        s.line(" ", i, nodes[i].getRawTime(), nodes[i].getLevel(), int{nodes[i].getNodeType()},
               nodes[i].isInAudioBlack() ? 1 : 0);
}

constexpr LevelOperation kOperations[] = {
    {"level", 2, level}, {"black", 2, black}, {"find", 2, find}, {"extents", 1, extents},
    {"valid", 1, valid}, {"info", 1, info},   {"dump", 1, dump},
};

} // namespace

std::span<const LevelOperation> levelQueryOperations()
{
    return kOperations;
}

} // namespace cel::replay

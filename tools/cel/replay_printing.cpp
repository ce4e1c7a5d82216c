// Operations that print a track.

#include "cel/Cel.h"
#include "cel/inspect.h"
#include "tools/cel/replay_session.h"

namespace cel::replay {

namespace {

void dump(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    const CelState state = inspect(track);
    s.out.line("dump", a[0].text(), track.numEvents(), "events", state.eventCount, "black",
               state.blackEventCount, "resolution", track.get_resolution(), "pending",
               state.pendingInIndex, "dirty", track.is_dirty());
    int index = 0;
    for (const ChannelEvent& event : track.events())
        s.out.line(" ", index++, s.out.dumped(event));
}

void ids(Session& s, Arguments a)
{
    s.out.showIds(a[0].flag());
}

constexpr Operation kOperations[] = {
    {"dump", 1, 1, dump},
    {"ids", 1, 1, ids},
};

} // namespace

std::span<const Operation> printingOperations()
{
    return kOperations;
}

} // namespace cel::replay

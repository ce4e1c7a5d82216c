// Operations that make tracks and put events into them.

#include "cel/Cel.h"
#include "cel/inspect.h"
#include "tools/cel/replay_fields.h"
#include "tools/cel/replay_hooked.h"

namespace cel::replay {

namespace {

void makeTrack(Session& s, Arguments a)
{
    s.track(a[0], Kt::Ptr<Cel>(new Cel(0, a[1].number())));
}

void makeHooked(Session& s, Arguments a)
{
    s.track(a[0], makeHookedTrack(s.out, a[1].number()));
}

void setResolution(Session& s, Arguments a)
{
    s.track(a[0]).set_resolution(a[1].number());
}

void clear(Session& s, Arguments a)
{
    s.track(a[0]).clear();
}

void makeClean(Session& s, Arguments a)
{
    s.track(a[0]).make_clean();
}

void fixOrder(Session&, Arguments a)
{
    setOrderRepair(a[0].flag());
}

void cloneTrack(Session& s, Arguments a)
{
    s.track(a[0], Kt::Ptr<Cel>(new Cel(s.track(a[1]))));
}

void assign(Session& s, Arguments a)
{
    s.track(a[0]) = s.track(a[1]);
}

void stamp(Session& s, Arguments a)
{
    IdStamp id;
    id.setMagicType(a[1].integer());
    s.stamp(a[0], id);
}

void add(Session& s, Arguments a)
{
    Cel& track = s.track(a[0]);
    s.out.line("add", a[0].text(), track.addEvent(eventFrom(s, a[1])));
}

void append(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).appendEventPair(cookieFrom(a[1]), a[2].number(),
                                                      a[3].number(), a[4].number());
    s.out.line("append", a[0].text(), h.get_index());
}

void insertPair(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).insertEventPair(a[1].integer(), cookieFrom(a[2]),
                                                      a[3].number(), a[4].number(), a[5].number());
    s.out.line("insertPair", a[0].text(), h.get_index());
}

void removePairs(Session& s, Arguments a)
{
    const int removed = s.track(a[0]).removeEventPairs(a[1].integer(), a[2].integer(), a[3].flag());
    s.out.line("removePairs", a[0].text(), removed);
}

void set(Session& s, Arguments a)
{
    ce_handle h = s.handleAt(a[0], a[1]);
    setThroughHandle(s, h, a[2].text(), a[3]);
}

/// The stored event itself. An index that the track has no event for is refused by the track.
ChannelEvent& stored(Session& s, Arguments a)
{
    Cel& track = s.track(a[0]);
    const int index = a[1].integer();
    track.get_event(index);
    return *track.getChanEventPtr(index);
}

void raw(Session& s, Arguments a)
{
    setField(s, stored(s, a), a[2].text(), a[3]);
}

void modify(Session& s, Arguments a)
{
    stored(s, a).modify_channel_event(a[2].word());
}

void unmodify(Session& s, Arguments a)
{
    stored(s, a).reverse_channel_event_modification();
}

constexpr Operation kOperations[] = {
    {"cel", 2, 2, makeTrack},
    {"hooked", 2, 2, makeHooked},
    {"resolution", 2, 2, setResolution},
    {"clear", 1, 1, clear},
    {"clean", 1, 1, makeClean},
    {"fixOrder", 1, 1, fixOrder},
    {"clone", 2, 2, cloneTrack},
    {"assign", 2, 2, assign},
    {"stamp", 2, 2, stamp},
    {"add", 2, 2, add},
    {"append", 5, 5, append},
    {"insertPair", 6, 6, insertPair},
    {"removePairs", 4, 4, removePairs},
    {"set", 4, 4, set},
    {"raw", 4, 4, raw},
    {"modify", 3, 3, modify},
    {"unmodify", 2, 2, unmodify},
};

} // namespace

std::span<const Operation> trackOperations()
{
    return kOperations;
}

} // namespace cel::replay

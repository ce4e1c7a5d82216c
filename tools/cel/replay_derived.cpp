// Operations that make a new track out of others. The name of the new one comes first.

#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

void extract(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).extract(a[2].number(), a[3].number(), a[4].word()));
}

void extract2(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).extract2(a[2].number(), a[3].number(), a[4].word(), a[5].word()));
}

void overlay(Session& s, Arguments a)
{
    const Kt::Ptr<Cel> merged = s.track(a[1]).overlay(s.trackPointer(a[2]), false);
    if (merged)
        s.track(a[0], merged);
    else
        s.out.line("overlay", a[0].text(), "null");
}

void appendCel(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).appendCel(s.trackPointer(a[2])));
}

void copy(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).copy());
}

void blackEnds(Session& s, Arguments a)
{
    const std::string& type = a[3].text();
    if (type.size() != 1)
        throw ScriptError("a type of material is one letter");
    s.track(a[0], s.track(a[1]).add_black_to_ends(a[2].integer(), type[0]));
}

void simplifiedBlack(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).simplify_black(rangeFrom(a[2], a[3])));
}

void simplified(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).simplify(a[2].integer(), a[3].flag(), a[4].flag()));
}

void quantise(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).quantise());
}

void reverse(Session& s, Arguments a)
{
    s.track(a[0], s.track(a[1]).reverse());
}

void rescale(Session& s, Arguments a)
{
    s.track(a[0],
            s.track(a[1]).rescale(a[2].number(), a[3].number(), a[4].number(), a[5].number(),
                                  a[6].number(), a[7].number(), a[8].number(), a[9].integer()));
}

constexpr Operation kOperations[] = {
    {"extract", 5, 5, extract},
    {"extract2", 6, 6, extract2},
    {"overlay", 3, 3, overlay},
    {"appendCel", 3, 3, appendCel},
    {"copy", 2, 2, copy},
    {"blackEnds", 4, 4, blackEnds},
    {"simplifiedBlack", 4, 4, simplifiedBlack},
    {"simplified", 5, 5, simplified},
    {"quantise", 2, 2, quantise},
    {"reverse", 2, 2, reverse},
    {"rescale", 10, 10, rescale},
};

} // namespace

std::span<const Operation> derivedOperations()
{
    return kOperations;
}

} // namespace cel::replay

// Operations that change a track in place.

#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

void removeRange(Session& s, Arguments a)
{
    s.track(a[0]).remove(rangeFrom(a[1], a[2]));
}

void slide(Session& s, Arguments a)
{
    s.track(a[0]).slide(a[1].number());
}

void weld(Session& s, Arguments a)
{
    s.track(a[0]).weld(&s.track(a[1]), a[2].number());
}

const Cel* sourceFrom(Session& s, const Value& name)
{
    return name.isNull() ? nullptr : &s.track(name);
}

Cel::IdMap idMapFrom(Session& s, const Value& pairs)
{
    Cel::IdMap map;
    for (const Value& pair : pairs.array()) {
        if (pair.array().size() != 2)
            throw ScriptError("an identifier and its copy's make a pair");
        map[s.stamp(pair.array()[0])] = s.stamp(pair.array()[1]);
    }
    return map;
}

void insert(Session& s, Arguments a)
{
    const Cel::IdMap map = a.size() > 5 ? idMapFrom(s, a[5]) : Cel::IdMap();
    s.track(a[0]).insert(sourceFrom(s, a[1]), rangeFrom(a[2], a[3]), a[4].number(), map);
}

void replace(Session& s, Arguments a)
{
    const auto flags = static_cast<Editable::ReplaceFlags>(a[5].integer());
    s.track(a[0]).replace(sourceFrom(s, a[1]), rangeFrom(a[2], a[3]), a[4].number(), {}, flags);
}

void cut(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).makeCutAt(a[1].number());
    s.out.line("cut", a[0].text(), h.get_index());
}

void trim(Session& s, Arguments a)
{
    ce_handle h = s.handleAt(a[0], a[1]);
    const double applied = s.track(a[0]).trim(h, a[2].number(), trimFrom(a[3]));
    s.out.line("trim", a[0].text(), applied, h.get_index());
}

void trimRaw(Session& s, Arguments a)
{
    ce_handle h = s.handleAt(a[0], a[1]);
    const double applied = s.track(a[0]).trimRaw(h, a[2].number(), trimFrom(a[3]));
    s.out.line("trimRaw", a[0].text(), applied, h.get_index());
}

void doTrimTest(Session& s, Arguments a)
{
    s.out.line("doTrim", a[0].text(), s.track(a[0]).do_trim_test(a[1].number()));
}

void doTrim(Session& s, Arguments a)
{
    s.out.line("doTrim", a[0].text(), s.track(a[0]).do_trim(a[1].number()));
}

void deselect(Session& s, Arguments a)
{
    s.track(a[0]).deselect_all_trims();
}

void simplify(Session& s, Arguments a)
{
    const auto kind = static_cast<Simplification::eType>(a[1].integer());
    const bool changed = s.track(a[0]).simplify(kind, rangeFrom(a[2], a[3]));
    s.out.line("simplify", a[0].text(), changed ? "true" : "false");
}

void tidy(Session& s, Arguments a)
{
    s.track(a[0]).simplifyTidy(rangeFrom(a[1], a[2]));
}

void quantiseInPlace(Session& s, Arguments a)
{
    s.track(a[0]).quantiseInPlace();
}

void quantiseEnd(Session& s, Arguments a)
{
    s.track(a[0]).quantiseCelEnd();
}

constexpr Operation kOperations[] = {
    {"remove", 3, 3, removeRange},
    {"slide", 2, 2, slide},
    {"weld", 3, 3, weld},
    {"insert", 5, 6, insert},
    {"replace", 6, 6, replace},
    {"cut", 2, 2, cut},
    {"trim", 4, 4, trim},
    {"trimRaw", 4, 4, trimRaw},
    {"doTrimTest", 2, 2, doTrimTest},
    {"doTrim", 2, 2, doTrim},
    {"deselect", 1, 1, deselect},
    {"simplify", 4, 4, simplify},
    {"tidy", 3, 3, tidy},
    {"quantiseInPlace", 1, 1, quantiseInPlace},
    {"quantiseEnd", 1, 1, quantiseEnd},
};

} // namespace

std::span<const Operation> editingOperations()
{
    return kOperations;
}

} // namespace cel::replay

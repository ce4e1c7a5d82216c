// Operations on handles.

#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

std::string index(const ce_handle& h)
{
    return Printer::shown(h.get_index());
}

std::string compare(Session& s, const ce_handle& h, Arguments a)
{
    const std::string& sign = a[0].text();
    const ce_handle& other = s.handle(a[1]);
    if (sign == "<")
        return Printer::shown(h < other);
    if (sign == "<=")
        return Printer::shown(h <= other);
    if (sign == ">")
        return Printer::shown(h > other);
    if (sign == ">=")
        return Printer::shown(h >= other);
    if (sign == "==")
        return Printer::shown(h == other);
    if (sign == "-")
        return Printer::shown(h - other);
    throw ScriptError("unknown comparison \"" + sign + '"');
}

std::string direct(Session& s, const ce_handle& h, Arguments a)
{
    const std::string& name = a[0].text();
    if (name == "get_channel_event")
        return s.out.shown(h.get_channel_event());
    if (name == "get_trim_type")
        return Printer::shown(unsigned{h.get_trim_type()});
    if (name == "isActive")
        return Printer::shown(h.isActive());
    if (name == "getEffectGraph")
        return s.out.shown(h.getEffectGraph());
    if (name == "is_effect")
        return Printer::shown(h.is_effect());
    throw ScriptError("unknown access \"" + name + '"');
}

std::string findFrom(Session&, const ce_handle& h, Arguments a)
{
    ce_handle found;
    h.find_ceh(found, a[0].number(), kindsFrom(a[1]));
    return index(found);
}

std::string get(Session&, const ce_handle& h, Arguments a)
{
    return getThroughHandle(a[0].text(), h, timeOrOwn(a, 1));
}

struct HandleOperation
{
    std::string_view name;
    std::size_t fewest;
    std::size_t most;
    std::string (*run)(Session&, ce_handle&, Arguments);
};

// clang-format off
constexpr HandleOperation kHandleOperations[] = {
    {"++", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(++h); }},
    {"--", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(--h); }},
    {"+", 1, 1, [](Session&, ce_handle& h, Arguments a) { return index(h + a[0].integer()); }},
    {"-", 1, 1, [](Session&, ce_handle& h, Arguments a) { return index(h - a[0].integer()); }},
    {"next", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.next()); }},
    {"prev", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.prev()); }},
    {"inc", 1, 1, [](Session&, ce_handle& h, Arguments a) { h.increment(kindsFrom(a[0])); return index(h); }},
    {"dec", 1, 1, [](Session&, ce_handle& h, Arguments a) { h.decrement(kindsFrom(a[0])); return index(h); }},
    {"start", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.get_start_ceh()); }},
    {"end", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.get_end_ceh()); }},
    {"matchIn", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.matching_in_ceh()); }},
    {"matchOut", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.matching_out_ceh()); }},
    {"find", 2, 2, [](Session& s, ce_handle& h, Arguments a) { return findFrom(s, h, a); }},
    {"valid", 0, 0, [](Session&, ce_handle& h, Arguments) { return Printer::shown(h.valid()); }},
    {"isIn", 0, 0, [](Session&, ce_handle& h, Arguments) { return Printer::shown(h.is_in_point()); }},
    {"isOut", 0, 0, [](Session&, ce_handle& h, Arguments) { return Printer::shown(h.is_out_point()); }},
    {"isLevel", 0, 0, [](Session&, ce_handle& h, Arguments) { return Printer::shown(h.is_level_change()); }},
    {"trimMark", 0, 0, [](Session&, ce_handle& h, Arguments) { return Printer::shown(h.get_trim_mark()); }},
    {"nextTrim", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.find_next_trim()); }},
    {"nextTrimMark", 0, 0, [](Session&, ce_handle& h, Arguments) { return index(h.find_next_trim_mark()); }},
    {"get", 1, 2, [](Session& s, ce_handle& h, Arguments a) { return get(s, h, a); }},
    {"direct", 1, 1, [](Session& s, ce_handle& h, Arguments a) { return direct(s, h, a); }},
    {"compare", 2, 2, [](Session& s, ce_handle& h, Arguments a) { return compare(s, h, a); }},
};
// clang-format on

void bindHandle(Session& s, Arguments a)
{
    const bool bound = !a[1].isNull();
    s.handle(a[0], ce_handle(bound ? s.trackPointer(a[1]) : Kt::Ptr<Cel>(), a[2].integer()));
}

void useHandle(Session& s, Arguments a)
{
    const std::string& name = a[1].text();
    const Arguments rest = a.subspan(2);
    const HandleOperation* operation = rowNamed(kHandleOperations, name);
    if (!operation)
        throw ScriptError("unknown operation of handles \"" + name + '"');
    requireArguments(name, rest.size(), operation->fewest, operation->most);
    s.out.line("h", a[0].text(), name, operation->run(s, s.handle(a[0]), rest));
}

constexpr Operation kOperations[] = {
    {"handle", 3, 3, bindHandle},
    {"h", 2, 4, useHandle},
};

} // namespace

std::span<const Operation> handleOperations()
{
    return kOperations;
}

} // namespace cel::replay

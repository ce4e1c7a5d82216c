// Operations on single events and on numbers.

#include "cel/edit_time.h"
#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

void newEvent(Session& s, Arguments a)
{
    s.event(a[0], eventFrom(s, a[1]));
}

void showEvent(Session& s, Arguments a)
{
    s.out.line("event", a[0].text(), s.event(a[0]));
}

/// A comparison of an event, which answers with a number.
struct Comparison
{
    std::string_view name;
    std::size_t arguments;
    int (*answer)(Session&, const ChannelEvent&, Arguments);
};

// clang-format off
constexpr Comparison kComparisons[] = {
    {"same", 1, [](Session& s, const ChannelEvent& e, Arguments a) { return int{e == s.event(a[0])}; }},
    {"redundant", 1, [](Session& s, const ChannelEvent& e, Arguments a) { return e.redundant(s.event(a[0])); }},
    {"removable", 4, [](Session& s, const ChannelEvent& e, Arguments a) {
        return e.removable_with(s.event(a[0]), s.event(a[1]), s.event(a[2]), a[3].integer());
    }},
    {"subframe", 2, [](Session& s, const ChannelEvent& e, Arguments a) {
        return e.sub_frame_cut(s.event(a[0]), a[1].number());
    }},
};

/// A change of an event, which makes a new one.
struct Change
{
    std::string_view name;
    std::size_t arguments;
    ChannelEvent (*make)(const ChannelEvent&, Arguments);
};

constexpr Change kChanges[] = {
    {"quantise", 2, [](const ChannelEvent& e, Arguments a) { return e.quantise(a[1].number()); }},
    {"rescale", 7, [](const ChannelEvent& e, Arguments a) {
        return e.rescale(a[1].number(), a[2].number(), a[3].number(), a[4].number(), a[5].number(),
                         a[6].number());
    }},
    {"reverse", 3, [](const ChannelEvent& e, Arguments a) { return e.reverse(a[1].number(), a[2].number()); }},
};
// clang-format on

void ev(Session& s, Arguments a)
{
    const ChannelEvent event = s.event(a[0]);
    const std::string& name = a[1].text();
    const Arguments rest = a.subspan(2);
    if (const Comparison* comparison = rowNamed(kComparisons, name)) {
        requireArguments(name, rest.size(), comparison->arguments, comparison->arguments);
        s.out.line("ev", a[0].text(), name, comparison->answer(s, event, rest));
    } else if (const Change* change = rowNamed(kChanges, name)) {
        requireArguments(name, rest.size(), change->arguments, change->arguments);
        s.event(rest[0], change->make(event, rest));
    } else {
        throw ScriptError("unknown operation of events \"" + name + '"');
    }
}

struct Function
{
    std::string_view name;
    std::size_t arguments;
    double (*value)(Arguments);
};

// clang-format off
constexpr Function kFunctions[] = {
    {"resRound", 2, [](Arguments a) { return res_round(a[0].number(), a[1].number()); }},
    {"quantiseTime", 2, [](Arguments a) { return quantiseTime(a[0].number(), a[1].number()); }},
    {"isQuantised", 2, [](Arguments a) { return isQuantised(a[0].number(), a[1].number()) ? 1.0 : 0.0; }},
    {"qframesToTime", 2, [](Arguments a) { return ChannelEvent::QFramesToTime(a[0].shortWord(), a[1].number()); }},
    {"timeToQFrames", 2, [](Arguments a) { return static_cast<double>(ChannelEvent::timeToQFrames(a[0].number(), a[1].number())); }},
};
// clang-format on

void num(Session& s, Arguments a)
{
    const std::string& name = a[0].text();
    const Arguments rest = a.subspan(1);
    const Function* function = rowNamed(kFunctions, name);
    if (!function)
        throw ScriptError("unknown function \"" + name + '"');
    requireArguments(name, rest.size(), function->arguments, function->arguments);
    s.out.line("num", function->value(rest));
}

constexpr Operation kOperations[] = {
    {"newEvent", 2, 2, newEvent},
    {"showEvent", 1, 1, showEvent},
    {"ev", 2, 9, ev},
    {"num", 1, 3, num},
};

} // namespace

std::span<const Operation> eventOperations()
{
    return kOperations;
}

} // namespace cel::replay

#include "tests/support/edit_notation.h"

#include "cel/inspect.h"
#include "tests/support/track_notation.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace cel::test {

namespace {

/// An edit on its way: what it takes, and what it answers.
struct Call
{
    const EditLine& line;
    Kt::Ptr<Cel>& edited;
    const Kt::Ptr<Cel>& other;
    std::string answer;

    Cel& track() const { return *edited; }
    double number(std::size_t index) const { return line.number(index); }
    int integer(std::size_t index) const { return line.integer(index); }
    unsigned flags(std::size_t index) const { return static_cast<unsigned>(integer(index)); }
    bool flag(std::size_t index) const { return integer(index) != 0; }
    Cel::Range range(std::size_t index) const { return line.range(index); }
    Cookie cookie(std::size_t index) const { return material(line.text(index).front()); }
    ce_handle handle(std::size_t index) const { return {edited, integer(index)}; }

    Kt::Ptr<Cel> source(std::size_t index) const
    {
        const std::string& name = line.text(index);
        if (name == "none")
            return {};
        return name == "itself" ? edited : name == "other" ? other : test::track(name);
    }

    Cel::IdMap ids(std::size_t index) const
    {
        Cel::IdMap map;
        std::istringstream pairs(index < line.arguments.size() ? line.text(index) : "");
        for (std::string pair; std::getline(pairs, pair, ',');) {
            // No stream reads the numbers: it would keep to itself that it ran out of memory.
            const auto from = static_cast<unsigned>(std::stoul(pair));
            const auto to = static_cast<unsigned>(std::stoul(pair.substr(pair.find('>') + 1)));
            map.emplace(IdStamp(from, 0, 0), IdStamp(to, 0, 0));
        }
        return map;
    }

    Aud::GainCurve::eCurveType curve(std::size_t index) const
    {
        return Aud::GainCurve::eCurveType(integer(index));
    }
    void rolls(const Cel::Rolls& made) { edited = line.text(0) == "a" ? made.a : made.b; }

    void answers(double value) { answer = numberText(value); }
    void answers(const ce_handle& h) { answers(double(h.valid() ? h.get_index() : -1)); }
};

void add(Call& call)
{
    for (const ChannelEvent& event : events(call.line.text(0)))
        call.answer += call.track().addEvent(event) ? '1' : '0';
}

void set(Call& call)
{
    const std::string& field = call.line.text(0);
    ce_handle h = call.handle(1);
    if (field == "material")
        return h.set_strip_cookie(call.cookie(2));
    const double value = call.number(2);
    const auto whole = static_cast<int>(value);
    // clang-format off
    if (field == "edit")           h.set_edit_time(value);
    else if (field == "strip")     h.set_strip_time(value);
    else if (field == "start")     h.set_start_strip_time(value);
    else if (field == "velocity")  h.set_strip_velocity(static_cast<float>(value));
    else if (field == "level")     h.set_strip_level(static_cast<float>(value));
    else if (field == "modifier")  h.set_dmod_code(whole);
    else if (field == "ramp")      h.set_audioRamp_DurationQFrames(static_cast<unsigned>(whole));
    else if (field == "curve")     h.set_audioRamp_CurveType(whole);
    else if (field == "active")    h.setActive(whole != 0);
    else if (field == "trim")      h.select_trim(static_cast<trim_type>(whole));
    else throw std::invalid_argument("no field: " + field);
    // clang-format on
}

/// What no setter does: the track does not learn of it.
void setRaw(Call& call)
{
    ChannelEvent& event = *call.track().getChanEventPtr(call.integer(1));
    if (call.line.text(0) == "info")
        event.info(static_cast<ce_info>(call.integer(2)));
    else
        event.strip_name(call.cookie(2));
}

struct Operation
{
    std::string_view name;
    void (*run)(Call&);
};
// clang-format off
constexpr Operation kOperations[] = {
    {"add",             add},
    {"addOwn",          [](Call& c) { c.track().addEvent(*c.track().getChanEventPtr(c.integer(0))); }},
    {"set",             set},
    {"raw",             setRaw},
    {"counters",        [](Call& c) { c.answer = counters(c.track()); }},
    {"open",            [](Call& c) { c.answers(inspect(c.track()).pendingInIndex); }},
    {"dirty",           [](Call& c) { c.answers(c.track().is_dirty()); }},
    {"insertPair",      [](Call& c) { c.answers(c.track().insertEventPair(c.integer(0), c.cookie(1), c.number(2), c.number(3), c.number(4))); }},
    {"appendPair",      [](Call& c) { c.answers(c.track().appendEventPair(c.cookie(0), c.number(1), c.number(2), c.number(3))); }},
    {"removePairs",     [](Call& c) { c.answers(c.track().removeEventPairs(c.integer(0), c.integer(1), c.flag(2))); }},
    {"clear",           [](Call& c) { c.track().clear(); }},
    {"assign",          [](Call& c) { c.track() = *c.source(0); }},
    {"cut",             [](Call& c) { c.answers(c.track().makeCutAt(c.number(0))); }},
    {"remove",          [](Call& c) { c.track().remove(c.range(0)); }},
    {"insert",          [](Call& c) { c.track().insert(c.source(0).get(), c.range(1), c.number(3), c.ids(4)); }},
    {"replace",         [](Call& c) { c.track().replace(c.source(0).get(), c.range(1), c.number(3), c.ids(5), Editable::ReplaceFlags(c.integer(4))); }},
    {"extract",         [](Call& c) { c.edited = c.track().extract(c.number(0), c.number(1), c.flags(2)); }},
    {"extract2",        [](Call& c) { c.edited = c.track().extract2(c.number(0), c.number(1), c.flags(2), c.flags(3)); }},
    {"copy",            [](Call& c) { c.edited = c.track().copy(); }},
    {"append",          [](Call& c) { c.edited = c.track().appendCel(c.source(0)); }},
    {"overlay",         [](Call& c) { if (const auto made = c.track().overlay(c.source(0), true)) c.edited = made; else c.answer = "null"; }},
    {"blackEnds",       [](Call& c) { c.edited = c.track().add_black_to_ends(c.integer(0), c.line.text(1).front()); }},
    {"slide",           [](Call& c) { c.track().slide(c.number(0)); }},
    {"weld",            [](Call& c) { c.track().weld(c.source(0).get(), c.number(1)); }},
    {"trim",            [](Call& c) { ce_handle h = c.handle(0); c.answers(c.track().trim(h, c.number(1), trim_type(c.integer(2)))); }},
    {"trimRaw",         [](Call& c) { ce_handle h = c.handle(0); c.answers(c.track().trimRaw(h, c.number(1), trim_type(c.integer(2)))); }},
    {"doTrimTest",      [](Call& c) { c.answers(c.track().do_trim_test(c.number(0))); }},
    {"doTrim",          [](Call& c) { c.answers(c.track().do_trim(c.number(0))); }},
    {"deselect",        [](Call& c) { c.track().deselect_all_trims(); }},
    {"quantise",        [](Call& c) { c.edited = c.track().quantise(); }},
    {"quantiseInPlace", [](Call& c) { c.track().quantiseInPlace(); }},
    {"quantiseEnd",     [](Call& c) { c.track().quantiseCelEnd(); }},
    {"reverse",         [](Call& c) { c.edited = c.track().reverse(); }},
    {"rescale",         [](Call& c) { c.edited = c.track().rescale(c.number(0), c.number(1), c.number(2), c.number(3), c.number(4), c.number(5), c.number(6), c.integer(7)); }},
    {"simplify",        [](Call& c) { c.answers(c.track().simplify(Simplification::eType(c.integer(0)), c.range(1))); }},
    {"simplified",      [](Call& c) { c.edited = c.track().simplify(c.integer(0), c.flag(1), c.flag(2)); }},
    {"simplifiedBlack", [](Call& c) { c.edited = c.track().simplify_black(c.range(0)); }},
    {"hasBlack",        [](Call& c) { c.answers(c.track().canSimplifyBlack()); }},
    {"roll",            [](Call& c) { c.rolls(c.track().chequerboard()); }},
    {"fadeList",        [](Call& c) { c.rolls(c.track().cfade_lists()); }},
    {"merge",           [](Call& c) { c.edited = Cel::cheq_merge(c.track(), *c.source(0)); }},
    {"widen",           [](Call& c) { c.answers(c.track().cheq_widen_cel(c.number(0), c.number(1), c.integer(2))); }},
    {"cfade",           [](Call& c) { c.answers(c.track().cfade(c.number(0), c.number(1), c.curve(2))); }},
    {"cfadeRemoval",    [](Call& c) { c.answers(c.track().cfade_removal(c.number(0))); }},
    {"crossfade",       [](Call& c) { c.answers(c.track().crossfade_whole(c.number(0), c.curve(1))); }},
    {"crossfades",      [](Call& c) { c.answers(c.track().crossfades_exist()); }},
    {"uncrossfade",     [](Call& c) { c.answers(c.track().crossfade_removal_whole()); }},
    {"tidy",            [](Call& c) { c.track().simplifyTidy(c.range(0)); }},
};
// clang-format on

/// The next word of a text; what stands in parentheses is one, without them.
std::string_view takeWord(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const bool enclosed = text.starts_with('(');
    text.remove_prefix(enclosed);
    const std::string_view word = text.substr(0, text.find(enclosed ? ')' : ' '));
    text.remove_prefix(std::min(word.size() + enclosed, text.size()));
    return word;
}

} // namespace

EditLine::EditLine(std::string_view text)
    : name(takeWord(text))
{
    if (name.empty())
        throw std::invalid_argument("no edit");
    while (text.find_first_not_of(' ') != text.npos)
        arguments.emplace_back(takeWord(text));
}

const std::string& EditLine::text(std::size_t index) const
{
    if (index >= arguments.size())
        throw std::invalid_argument(name + ": no argument " + std::to_string(index));
    return arguments[index];
}

double EditLine::number(std::size_t index) const
{
    const std::string& digits = text(index);
    if (digits == "?")
        return kUnsetTime;
    double value = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc())
        throw std::invalid_argument(name + ": no number: " + digits);
    return value;
}

Cel::Range EditLine::range(std::size_t index) const
{
    if (index == arguments.size())
        return Editable::invalidRange();
    const double start = number(index);
    return {start, number(index + 1)};
}

std::vector<EditLine> editLines(std::string_view text)
{
    std::vector<EditLine> lines;
    std::istringstream parts{std::string(text)};
    for (std::string part; std::getline(parts, part, ';');)
        lines.emplace_back(part);
    return lines;
}

std::string run(const EditLine& edit, Kt::Ptr<Cel>& edited, const Kt::Ptr<Cel>& other)
{
    const auto operation = std::ranges::find(kOperations, edit.name, &Operation::name);
    if (operation == std::end(kOperations))
        throw std::invalid_argument("no edit: " + edit.name);
    Call call{edit, edited, other, ""};
    operation->run(call);
    return call.answer;
}

std::string numberText(double value)
{
    char digits[32];
    return value == kUnsetTime
               ? "?"
               : std::string(digits, std::to_chars(digits, std::end(digits), value).ptr);
}

} // namespace cel::test

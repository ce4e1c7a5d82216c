#include "tests/support/track_model.h"
#include "tests/support/track_notation.h"

#include <algorithm>
#include <stdexcept>

namespace cel::test {

namespace {

/// An edit of a model on its way.
struct Call
{
    const EditLine& line;
    ModelTrack& edited;
    const ModelTrack& other;
    std::string answer;

    double number(std::size_t index) const { return line.number(index); }
    int integer(std::size_t index) const { return line.integer(index); }
    unsigned flags(std::size_t index) const { return static_cast<unsigned>(integer(index)); }
    bool flag(std::size_t index) const { return integer(index) != 0; }
    Cel::Range range(std::size_t index) const { return line.range(index); }
    Cookie cookie(std::size_t index) const { return material(line.text(index).front()); }
    const ModelTrack* source(std::size_t index) const
    {
        const std::string& name = line.text(index);
        return name == "none" ? nullptr : name == "itself" ? &edited : &other;
    }

    void answers(double value) { answer = numberText(value); }
};

void add(Call& call)
{
    for (const ChannelEvent& event : events(call.line.text(0)))
        call.answer += call.edited.add(ModelEvent(event)) ? '1' : '0';
}

void set(Call& call)
{
    const std::string& field = call.line.text(0);
    ModelEvent& event = call.edited.at(call.integer(1));
    const double value = call.number(2);
    // clang-format off
    if (field == "level")         event.level = float(value);
    else if (field == "velocity") event.velocity = float(value);
    else if (field == "strip")    event.strip = value;
    else if (field == "ramp")     event.ramp = unsigned(value);
    else if (field == "modifier") event.modifier = int(value);
    else if (field == "active")   event.active = value != 0;
    else if (field == "trim")     event.trim = int(value);
    // clang-format on
}

void overlay(Call& call)
{
    if (const auto made = call.edited.overlay(*call.source(0)))
        call.edited = *made;
    else
        call.answer = "null";
}

struct Operation
{
    std::string_view name;
    void (*run)(Call&);
};
// clang-format off
constexpr Operation kOperations[] = {
    {"add",             add},
    {"set",             set},
    {"insertPair",      [](Call& c) { c.answers(c.edited.insertPair(c.integer(0), c.cookie(1), c.number(2), c.number(3), c.number(4))); }},
    {"removePairs",     [](Call& c) { c.answers(c.edited.removePairs(c.integer(0), c.integer(1), c.flag(2))); }},
    {"clear",           [](Call& c) { c.edited.clear(); }},
    {"assign",          [](Call& c) { c.edited = ModelTrack(*c.source(0)); }},
    {"cut",             [](Call& c) { c.answers(c.edited.cut(c.number(0))); }},
    {"remove",          [](Call& c) { c.edited.remove(c.range(0)); }},
    {"insert",          [](Call& c) { c.edited.insert(c.source(0), c.range(1), c.number(3)); }},
    {"replace",         [](Call& c) { c.edited.replace(c.source(0), c.range(1), c.number(3), c.integer(4)); }},
    {"extract",         [](Call& c) { c.edited = c.edited.extract(c.number(0), c.number(1), c.flags(2)); }},
    {"extract2",        [](Call& c) { c.edited = c.edited.extract(c.number(0), c.number(1), 1, c.flags(2), c.flags(3)); }},
    {"copy",            [](Call& c) { c.edited = c.edited.copy(); }},
    {"append",          [](Call& c) { c.edited = c.edited.append(*c.source(0)); }},
    {"overlay",         overlay},
    {"blackEnds",       [](Call& c) { c.edited = c.edited.blackToEnds(c.integer(0), c.line.text(1).front()); }},
    {"slide",           [](Call& c) { c.edited.slide(c.number(0)); }},
    {"weld",            [](Call& c) { c.edited.weld(*c.source(0), c.number(1)); }},
    {"trim",            [](Call& c) { c.answers(c.edited.trim(c.integer(0), c.number(1), c.integer(2), true)); }},
    {"trimRaw",         [](Call& c) { c.answers(c.edited.trim(c.integer(0), c.number(1), c.integer(2), false)); }},
    {"doTrimTest",      [](Call& c) { c.answers(c.edited.trimTest(c.number(0))); }},
    {"doTrim",          [](Call& c) { c.answers(c.edited.trimSelected(c.number(0))); }},
    {"quantise",        [](Call& c) { c.edited = c.edited.quantise(); }},
    {"quantiseInPlace", [](Call& c) { c.edited.quantiseInPlace(); }},
    {"quantiseEnd",     [](Call& c) { c.edited.quantiseEnd(); }},
    {"reverse",         [](Call& c) { c.edited = c.edited.reverse(); }},
    {"rescale",         [](Call& c) { c.edited = c.edited.rescale(c.number(0), c.number(1), c.number(2), c.number(3), c.number(4), c.number(5), c.number(6), c.flags(7)); }},
    {"simplify",        [](Call& c) { c.answers(c.edited.simplify(c.integer(0), c.range(1))); }},
    {"simplified",      [](Call& c) { c.edited = c.edited.simplified(c.integer(0), c.flag(1), c.flag(2)); }},
    {"tidy",            [](Call& c) { c.edited.simplifyTidy(c.range(0)); }},
};
// clang-format on

} // namespace

std::string run(const EditLine& edit, ModelTrack& edited, const ModelTrack& other)
{
    const auto operation = std::ranges::find(kOperations, edit.name, &Operation::name);
    if (operation == std::end(kOperations))
        throw std::invalid_argument("the model knows no edit " + edit.name);
    Call call{edit, edited, other, ""};
    operation->run(call);
    return call.answer;
}

} // namespace cel::test

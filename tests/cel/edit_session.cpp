#include "tests/cel/edit_session.h"

#include "cel/audit.h"
#include "cel/inspect.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <stdexcept>
#include <typeinfo>

namespace cel::test {

// ---- in words -----------------------------------------------------------------------------------

namespace {

/// Edits with signs for what varies: T0 a time, D an amount, N0:8 a number below 8, F1:100 so many
/// frames, I an index, M material, S another track or none, O another track.
const char* const kEdits[] = {
    "add SECTION",
    "add SECTION",
    "add SECTION",
    "set FIELD",
    "set FIELD",
    "cut T0",
    "remove T0 T1",
    "insert S T0 T1 T2",
    "insert S T0 T1 T2",
    "replace S T0 T1 T2 N0:2",
    "extract T0 T1 N0:8",
    "extract2 T0 T1 N0:3 N1:3",
    "insertPair I M F1:100 F2:50 T0",
    "removePairs I N1:4 N2:2",
    "assign O",
    "copy",
    "append O",
    "overlay O",
    "blackEnds N0:4 S",
    "blackEnds N0:4 V",
    "slide T0",
    "weld O 0",
    "weld O T0",
    "trim I D N1:5",
    "trimRaw I D N1:5",
    "doTrimTest D",
    "doTrim D",
    "quantise",
    "quantiseInPlace",
    "quantiseEnd",
    "reverse",
    "rescale T0 T1 F0:100 F1:100 N2:3 1 F3:2 N2:8",
    "simplify N0:6",
    "simplify N0:6 T0 T1",
    "simplified N0:2 N1:2 N2:2",
    "tidy",
    "tidy T0 T1",
};

} // namespace

const int kOperationCount = int(std::size(kEdits));

std::string Wording::text() const
{
    std::istringstream signs(kEdits[edit_.operation]);
    std::string name;
    signs >> name;
    for (std::string sign; signs >> sign;)
        name += " " + (name == "blackEnds" && sign == "S" ? sign : word(sign));
    return name;
}

std::string Wording::word(std::string_view sign) const
{
    static constexpr const char* kSources[] = {"other", "itself", "none"};
    const int which = sign.size() > 1 ? sign[1] - '0' : 0;
    const auto below = sign.find(':') == sign.npos
                           ? std::size_t(1)
                           : std::size_t(std::stoi(std::string(sign.substr(3))));
    if (sign == "SECTION")
        return section();
    if (sign == "FIELD")
        return field();
    switch (sign.front()) {
    case 'T':
        return numberText(time(which));
    case 'D':
        return numberText((oneIn(2, 2) ? -0.3001 : 0.3001) * time(0));
    case 'N':
        return std::to_string(number(which, below));
    case 'F':
        return numberText(frames(which, below));
    case 'I':
        return std::to_string(number(0, std::size_t(track_.size()) + 2) - 1);
    case 'M':
        return {1, "ABab.,$"[number(3, 7)]};
    case 'S':
        return kSources[edit_.source];
    case 'O':
        return kSources[edit_.source & 1];
    default:
        return std::string(sign);
    }
}

double Wording::time(int which) const
{
    static constexpr double kOdd[] = {2e81, 1e99, 2e12, HUGE_VAL, NAN};
    const int code = edit_.times[std::size_t(which)];
    const double onFrame = code % 250 * track_.resolution;
    switch (code / 250) {
    case 2:
    case 3: // on an event, or just beside it
        if (track_.size() == 0)
            return onFrame;
        return track_.at(code % 250 % track_.size()).edit + (code % 5 - 2) * (code % 2) * 0.37e-6;
    case 4:
        return onFrame + 0.0131;
    case 5:
        return code % 250 < 200 ? -onFrame * 0.2503 : kOdd[code % 5];
    default:
        return onFrame;
    }
}

/// On the end of the track, sometimes behind a hole; sometimes with a level change inside.
std::string Wording::section() const
{
    static constexpr const char* kSpeeds[] = {"*2", "*0.5", "*-1", "*0"};
    const double end = track_.size() == 0 ? 0 : track_.at(track_.size() - 1).edit;
    const double from = end + (oneIn(0, 6) ? frames(1, 20) : 0.0);
    const double length = oneIn(0, 9) ? 0.0 : oneIn(0, 11) ? 0.74e-6 : frames(0, 40);
    const std::string shot(1, "ABab.,$"[number(3, 7)]);
    const std::string strip = "@" + numberText(frames(2, 500));
    const std::string level = oneIn(1, 3) ? ":0.5" : "";
    const std::string ramp = oneIn(3, 4) ? "~" + std::to_string(number(0, 60)) + "/2" : "";
    const std::string flags =
        std::string(oneIn(2, 5) ? "%3" : "") + (oneIn(2, 7) ? "!" : "") + "*?";
    const std::string id =
        IdStamp(1 + unsigned(number(0, 250)), 0, unsigned(number(1, 4)) << 30).asString().c_str();

    std::string text =
        "(" + shot + "<" + numberText(from) + strip + level + ramp + flags + "#" + id;
    if (oneIn(3, 9) && length > 0)
        text +=
            " " + shot + "=" + numberText(from + length * 0.3001) + strip + level + ramp + flags;
    text += " " + shot + ">" + numberText(from + length) + strip + ramp;
    return text + (oneIn(2, 4) ? ":0.25" : level) + (oneIn(1, 4) ? kSpeeds[number(2, 4)] : "") +
           ")";
}

std::string Wording::field() const
{
    struct Field
    {
        const char* name;
        double unit;
        std::size_t values;
    };
    static constexpr Field kFields[] = {
        {"level", 0.25, 16}, {"velocity", 0.25, 16}, {"strip", 0.25, 16}, {"ramp", 1, 16},
        {"modifier", 1, 16}, {"active", 1, 2},       {"trim", 1, 5},      {"trim", 1, 5},
    };
    const Field& field = kFields[number(1, std::size(kFields))];
    const int index = track_.size() == 0 ? 0 : number(0, std::size_t(track_.size()));
    return field.name + (" " + std::to_string(index)) + " " +
           numberText(number(2, field.values) * field.unit);
}

// ---- what is done -------------------------------------------------------------------------------

namespace {

/// The model says nothing of tracks whose events are out of order.
bool outOfOrder(const ModelTrack& m)
{
    for (int i = 0; i < m.size(); ++i)
        if (!(std::fabs(m.at(i).edit) < 1e5) || m.at(i).edit < 0 || m.at(i).kind == 8 ||
            (i > 0 && m.at(i - 1).edit > m.at(i).edit + 1e-9))
            return true;
    const std::set<std::string> faults = m.faults();
    return faults.contains("kinds") || faults.contains("open-section") ||
           faults.contains("strip-time");
}

bool sameAnswer(const std::string& a, const std::string& b)
{
    return a == b || (!a.empty() && !b.empty() && a != "null" && b != "null" &&
                      std::fabs(std::stod(a) - std::stod(b)) <= 1e-9);
}

} // namespace

void Session::run(const Edit& edit)
{
    constexpr int kMostEvents = 80;
    const int target = edit.target;
    Kt::Ptr<Cel>& track = tracks_[target];
    ModelTrack& model = models_[target];
    if (model.size() + models_[1 - target].size() > kMostEvents)
        clear(target);
    const std::string words = Wording(edit, model).text();
    const EditLine line(words);
    script += (target == 0 ? "first: " : "second: ") + words + "\n";
    if (line.name == "set" && model.size() == 0)
        return;

    const auto [answer, fault] =
        outcomeOf([&] { return test::run(line, track, tracks_[1 - target]); });
    try {
        const auto [expected, expectedFault] =
            outcomeOf([&] { return test::run(line, model, models_[1 - target]); });
        if (!fault.starts_with(expectedFault) || fault.empty() != expectedFault.empty())
            wrong("throws '" + fault + "' instead of '" + expectedFault + "'", target);
        if (!sameAnswer(answer, expected))
            wrong("answers " + answer + " instead of " + expected, target);
    } catch (const std::out_of_range&) {
        return clear(target);
    }
    const Cel& made = *track;
    if (target == 1 && typeid(made) == typeid(Cel))
        track = Kt::Ptr<Cel>(new Stepwise(*track));
    compare(target);
    if (outOfOrder(model))
        clear(target);
}

void Session::clear(int which)
{
    script += which == 0 ? "first: clear\n" : "second: clear\n";
    tracks_[which]->clear();
    models_[which].clear();
}

void Session::wrong(const std::string& what, int which) const
{
    throw std::logic_error(what + " after\n" + script + "  " + describe(*tracks_[which]));
}

// ---- comparing ----------------------------------------------------------------------------------

void Session::compare(int which)
{
    const Cel& track = *tracks_[which];
    const ModelTrack& m = models_[which];
    const std::string expected = std::to_string(m.counted) + " material, " +
                                 std::to_string(m.black) + " black, open " +
                                 std::to_string(m.pending);
    if (track.numEvents() != m.size())
        wrong("there are not " + std::to_string(m.size()) + " events", which);
    if (counters(track) != expected)
        wrong("counted are " + counters(track) + " and not " + expected, which);
    for (int i = 0; i < m.size(); ++i) {
        const ChannelEvent& event = track.events()[std::size_t(i)];
        std::string field = difference(event, m.at(i));
        if (field.empty() && !sameId(event.editGraph(), m.at(i).id))
            field = "identifier";
        if (!field.empty())
            wrong(field + " of event " + std::to_string(i), which);
    }
    std::set<std::string> faults;
    for (const Finding& finding : audit(track))
        if (finding.severity == Severity::fault)
            faults.insert(finding.invariant);
    if (faults != m.faults() && !outOfOrder(m))
        wrong("found are " + testing::PrintToString(faults) + " and not " +
                  testing::PrintToString(m.faults()) + ",",
              which);
}

std::string difference(const ChannelEvent& e, const ModelEvent& m)
{
    const auto apart = [](double a, double b, double least) {
        return !(std::fabs(a - b) <= std::max(least, std::fabs(b) * 1e-14)) && a != b &&
               !(std::isnan(a) && std::isnan(b));
    };
    if (!isRealTime(m.edit))
        return isRealTime(e.edit_time()) ? "edit time" : "";
    if (apart(e.edit_time(), m.edit, 1e-9))
        return "edit time not " + numberText(m.edit);
    if (apart(e.strip_time(), m.strip, 1e-8))
        return "strip time not " + numberText(m.strip);
    if (apart(double(e.level_sc()), double(m.level), 1e-6))
        return "level not " + numberText(double(m.level));
    if (apart(double(e.velocity()), double(m.velocity), 1e-5))
        return "velocity not " + numberText(double(m.velocity));
    if (e.strip_name() != m.material)
        return "material";
    if (int(e.info()) != m.kind || e.isActive() != m.active ||
        e.varispeed_display_modifier() != m.modifier)
        return "info word";
    if (int(e.get_trim_type()) != m.trim || e.get_ChannelEventModification() != m.modification)
        return "trim or modification";
    if (e.audioRamp_DurationQFrames() != m.ramp || e.audioRamp_CurveType() != m.curve)
        return "ramp not " + std::to_string(m.ramp);
    return "";
}

/// An identifier that the model sees for the first time must be new on the track as well.
bool Session::sameId(const IdStamp& id, const IdStamp& expected)
{
    if (!expected.valid())
        return !id.valid();
    const auto [known, added] = ids_.try_emplace(expected, id);
    return added ? id.getMagicType() == expected.getMagicType() && seen_.insert(id).second
                 : known->second == id;
}

} // namespace cel::test

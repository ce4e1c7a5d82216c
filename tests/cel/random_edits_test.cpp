#include "cel/Cel.h"
#include "cel/audit.h"
#include "cel/inspect.h"
#include "cel/plays_same.h"
#include "platform/support/PStream.h"
#include "platform/support/TextFile.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_model.h"
#include "tests/support/track_notation.h"

#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>

namespace cel::test {
namespace {

/// A track of a derived class, whose edits go step by step.
class Stepwise : public Cel
{
public:
    explicit Stepwise(const Cel& other)
        : Cel(other)
    {
    }
};

/// One random edit. What its numbers stand for depends on the edit; all 0 is the simplest one.
struct Edit
{
    int operation, target, source;
    std::array<int, 3> times;
    std::array<int, 4> numbers;
};

/// The second track's frames are never half way between the first one's.
constexpr double kFrames[] = {0.04, 1 / 23.99};
constexpr int kMostEvents = 80;

std::string text(double value)
{
    if (!std::isfinite(value))
        return std::isnan(value) ? "\"nan\"" : value > 0 ? "\"inf\"" : "\"-inf\"";
    char digits[32];
    return {digits, std::to_chars(digits, std::end(digits), value).ptr};
}
std::string text(int value)
{
    return std::to_string(value);
}
std::string text(const char* value)
{
    return '"' + std::string(value) + '"';
}
std::string text(const Cookie& c)
{
    return "[" + text(int(c.type())) + "," + text(c.getInt1()) + "," + text(c.getInt2()) + "," +
           text(c.getInt3()) + "]";
}

/// Both sides of a sequence: the tracks and their models, and the script of what was done.
class Session
{
public:
    Session()
    {
        for (int i = 0; i < 2; ++i)
            say(i == 0 ? "cel" : "hooked", kNames[i], kFrames[i]);
    }

    void run(const Edit& edit);
    void aim(const Edit& edit) { edit_ = edit; }
    const Kt::Ptr<Cel>& first() const { return tracks_[0]; }
    void clear();
    ce_handle handle(int index) const { return {tracks_[edit_.target], index}; }

    // What an operation takes from its edit.
    Cel& track() { return *tracks_[edit_.target]; }
    ModelTrack& model() { return models_[edit_.target]; }
    const Kt::Ptr<Cel>& other() { return tracks_[edit_.source & 1]; }
    ModelTrack& otherModel() { return models_[edit_.source & 1]; }
    const Cel* source() { return edit_.source < 2 ? other().get() : nullptr; }
    const ModelTrack* sourceModel() { return edit_.source < 2 ? &otherModel() : nullptr; }
    const char* name() const { return kNames[edit_.target]; }
    const char* otherName() const { return kNames[edit_.source & 1]; }
    std::string sourceName() const { return edit_.source < 2 ? text(otherName()) : "null"; }
    int number(int which, std::size_t below) const
    {
        return edit_.numbers[std::size_t(which)] % int(below);
    }
    int index(int which) { return number(which, std::size_t(model().size()) + 2) - 1; }
    bool oneIn(int which, int n) const { return edit_.numbers[std::size_t(which)] % n == n - 1; }
    double time(int which);
    double frames(int which, int most)
    {
        return number(which, std::size_t(most)) * model().resolution;
    }
    Cel::Range range() { return {time(0), time(1)}; }
    Cookie material(int which) const { return test::material("ABab.,$"[number(which, 7)]); }

    template <class... Args>
    void say(const char* operation, const Args&... args)
    {
        script += "[\"" + std::string(operation) + "\"";
        ((script += "," + argument(args)), ...);
        script += "]\n";
    }

    /// Does the same to both; answers and faults must agree.
    template <class Real, class Model>
    void both(const Real& real, const Model& model)
    {
        const auto [mine, fault] = outcome(real);
        const auto [expected, expectedFault] = outcome(model);
        if (expectedFault == kUnsaid)
            return clear();
        if (!fault.starts_with(expectedFault) || fault.empty() != expectedFault.empty())
            wrong("throws '" + fault + "' instead of '" + expectedFault + "'");
        if (!(std::fabs(mine - expected) <= 1e-9) && text(mine) != text(expected))
            wrong("answers " + text(mine) + " instead of " + text(expected));
    }

    /// The same for an edit that makes a new track, which takes the place of the target.
    template <class Real, class Model>
    void make(const Real& real, const Model& model)
    {
        Kt::Ptr<Cel> made;
        std::optional<ModelTrack> expected;
        both([&] { return made = real(), made ? 1.0 : 0.0; },
             [&] { return expected = model(), expected ? 1.0 : 0.0; });
        if (!made || !expected)
            return;
        tracks_[edit_.target] = edit_.target == 0 ? made : Kt::Ptr<Cel>(new Stepwise(*made));
        models_[edit_.target] = *expected;
    }

    void wrong(const std::string& what);
    void addSection();
    void setField();

    std::string script;

private:
    /// Fault of a model whose walk over pairs left the track: level changes had broken its pairs.
    static constexpr const char* kUnsaid = "unsaid";
    static constexpr const char* kNames[] = {"a", "b"};

    static std::string argument(const std::string& ready) { return ready; }
    template <class T>
    static std::string argument(const T& value)
    {
        return text(value);
    }

    template <class Call>
    static std::pair<double, std::string> outcome(const Call& call)
    {
        try {
            return {call(), ""};
        } catch (const std::out_of_range&) {
            return {0.0, kUnsaid};
        } catch (const std::exception& fault) {
            return {0.0, fault.what()};
        }
    }

    void compare();
    bool outOfOrder();
    std::string difference(const ChannelEvent& event, const ModelEvent& expected);
    bool sameId(const IdStamp& id, const ModelId& expected);

    Edit edit_{};
    Kt::Ptr<Cel> tracks_[2] = {Kt::Ptr<Cel>(new Cel(0, kFrames[0])),
                               Kt::Ptr<Cel>(new Stepwise(*Kt::Ptr<Cel>(new Cel(0, kFrames[1]))))};
    ModelTrack models_[2] = {ModelTrack(kFrames[0]), ModelTrack(kFrames[1])};
    std::map<int, IdStamp> ids_;
    std::set<IdStamp> seen_;
};

double Session::time(int which)
{
    static constexpr double kOdd[] = {2e81, 1e99, 2e12, HUGE_VAL, NAN};
    const int code = edit_.times[std::size_t(which)];
    const double onFrame = code % 250 * model().resolution;
    switch (code / 250) {
    case 2:
    case 3: // on an event, or just beside it
        if (model().size() == 0)
            return onFrame;
        return model().at(code % 250 % model().size()).edit + (code % 5 - 2) * (code % 2) * 0.37e-6;
    case 4:
        return onFrame + 0.0131;
    case 5:
        return code % 250 < 200 ? -onFrame * 0.2503 : kOdd[code % 5];
    default:
        return onFrame;
    }
}

void Session::addSection()
{
    // On the end of the track, sometimes behind a hole; sometimes with level changes inside.
    ModelEvent in;
    in.edit = (model().size() == 0 ? 0 : model().at(model().size() - 1).edit) +
              (oneIn(0, 6) ? frames(1, 20) : 0.0);
    in.strip = frames(2, 500);
    in.material = material(3);
    in.level = oneIn(1, 3) ? 0.5F : 1.0F;
    in.modifier = oneIn(2, 5) ? 3 : 0;
    in.active = !oneIn(2, 7);
    in.ramp = oneIn(3, 4) ? unsigned(number(0, 60)) : 0U;
    in.curve = oneIn(3, 4) ? 2 : 0;
    in.id = {freshModelId().number, number(1, 4)};
    ModelEvent out = in;
    out.kind = 4;
    out.edit = in.edit + (oneIn(0, 9) ? 0.0 : oneIn(0, 11) ? 0.74e-6 : frames(0, 40));
    out.id = freshModelId();
    out.modifier = 0;
    out.active = true;
    out.level = oneIn(2, 4) ? 0.25F : in.level;
    out.velocity =
        oneIn(1, 4) ? std::array{2.0F, 0.5F, -1.0F, 0.0F}[std::size_t(number(2, 4))] : 1.0F;
    std::vector<ModelEvent> events{in};
    if (oneIn(3, 9) && out.edit > in.edit) {
        events.push_back(in);
        events.back().kind = 2;
        events.back().edit = in.edit + (out.edit - in.edit) * 0.3001;
        events.back().id = freshModelId();
    }
    events.push_back(out);
    for (const ModelEvent& e : events) {
        IdStamp id;
        id.setMagicType(e.id.magic);
        seen_.insert(id);
        ids_.emplace(e.id.number, id);
        ChannelEvent event(e.edit, e.strip, e.material, e.level, static_cast<ce_info>(e.kind), id,
                           e.modifier);
        event.velocity(e.velocity);
        event.setActive(e.active);
        event.audioRamp_DurationQFrames(e.ramp);
        event.audioRamp_CurveType(e.curve);
        const std::string stamp = "\"g" + std::to_string(e.id.number) + '"';
        if (e.id.magic != 1)
            say("stamp", stamp, e.id.magic);
        say("add", name(),
            "{\"edit\":" + text(e.edit) + ",\"strip\":" + text(e.strip) +
                ",\"cookie\":" + text(e.material) + ",\"info\":" + text(e.kind) +
                ",\"level\":" + text(double(e.level)) +
                ",\"velocity\":" + text(double(e.velocity)) + ",\"modifier\":" + text(e.modifier) +
                ",\"active\":" + text(int(e.active)) + ",\"ramp\":[" + text(int(e.ramp)) + "," +
                text(e.curve) + (e.id.magic != 1 ? "],\"graph\":" + stamp : "]") + "}");
        both([&] { return double(track().addEvent(event)); },
             [&] { return double(model().add(e)); });
    }
}

void Session::setField()
{
    // clang-format off
    struct Field { const char* name; void (*set)(Cel&, const ce_handle&, int); void (*setModel)(ModelEvent&, int); };
    static const Field fields[] = {
        {"level",     [](Cel& c, const ce_handle& h, int x) { c.set_strip_level(h, float(x) / 4); },            [](ModelEvent& e, int x) { e.level = float(x) / 4; }},
        {"velocity",  [](Cel& c, const ce_handle& h, int x) { c.set_strip_velocity(h, float(x) / 4); },         [](ModelEvent& e, int x) { e.velocity = float(x) / 4; }},
        {"strip",     [](Cel& c, const ce_handle& h, int x) { c.set_strip_time(h, double(x) / 4); },            [](ModelEvent& e, int x) { e.strip = double(x) / 4; }},
        {"rampQ",     [](Cel& c, const ce_handle& h, int x) { c.set_audioRamp_DurationQFrames(h, unsigned(x)); }, [](ModelEvent& e, int x) { e.ramp = unsigned(x); }},
        {"modifier",  [](Cel& c, const ce_handle& h, int x) { c.set_dmod_code(h, x); },                         [](ModelEvent& e, int x) { e.modifier = x; }},
        {"active",    [](Cel&, const ce_handle& h, int x) { ce_handle(h).setActive(x % 2 == 0); },              [](ModelEvent& e, int x) { e.active = x % 2 == 0; }},
        {"trim",      [](Cel&, const ce_handle& h, int x) { ce_handle(h).select_trim(trim_type(x % 5)); },      [](ModelEvent& e, int x) { e.trim = x % 5; }},
        {"trim",      [](Cel&, const ce_handle& h, int x) { ce_handle(h).select_trim(trim_type(x % 5)); },      [](ModelEvent& e, int x) { e.trim = x % 5; }},
    };
    // clang-format on
    if (model().size() == 0)
        return;
    const int at = number(0, std::size_t(model().size()));
    const Field& field = fields[number(1, std::size(fields))];
    const int value = number(2, 16);
    const bool scaled = &field - fields < 3;
    say("set", name(), at, field.name,
        field.name == std::string_view("trim")     ? double(value % 5)
        : field.name == std::string_view("active") ? double(value % 2 == 0)
        : scaled                                   ? value / 4.0
                                                   : double(value));
    field.set(track(), ce_handle(tracks_[edit_.target], at), value);
    field.setModel(model().at(at), value);
}

// ---- what is done -----------------------------------------------------------------------------

using Operation = void (*)(Session&);
constexpr double kDone = 0;

// clang-format off
const Operation kOperations[] = {
    [](Session& s) { s.addSection(); },
    [](Session& s) { s.addSection(); },
    [](Session& s) { s.setField(); },
    [](Session& s) {
        const double t = s.time(0);
        s.say("cut", s.name(), t);
        s.both([&] { const ce_handle h = s.track().makeCutAt(t); return h.valid() ? h.get_index() : -1.0; }, [&] { return double(s.model().cut(t)); });
    },
    [](Session& s) {
        const Cel::Range range = s.range();
        s.say("remove", s.name(), range.start(), range.end());
        s.both([&] { return s.track().remove(range), kDone; }, [&] { return s.model().remove(range), kDone; });
    },
    [](Session& s) {
        const Cel::Range range = s.range(); const double at = s.time(2);
        s.say("insert", s.name(), s.sourceName(), range.start(), range.end(), at);
        s.both([&] { return s.track().insert(s.source(), range, at, {}), kDone; }, [&] { return s.model().insert(s.sourceModel(), range, at), kDone; });
    },
    [](Session& s) {
        const Cel::Range range = s.range(); const double at = s.time(2); const int flags = s.number(0, 2);
        s.say("replace", s.name(), s.sourceName(), range.start(), range.end(), at, flags);
        s.both([&] { return s.track().replace(s.source(), range, at, {}, Editable::ReplaceFlags(flags)), kDone; }, [&] { return s.model().replace(s.sourceModel(), range, at, flags), kDone; });
    },
    [](Session& s) {
        const double from = s.time(0), to = s.time(1); const int flags = s.number(0, 8);
        s.say("extract", s.name(), s.otherName(), from, to, flags);
        s.make([&] { return s.other()->extract(from, to, unsigned(flags)); }, [&] { return s.otherModel().extract(from, to, unsigned(flags)); });
    },
    [](Session& s) {
        const double from = s.time(0), to = s.time(1); const int before = s.number(0, 3), after = s.number(1, 3);
        s.say("extract2", s.name(), s.otherName(), from, to, before, after);
        s.make([&] { return s.other()->extract2(from, to, unsigned(before), unsigned(after)); }, [&] { return s.otherModel().extract(from, to, 1, unsigned(before), unsigned(after)); });
    },
    [](Session& s) {
        const int index = s.index(0); const double strip = s.frames(1, 100), length = s.frames(2, 50), at = s.time(0);
        const Cookie c = s.material(3);
        s.say("insertPair", s.name(), index, c, strip, length, at);
        s.both([&] { return double(s.track().insertEventPair(index, c, strip, length, at).get_index()); }, [&] { return double(s.model().insertPair(index, c, strip, length, at)); });
    },
    [](Session& s) {
        const int index = s.index(0), pairs = s.number(1, 4), closes = s.number(2, 2);
        s.say("removePairs", s.name(), index, pairs, closes);
        s.both([&] { return double(s.track().removeEventPairs(index, pairs, closes == 1)); }, [&] { return double(s.model().removePairs(index, pairs, closes == 1)); });
    },
    [](Session& s) {
        s.say("copy", s.name(), s.otherName());
        s.make([&] { return s.other()->copy(); }, [&] { return s.otherModel().copy(); });
    },
    [](Session& s) {
        s.say("appendCel", s.name(), s.name(), s.otherName());
        s.make([&] { return s.track().appendCel(s.other()); }, [&] { return s.model().append(s.otherModel()); });
    },
    [](Session& s) {
        s.say("overlay", s.name(), s.name(), s.otherName());
        s.make([&] { return s.track().overlay(s.other(), s.oneIn(0, 2)); }, [&] { return s.model().overlay(s.otherModel()); });
    },
    [](Session& s) {
        const int which = s.number(0, 4); const char* type = s.oneIn(1, 2) ? "S" : "V";
        s.say("blackEnds", s.name(), s.otherName(), which, type);
        s.make([&] { return s.other()->add_black_to_ends(which, *type); }, [&] { return s.otherModel().blackToEnds(which, *type); });
    },
    [](Session& s) {
        const double offset = s.time(0);
        s.say("slide", s.name(), offset);
        s.both([&] { return s.track().slide(offset), kDone; }, [&] { return s.model().slide(offset), kDone; });
    },
    [](Session& s) {
        const double offset = s.oneIn(0, 2) ? s.time(0) : 0.0;
        s.say("weld", s.name(), s.otherName(), offset);
        s.both([&] { return s.track().weld(s.other().get(), offset), kDone; }, [&] { return s.model().weld(s.otherModel(), offset), kDone; });
    },
    [](Session& s) {
        const int index = s.index(0), type = s.number(1, 5); const double d = (s.oneIn(2, 2) ? -0.3001 : 0.3001) * s.time(0); const bool raw = s.oneIn(3, 3);
        s.say(raw ? "trimRaw" : "trim", s.name(), index, d, type);
        s.both([&] { ce_handle h = s.handle(index); return raw ? s.track().trimRaw(h, d, trim_type(type)) : s.track().trim(h, d, trim_type(type)); },
               [&] { return s.model().trim(index, d, type, !raw); });
    },
    [](Session& s) {
        const double d = (s.oneIn(0, 2) ? -0.3001 : 0.3001) * s.time(0);
        s.say("doTrimTest", s.name(), d);
        s.both([&] { return s.track().do_trim_test(d); }, [&] { return s.model().trimTest(d); });
        s.say("doTrim", s.name(), d);
        s.both([&] { return s.track().do_trim(d); }, [&] { return s.model().trimSelected(d); });
    },
    [](Session& s) {
        s.say("quantise", s.name(), s.otherName());
        s.make([&] { return s.other()->quantise(); }, [&] { return s.otherModel().quantise(); });
    },
    [](Session& s) {
        const bool end = s.oneIn(0, 2);
        s.say(end ? "quantiseEnd" : "quantiseInPlace", s.name());
        s.both([&] { return end ? s.track().quantiseCelEnd() : s.track().quantiseInPlace(), kDone; }, [&] { return end ? s.model().quantiseEnd() : s.model().quantiseInPlace(), kDone; });
    },
    [](Session& s) {
        s.say("reverse", s.name(), s.otherName());
        s.make([&] { return s.other()->reverse(); }, [&] { return s.otherModel().reverse(); });
    },
    [](Session& s) {
        const double from = s.time(0), to = s.time(1), start = s.frames(0, 100), end = s.frames(1, 100), level = s.number(2, 3), q = s.frames(3, 2); const int flags = s.number(2, 8);
        s.say("rescale", s.name(), s.otherName(), from, to, start, end, level, 1.0, q, flags);
        s.make([&] { return s.other()->rescale(from, to, start, end, level, 1, q, flags); }, [&] { return s.otherModel().rescale(from, to, start, end, level, 1, q, unsigned(flags)); });
    },
    [](Session& s) {
        const int kind = s.number(0, 6); const Cel::Range range = s.oneIn(1, 2) ? s.range() : Editable::invalidRange();
        s.say("simplify", s.name(), kind, range.start(), range.end());
        s.both([&] { return s.track().simplify(Simplification::eType(kind), range) ? 1.0 : 0.0; }, [&] { return s.model().simplify(kind, range) ? 1.0 : 0.0; });
    },
    [](Session& s) {
        const int mode = s.number(0, 2), black = s.number(1, 2), zero = s.number(2, 2);
        s.say("simplified", s.name(), s.otherName(), mode, black, zero);
        s.make([&] { return s.other()->simplify(mode, black == 1, zero == 1); }, [&] { return s.otherModel().simplified(mode, black == 1, zero == 1); });
    },
    [](Session& s) {
        const Cel::Range range = s.oneIn(1, 2) ? s.range() : Editable::invalidRange();
        s.say("tidy", s.name(), range.start(), range.end());
        s.both([&] { return s.track().simplifyTidy(range), kDone; }, [&] { return s.model().simplifyTidy(range), kDone; });
    },
};
// clang-format on

void Session::run(const Edit& edit)
{
    edit_ = edit;
    if (model().size() + (source() ? otherModel().size() : 0) > kMostEvents)
        clear();
    kOperations[edit.operation](*this);
    compare();
    // The model says nothing of tracks whose events are out of order.
    if (outOfOrder())
        clear();
}

void Session::clear()
{
    say("clear", name());
    track().clear();
    model().clear();
}

bool Session::outOfOrder()
{
    const ModelTrack& m = model();
    for (int i = 0; i < m.size(); ++i)
        if (!(std::fabs(m.at(i).edit) < 1e5) || m.at(i).edit < 0 || m.at(i).kind == 8 ||
            (i > 0 && m.at(i - 1).edit > m.at(i).edit + 1e-9))
            return true;
    const std::set<std::string> faults = m.faults();
    return faults.contains("kinds") || faults.contains("open-section") ||
           faults.contains("strip-time");
}

// ---- comparing --------------------------------------------------------------------------------

void Session::wrong(const std::string& what)
{
    RC_FAIL(what + " after\n" + script + "  " + describe(track()));
}

void Session::compare()
{
    const CelState state = inspect(track());
    const ModelTrack& m = model();
    if (track().numEvents() != m.size())
        wrong(text(track().numEvents()) + " events instead of " + text(m.size()));
    if (state.eventCount != m.counted || state.blackEventCount != m.black ||
        state.pendingInIndex != m.pending)
        wrong(counters(track()) + " instead of " + text(m.counted) + ", " + text(m.black) + ", " +
              text(m.pending));
    for (int i = 0; i < m.size(); ++i)
        if (const std::string field = difference(track().events()[std::size_t(i)], m.at(i));
            !field.empty())
            wrong(field + " of event " + text(i));
    std::set<std::string> faults;
    for (const Finding& finding : audit(track()))
        if (finding.severity == Severity::fault)
            faults.insert(finding.invariant);
    if (faults != m.faults() && !outOfOrder())
        wrong("found are " + testing::PrintToString(faults) + " and not " +
              testing::PrintToString(m.faults()) + ",");
}

/// What differs, with what it should be; nothing if they agree.
std::string Session::difference(const ChannelEvent& e, const ModelEvent& m)
{
    const auto apart = [](double a, double b, double least) {
        return !(std::fabs(a - b) <= std::max(least, std::fabs(b) * 1e-14));
    };
    if (!isRealTime(m.edit))
        return isRealTime(e.edit_time()) ? "edit time" : "";
    if (apart(e.edit_time(), m.edit, 1e-9))
        return "edit time not " + text(m.edit);
    if (apart(e.strip_time(), m.strip, 1e-8))
        return "strip time not " + text(m.strip);
    if (apart(double(e.level_sc()), double(m.level), 1e-6))
        return "level not " + text(double(m.level));
    if (apart(double(e.velocity()), double(m.velocity), 1e-5))
        return "velocity not " + text(double(m.velocity));
    if (e.strip_name() != m.material)
        return "material not " + text(m.material);
    if (int(e.info()) != m.kind || e.isActive() != m.active ||
        e.varispeed_display_modifier() != m.modifier)
        return "info word";
    if (int(e.get_trim_type()) != m.trim || e.get_ChannelEventModification() != m.modification)
        return "trim or modification";
    if (e.audioRamp_DurationQFrames() != m.ramp || e.audioRamp_CurveType() != m.curve)
        return "ramp not " + text(int(m.ramp));
    return sameId(e.editGraph(), m.id) ? "" : "identifier";
}

/// An identifier that the model sees for the first time must be new on the track as well.
bool Session::sameId(const IdStamp& id, const ModelId& m)
{
    if (m.number == 0)
        return !id.valid();
    const auto [known, added] = ids_.try_emplace(m.number, id);
    return added ? id.getMagicType() == m.magic && seen_.insert(id).second : known->second == id;
}

/// How many sequences: 20,000 unless the environment or a slow build says otherwise.
int sequences()
{
    const char* wanted = std::getenv("CEL_RANDOM_SEQUENCES");
    return wanted ? std::atoi(wanted) : CEL_SEQUENCES;
}

using Sequence = std::vector<Edit>;

/// Whether a test of random edits holds for so many sequences; complains if not.
template <class Test>
void forRandomEdits(int count, int length, const Test& test)
{
    const LogCapture quiet;
    const auto one = rc::gen::build<Edit>(
        rc::gen::set(&Edit::operation, rc::gen::inRange<int>(0, std::size(kOperations))),
        rc::gen::set(&Edit::target, rc::gen::inRange(0, 2)),
        rc::gen::set(&Edit::source, rc::gen::inRange(0, 3)),
        rc::gen::set(&Edit::times,
                     rc::gen::container<std::array<int, 3>>(rc::gen::inRange(0, 1500))),
        rc::gen::set(&Edit::numbers,
                     rc::gen::container<std::array<int, 4>>(rc::gen::inRange(0, 5000))));
    const auto edits =
        rc::gen::shrink(rc::gen::container<Sequence>(std::size_t(length), one),
                        [](const Sequence& all) { return rc::shrink::removeChunks(all); });
    rc::detail::TestParams params = rc::detail::configuration().testParams;
    params.maxSuccess = count;
    if (!std::getenv("RC_PARAMS")) // others: "seed=7"
        params.seed = 1;
    const auto result =
        rc::detail::checkTestable([&] { test(*edits); }, rc::detail::TestMetadata{}, params);
    std::ostringstream report;
    rc::detail::printResultMessage(result, report);
    EXPECT_TRUE(result.template is<rc::detail::SuccessResult>()) << report.str();
}

TEST(RandomEdits, ComeOutAsTheModelSays)
{
    forRandomEdits(sequences(), 50, [](const Sequence& edits) {
        Session session;
        for (const Edit& edit : edits)
            session.run(edit);
    });
}

// ---- what edits promise -----------------------------------------------------------------------

Kt::Ptr<Cel> cloneOf(const Kt::Ptr<Cel>& track)
{
    return Kt::Ptr<Cel>(new Cel(*track));
}

/// Whether two tracks play the same but in a stretch, and for ramps.
bool differOnlyIn(const Cel& a, const Cel& b, double from = 1, double to = 0)
{
    const auto all = listDifferences(a, b);
    return std::all_of(all.begin(), all.end(), [&](const DifferingStretch& d) {
        return d.field == std::string_view("ramp") || (d.from >= from - 2e-6 && d.to <= to + 2e-6);
    });
}

double lengthOf(const Cel& track)
{
    return track.get_end_time() - track.get_start_time();
}

/// What a track is after it was stored and read.
Kt::Ptr<Cel> storedAndRead(const Cel& track)
{
    StreamFile file;
    PStream stream(file);
    track.STRM_hierarchyPack(stream);
    file.seek(0);
    const Kt::Ptr<Cel> read(new Cel(0, 1.0));
    read->STRM_hierarchyUnpack(stream);
    return read;
}

using Change = void (*)(ChannelEvent& in, ChannelEvent& out);
Kt::Ptr<Cel> changed(const Kt::Ptr<Cel>& track, Change change)
{
    const Kt::Ptr<Cel> result = cloneOf(track);
    for (int i = 0; i + 1 < result->numEvents(); i += 2)
        change(*result->getChanEventPtr(i), *result->getChanEventPtr(i + 1));
    return result;
}

void unsetSpeed(ChannelEvent& in, ChannelEvent& out)
{
    in.velocity(kUnsetVelocity);
    out.velocity(kUnsetVelocity);
}

/// Needless cuts are told without a look at these.
void clearFlags(ChannelEvent& in, ChannelEvent& out)
{
    for (ChannelEvent* e : {&in, &out}) {
        e->setActive(true);
        e->varispeed_display_modifier(0);
    }
}

/// What a text list keeps.
void makePlain(ChannelEvent& in, ChannelEvent& out)
{
    clearFlags(in, out);
    for (ChannelEvent* e : {&in, &out}) {
        e->level_sc(std::round(e->level_sc() * 4) / 4);
        e->velocity(1);
        e->audioRampWord(0);
    }
    out.strip_time(in.strip_time() + (out.edit_time() - in.edit_time()));
}

void makeVersionOne(ChannelEvent& in, ChannelEvent& out)
{
    for (ChannelEvent* e : {&in, &out}) {
        Cookie material = e->strip_name();
        material.setVersion(1);
        e->strip_name(material);
    }
}

/// What a pair record keeps.
void makePair(ChannelEvent& in, ChannelEvent& out)
{
    makeVersionOne(in, out);
    out.level_sc(in.level_sc());
    out.velocity(in.velocity());
    out.varispeed_display_modifier(in.varispeed_display_modifier());
    out.setActive(in.isActive());
    out.strip_name(in.strip_name());
    in.set_trim(trim_none);
    out.set_trim(trim_none);
}

/// The promises that a track breaks; `from` to `to` and `at` lie on its frames.
std::string brokenPromise(const Kt::Ptr<Cel>& track, double from, double to, double at,
                          double anyTime)
{
    const Kt::Ptr<Cel> after = cloneOf(track);
    after->makeCutAt(anyTime);
    if (!differOnlyIn(*track, *after))
        return "a cut changes nothing that plays";
    const Kt::Ptr<Cel> unflagged = changed(track, clearFlags);
    *after = *unflagged;
    after->simplifyBlack(Editable::invalidRange());
    after->simplifyMatchFrameCuts(Editable::invalidRange());
    if (!differOnlyIn(*unflagged, *after) || after->canSimplifyBlack())
        return "what is simplified plays the same";

    const Cel::Range range(from, to);
    *after = *track;
    after->remove(range);
    if (!(std::fabs(lengthOf(*track) - lengthOf(*after) - range.length()) <= 1e-9) &&
        after->numEvents() > 0)
        return "a stretch that is removed makes the track as much shorter";
    after->insert(nullptr, range, from, {});
    if (!differOnlyIn(*track, *after, from, to))
        return "outside of what is removed and filled nothing plays differently";
    *after = *track;
    after->insert(track.get(), range, at, {});
    if (!(std::fabs(lengthOf(*after) - lengthOf(*track) - range.length()) <= 1e-9))
        return "an insertion makes the track as much longer";
    after->remove({at, at + range.length()});
    if (!differOnlyIn(*track, *after))
        return "an insertion that is removed leaves no trace";

    const Kt::Ptr<Cel> forward = track->copy();
    const Kt::Ptr<Cel> backward = changed(forward, unsetSpeed)->reverse();
    if (!playsSame(*forward, *changed(backward, unsetSpeed)->reverse()))
        return "reversed twice, speeds unset, it plays as before";

    const Kt::Ptr<Cel> flat = storedAndRead(*track);
    if (track->numEvents() > 2 && describe(*flat) != describe(*track))
        return "flat records keep all";
    if (track->numEvents() > 2 && describe(*storedAndRead(*changed(track, makeVersionOne))) !=
                                      describe(*changed(track, makePair)))
        return "pair records keep all but what the out point has of its own";
    if (track->numEvents() <= 2 && !playsSame(*flat, *forward))
        return "single events keep what is admitted";
    TextFile file;
    const Kt::Ptr<Cel> plain = changed(track, makePlain);
    plain->writeToED2(file, Kt::Ed2Support::kPal);
    const Kt::Ptr<Cel> listed(new Cel(0, 1.0));
    if (!listed->buildFrom(file, 0) || !playsSame(*plain, *listed))
        return "a text list keeps material, times and levels";
    return "";
}

TEST(RandomEdits, KeepTheirPromises)
{
    forRandomEdits(sequences() / 4, 12, [](const Sequence& edits) {
        Session session;
        for (const Edit& edit : edits)
            session.run(edit);
        session.aim(edits.empty() ? Edit{} : edits.back());
        Kt::Ptr<Cel> track = cloneOf(session.first());
        track->simplifyTidy(Editable::invalidRange());
        track->set_resolution(0.04);
        track->quantiseInPlace();
        track->slide(-track->get_start_time());
        track = track->copy(); // with every section on its line
        const auto hasChanges = [](const ChannelEvent& e) { return e.info() == level_change; };
        if (track->numEvents() == 0 ||
            std::any_of(track->events().begin(), track->events().end(), hasChanges))
            return;
        const auto onTrack = [&](int which) {
            const double t = quantiseTime(session.time(which), 0.04);
            return t >= 0 && t <= track->get_end_time() ? t : 0.0;
        };
        const double a = onTrack(0), b = onTrack(1);
        const std::string broken =
            brokenPromise(track, std::min(a, b), std::max(a, b), onTrack(2), session.time(2));
        if (!broken.empty())
            RC_FAIL(broken + ": " + text(a) + " " + text(b) + " " + text(onTrack(2)) + " after\n" +
                    session.script + describe(*track));
    });
}

} // namespace
} // namespace cel::test

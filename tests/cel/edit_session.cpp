#include "tests/cel/edit_session.h"

#include "cel/audit.h"
#include "cel/inspect.h"

#include <charconv>

namespace cel::test {

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
static const Operation kOperations[] = {
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

const int kOperationCount = int(std::size(kOperations));

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
    throw std::logic_error(what + " after\n" + script + "  " + describe(track()));
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

} // namespace cel::test

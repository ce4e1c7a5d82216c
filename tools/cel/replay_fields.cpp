#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

struct RawField
{
    std::string_view name;
    void (*set)(Session&, ChannelEvent&, const Value&);
};

void setRamp(Session&, ChannelEvent& event, const Value& value)
{
    const Value::Array& ramp = value.array();
    if (ramp.size() != 2)
        throw ScriptError("a ramp is [quarter frames, curve]");
    event.audioRamp_DurationQFrames(ramp[0].word());
    event.audioRamp_CurveType(ramp[1].integer());
}

// clang-format off
constexpr RawField kRawFields[] = {
    {"edit", [](Session&, ChannelEvent& e, const Value& v) { e.edit_time(v.number()); }},
    {"strip", [](Session&, ChannelEvent& e, const Value& v) { e.strip_time(v.number()); }},
    {"cookie", [](Session&, ChannelEvent& e, const Value& v) { e.strip_name(cookieFrom(v)); }},
    {"level", [](Session&, ChannelEvent& e, const Value& v) { e.level_sc(v.real()); }},
    {"info", [](Session&, ChannelEvent& e, const Value& v) { e.info(kindsFrom(v)); }},
    {"velocity", [](Session&, ChannelEvent& e, const Value& v) { e.velocity(v.real()); }},
    {"graph", [](Session& s, ChannelEvent& e, const Value& v) { e.editGraph(s.stamp(v)); }},
    {"modifier", [](Session&, ChannelEvent& e, const Value& v) { e.varispeed_display_modifier(v.integer()); }},
    {"active", [](Session&, ChannelEvent& e, const Value& v) { e.setActive(v.flag()); }},
    {"trim", [](Session&, ChannelEvent& e, const Value& v) { e.set_trim(trimFrom(v)); }},
    {"modification", [](Session&, ChannelEvent& e, const Value& v) { e.set_ChannelEventModification(v.word()); }},
    {"ramp", setRamp},
};
// clang-format on

struct HandleField
{
    std::string_view name;
    void (*set)(Session&, ce_handle&, const Value&);
};

// clang-format off
constexpr HandleField kHandleFields[] = {
    {"edit", [](Session&, ce_handle& h, const Value& v) { h.set_edit_time(v.number()); }},
    {"moveEdit", [](Session&, ce_handle& h, const Value& v) { h.set_edit_time(v.number(), true); }},
    {"strip", [](Session&, ce_handle& h, const Value& v) { h.set_strip_time(v.number()); }},
    {"startStrip", [](Session&, ce_handle& h, const Value& v) { h.set_start_strip_time(v.number()); }},
    {"cookie", [](Session&, ce_handle& h, const Value& v) { h.set_strip_cookie(cookieFrom(v)); }},
    {"level", [](Session&, ce_handle& h, const Value& v) { h.set_strip_level(v.real()); }},
    {"velocity", [](Session&, ce_handle& h, const Value& v) { h.set_strip_velocity(v.real()); }},
    {"modifier", [](Session&, ce_handle& h, const Value& v) { h.set_dmod_code(v.integer()); }},
    {"rampQ", [](Session&, ce_handle& h, const Value& v) { h.set_audioRamp_DurationQFrames(v.word()); }},
    {"rampCurve", [](Session&, ce_handle& h, const Value& v) { h.set_audioRamp_CurveType(v.integer()); }},
    {"active", [](Session&, ce_handle& h, const Value& v) { h.setActive(v.flag()); }},
    {"graph", [](Session& s, ce_handle& h, const Value& v) { h.setEffectGraph(s.stamp(v)); }},
    {"trim", [](Session&, ce_handle& h, const Value& v) { h.select_trim(trimFrom(v)); }},
};
// clang-format on

template <class T>
std::string shown(const T& value)
{
    return Printer::shown(value);
}

std::string shown(ce_info kind)
{
    return std::to_string(static_cast<unsigned>(kind));
}

std::string shown(CookieType type)
{
    return std::to_string(int{type});
}

std::string shown(Aud::GainCurve::eCurveType curve)
{
    return std::to_string(static_cast<int>(curve));
}

/// Only a track is asked whether a section is active at a time; an unbound handle has none, and
/// any track refuses it.
Kt::Ptr<Cel> trackOf(const ce_handle& h)
{
    return h.get_its_cel() ? h.get_its_cel() : Kt::Ptr<Cel>(new Cel(0, 1.0));
}

struct QueryField
{
    std::string_view name;
    std::string (*ofTrack)(const Cel&, const ce_handle&, double);
    std::string (*ofHandle)(const ce_handle&, double);
};

// clang-format off
constexpr QueryField kQueryFields[] = {
    {"info",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_ce_info(h)); },
     [](const ce_handle& h, double) { return shown(h.get_ce_info()); }},
    {"edit",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_edit_time(h)); },
     [](const ce_handle& h, double) { return shown(h.get_edit_time()); }},
    {"strip",
     [](const Cel& c, const ce_handle& h, double t) { return shown(c.get_strip_time(h, t)); },
     [](const ce_handle& h, double t) { return shown(h.get_strip_time(t)); }},
    {"cookie",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_strip_cookie(h)); },
     [](const ce_handle& h, double) { return shown(h.get_strip_cookie()); }},
    {"type",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_cookie_type(h)); },
     [](const ce_handle& h, double) { return shown(h.get_cookie_type()); }},
    {"level",
     [](const Cel& c, const ce_handle& h, double t) { return shown(c.get_strip_level(h, t)); },
     [](const ce_handle& h, double t) { return shown(h.get_strip_level(t)); }},
    {"velocity",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_strip_velocity(h)); },
     [](const ce_handle& h, double) { return shown(h.get_strip_velocity()); }},
    {"modifier",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.get_dmod_code(h)); },
     [](const ce_handle& h, double) { return shown(h.get_dmod_code()); }},
    {"rampQ",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.audioRamp_DurationQFrames(h)); },
     [](const ce_handle& h, double) { return shown(h.audioRamp_DurationQFrames()); }},
    {"rampCurve",
     [](const Cel& c, const ce_handle& h, double) { return shown(c.audioRamp_CurveType(h)); },
     [](const ce_handle& h, double) { return shown(h.audioRamp_CurveType()); }},
    {"onTime",
     [](const Cel& c, const ce_handle& h, double t) { return shown(c.on_time(h, t)); },
     [](const ce_handle& h, double t) { return shown(h.on_time(t)); }},
    {"isActive",
     [](const Cel& c, const ce_handle& h, double t) { return shown(c.isActive(h, t)); },
     [](const ce_handle& h, double t) { return shown(trackOf(h)->isActive(h, t)); }},
    {"isActiveInclusive",
     [](const Cel& c, const ce_handle& h, double t) { return shown(c.isActiveInclusive(h, t)); },
     [](const ce_handle& h, double t) { return shown(trackOf(h)->isActiveInclusive(h, t)); }},
    {"trimMark",
     [](const Cel&, const ce_handle& h, double) { return shown(h.get_trim_mark()); },
     [](const ce_handle& h, double) { return shown(h.get_trim_mark()); }},
};
// clang-format on

template <class Fields>
const auto& fieldNamed(const Fields& fields, std::string_view name)
{
    const auto* field = rowNamed(fields, name);
    if (!field)
        throw ScriptError("unknown field \"" + std::string(name) + '"');
    return *field;
}

} // namespace

Cookie cookieFrom(const Value& value)
{
    const Value::Array& parts = value.array();
    if (parts.size() != 4 && parts.size() != 5)
        throw ScriptError("material is [type, int1, int2, int3] or with the version behind");
    const auto number = [&](std::size_t i) { return static_cast<int>(parts[i].word()); };
    Cookie material(parts[0].byte(), number(1), number(2), number(3));
    if (parts.size() == 5)
        material.setVersion(parts[4].byte());
    return material;
}

ce_info kindsFrom(const Value& value)
{
    return static_cast<ce_info>(value.word());
}

trim_type trimFrom(const Value& value)
{
    return static_cast<trim_type>(value.word());
}

Cel::Range rangeFrom(const Value& start, const Value& end)
{
    return Cel::Range(start.number(), end.number());
}

void setField(Session& session, ChannelEvent& event, std::string_view field, const Value& value)
{
    fieldNamed(kRawFields, field).set(session, event, value);
}

ChannelEvent eventFrom(Session& session, const Value& object)
{
    ChannelEvent event;
    for (const Value::Member& member : object.object())
        setField(session, event, member.key, member.value);
    return event;
}

void setThroughHandle(Session& session, ce_handle& h, std::string_view field, const Value& value)
{
    fieldNamed(kHandleFields, field).set(session, h, value);
}

std::string getFromTrack(std::string_view field, const Cel& track, const ce_handle& h, double t)
{
    return fieldNamed(kQueryFields, field).ofTrack(track, h, t);
}

std::string getThroughHandle(std::string_view field, const ce_handle& h, double t)
{
    return fieldNamed(kQueryFields, field).ofHandle(h, t);
}

double timeOrOwn(Arguments arguments, std::size_t index)
{
    return index < arguments.size() ? arguments[index].number() : kUnsetTime;
}

} // namespace cel::replay

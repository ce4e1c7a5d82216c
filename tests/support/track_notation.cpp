#include "tests/support/track_notation.h"

#include "cel/inspect.h"

#include <charconv>
#include <cmath>
#include <stdexcept>

namespace cel::test {

namespace {

constexpr std::string_view kLetters = ".,$&?ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kKindSigns = "<=>|";
constexpr ce_info kKinds[] = {in_point, level_change, out_point, undefined_event};

[[noreturn]] void refuse(std::string_view text)
{
    throw std::invalid_argument("no track notation: " + std::string(text));
}

/// Takes a number, or '?' for an unset one, off the front of a text.
double takeNumber(std::string_view& text)
{
    if (text.starts_with('?')) {
        text.remove_prefix(1);
        return kUnsetTime;
    }
    double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc())
        refuse(text);
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    return value;
}

double number(std::string_view text)
{
    const double value = takeNumber(text);
    return text.empty() ? value : (refuse(text), 0.0);
}

std::string textOf(double value)
{
    if (value == kUnsetTime)
        return "?";
    char text[64];
    if (!(std::fabs(value) < 1e9))
        return {text,
                std::to_chars(text, std::end(text), value, std::chars_format::general, 9).ptr};
    std::string result(text,
                       std::to_chars(text, std::end(text), value, std::chars_format::fixed, 6).ptr);
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.')
        result.pop_back();
    return result == "-0" ? "0" : result;
}

IdStamp idOf(std::string_view text)
{
    return text.find('-') == text.npos ? IdStamp(static_cast<unsigned>(number(text)), 0, 0)
                                       : IdStamp(LightweightString<char>(text));
}

/// Nothing for an identifier that is fresh.
std::string textOf(const IdStamp& id)
{
    if ((id.word(0) | id.word(1) | (id.word(2) & 0x3FFFFFFF)) > 0xFF)
        return "";
    return (id.word(1) | id.word(2)) == 0 ? std::to_string(id.word(0)) : id.asString().c_str();
}

/// What a suffix stands for. Of one value alone the out point gets the same, or what is plain.
struct Field
{
    char sign;
    const char* plain;
    bool bothAlike;
    void (*set)(ChannelEvent&, std::string_view);
    std::string (*get)(const ChannelEvent&);
};
using Event = ChannelEvent;
using Text = std::string_view;
// clang-format off
const Field kFields[] = {
    {'@', "0", false, [](Event& e, Text t) { e.strip_time(number(t)); },                      [](const Event& e) { return textOf(e.strip_time()); }},
    {'*', "1", true,  [](Event& e, Text t) { e.velocity(t == "?" ? kUnsetVelocity : float(number(t))); },
                      [](const Event& e) { return e.velocity() == kUnsetVelocity ? "?" : textOf(e.velocity()); }},
    {':', "1", true,  [](Event& e, Text t) { e.level_sc(float(number(t))); },                 [](const Event& e) { return textOf(e.level_sc()); }},
    {'~', "0", true,  [](Event& e, Text t) { e.audioRamp_DurationQFrames(unsigned(number(t))); }, [](const Event& e) { return textOf(e.audioRamp_DurationQFrames()); }},
    {'/', "0", true,  [](Event& e, Text t) { e.audioRamp_CurveType(int(number(t))); },        [](const Event& e) { return textOf(e.audioRamp_CurveType()); }},
    {'%', "0", true,  [](Event& e, Text t) { e.varispeed_display_modifier(int(number(t))); }, [](const Event& e) { return textOf(e.varispeed_display_modifier()); }},
    {'!', "0", true,  [](Event& e, Text t) { e.setActive(!t.empty() && number(t) == 0); },                  [](const Event& e) { return textOf(e.isActive() ? 0 : 1); }},
    {'^', "0", true,  [](Event& e, Text t) { e.set_trim(trim_type(unsigned(number(t)))); },   [](const Event& e) { return textOf(e.get_trim_type()); }},
    {'=', "0", true,  [](Event& e, Text t) { e.set_ChannelEventModification(unsigned(number(t))); }, [](const Event& e) { return textOf(e.get_ChannelEventModification()); }},
    {'#', "",  false, [](Event& e, Text t) { e.editGraph(idOf(t)); },                         [](const Event& e) { return textOf(e.editGraph()); }},
};
// clang-format on
constexpr std::string_view kSigns = "@*:~/%!^=#";

double stripOnLine(const Event& in, double t)
{
    const double speed = in.velocity() == kUnsetVelocity ? 1.0 : double(in.velocity());
    return in.strip_time() + speed * (t - in.edit_time());
}

/// Reads the suffixes of a word into its one event, or into the two ends of its section.
void readSuffixes(std::string_view text, std::span<Event> ends)
{
    while (!text.empty()) {
        const std::size_t place = kSigns.find(text.front());
        if (place == kSigns.npos)
            refuse(text);
        const Field& field = kFields[place];
        const std::string_view values = text.substr(1, text.find_first_of(kSigns, 1) - 1);
        text.remove_prefix(1 + values.size());
        const std::size_t split = values.find('>');
        field.set(ends.front(), values.substr(0, split));
        if (split != values.npos)
            field.set(ends.back(), values.substr(split + 1));
        else if (field.bothAlike)
            field.set(ends.back(), values);
    }
}

void readWord(std::string_view word, std::vector<Event>& events)
{
    Cookie cookie = material(word.front());
    word.remove_prefix(1);
    if (word.starts_with('\'')) {
        cookie.setVersion(1);
        word.remove_prefix(1);
    }
    const std::size_t kind = word.empty() ? kKindSigns.npos : kKindSigns.find(word.front());
    const bool alone = kind != kKindSigns.npos;
    word.remove_prefix(alone);
    const double from = takeNumber(word);
    if (!alone && !word.starts_with('-'))
        refuse(word);
    word.remove_prefix(!alone);
    const double to = alone ? from : takeNumber(word);

    Event ends[] = {{from, 0.0, cookie, 1.0F, alone ? kKinds[kind] : in_point, IdStamp(0, 0, 0), 0},
                    {to, std::nan(""), cookie, 1.0F, out_point, IdStamp(0, 0, 0), 0}};
    for (Event& end : ends)
        end.velocity(1.0F);
    readSuffixes(word, std::span(ends, alone ? 1 : 2));
    if (std::isnan(ends[1].strip_time()))
        ends[1].strip_time(stripOnLine(ends[0], to));
    events.insert(events.end(), ends, ends + (alone ? 1 : 2));
}

std::string letterOf(Cookie cookie)
{
    const std::string version = cookie.version() == 1 ? "'" : "";
    cookie.setVersion(0);
    for (const char letter : kLetters)
        if (material(letter) == cookie)
            return letter + version;
    return "(" + std::string(cookie.asString(true).view()) + ")";
}

std::string suffixes(const Event& in, const Event& out)
{
    std::string text;
    for (const Field& field : kFields) {
        const std::string first = field.get(in);
        const std::string last = field.get(out);
        const bool strip = field.sign == '@';
        const std::string expected = strip             ? textOf(stripOnLine(in, out.edit_time()))
                                     : field.bothAlike ? first
                                                       : field.plain;
        const bool lastCounts = &in != &out && last != expected;
        if (first != field.plain || lastCounts)
            text += field.sign + first + (lastCounts ? ">" + last : "");
    }
    return text;
}

std::string kindSign(ce_info kind)
{
    for (std::size_t i = 0; i < std::size(kKinds); ++i)
        if (kKinds[i] == kind)
            return std::string(1, kKindSigns[i]);
    return "(kind " + std::to_string(kind) + ")";
}

} // namespace

Cookie material(char letter)
{
    switch (letter) {
    case '.':
        return video_black;
    case ',':
        return audio_black;
    case '$':
        return Cookie(kEffectCookie, Cookie::kEffect, 0, Cookie::kSynthetic);
    case '&':
        return Cookie(kSubtitleCookie, 1, 0, 1);
    case '?':
        return Cookie();
    default:
        if (kLetters.find(letter) == kLetters.npos)
            refuse(std::string_view(&letter, 1));
        return Cookie(letter <= 'Z' ? kVideoCookie : kAudioCookie, letter, 2, 9);
    }
}

std::vector<Event> events(std::string_view notation)
{
    std::vector<Event> result;
    while (!notation.empty()) {
        const std::string_view word = notation.substr(0, notation.find(' '));
        if (!word.empty())
            readWord(word, result);
        notation.remove_prefix(std::min(notation.size(), word.size() + 1));
    }
    return result;
}

void fill(Cel& track, std::string_view notation)
{
    // The track takes well-formed place holders of the same material, which then become the
    // events as written: so it can hold what it would refuse, with its counters right.
    const std::vector<Event> wanted = events(notation);
    const int before = track.numEvents();
    const double t = before > 0 && isRealTime(track.get_end_time()) ? track.get_end_time() : 0.0;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const bool spare = wanted.size() % 2 == 1 && i >= 1; // a level change in the first section
        const ce_info side = (i + spare) % 2 == 0 ? in_point : out_point;
        const ce_info kind = spare && i == 1 ? level_change : side;
        if (!track.addEvent({t, 0.0, wanted[i].strip_name(), 1.0F, kind, IdStamp(0, 0, 0), 0}))
            throw std::invalid_argument("the track has an open section");
    }
    std::copy(wanted.begin(), wanted.end(), track.getChanEventPtr(before));
    track.make_clean();
}

Kt::Ptr<Cel> track(std::string_view notation, double resolution)
{
    Kt::Ptr<Cel> result(new Cel(0, resolution));
    fill(*result, notation);
    return result;
}

std::string describe(std::span<const Event> events)
{
    std::string text;
    while (!events.empty()) {
        const Event& first = events[0];
        const bool section = events.size() >= 2 && first.info() == in_point &&
                             events[1].info() == out_point &&
                             first.strip_name() == events[1].strip_name();
        const Event& last = events[section ? 1 : 0];
        text += (text.empty() ? "" : " ") + letterOf(first.strip_name());
        text += section ? textOf(first.edit_time()) + "-" + textOf(last.edit_time())
                        : kindSign(first.info()) + textOf(first.edit_time());
        text += suffixes(first, last);
        events = events.subspan(section ? 2 : 1);
    }
    return text;
}

std::string counters(const Cel& track)
{
    const CelState state = inspect(track);
    return std::to_string(state.eventCount) + " material, " +
           std::to_string(state.blackEventCount) + " black, open " +
           std::to_string(state.pendingInIndex);
}

} // namespace cel::test

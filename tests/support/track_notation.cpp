#include "tests/support/track_notation.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace cel::test {

namespace {

/// Material that is no letter.
struct Special
{
    char letter;
    Cookie material;
};
const Special kSpecials[] = {
    {'.', video_black},
    {',', audio_black},
    {'$', Cookie(kEffectCookie, Cookie::kEffect, 0, Cookie::kSynthetic)},
    {'&', Cookie(kSubtitleCookie, 1, 0, 1)},
    {'?', Cookie()},
};

constexpr std::string_view kKindSigns = "<=>|";
constexpr ce_info kKinds[] = {in_point, level_change, out_point, undefined_event};

/// What a suffix sets: of both ends, or first of the in point alone.
struct Field
{
    char sign;
    bool bothByDefault;
    void (*set)(ChannelEvent&, double);
    double (*get)(const ChannelEvent&);
    double plain;
};

// clang-format off
const Field kFields[] = {
    {'*', true, [](ChannelEvent& e, double v) { e.velocity(v == kUnsetTime ? kUnsetVelocity : static_cast<float>(v)); },
        [](const ChannelEvent& e) { return e.velocity() == kUnsetVelocity ? kUnsetTime : double(e.velocity()); }, 1},
    {':', true, [](ChannelEvent& e, double v) { e.level_sc(static_cast<float>(v)); },
        [](const ChannelEvent& e) { return double(e.level_sc()); }, 1},
    {'~', true, [](ChannelEvent& e, double v) { e.audioRamp_DurationQFrames(static_cast<unsigned>(v)); },
        [](const ChannelEvent& e) { return double(e.audioRamp_DurationQFrames()); }, 0},
    {'/', true, [](ChannelEvent& e, double v) { e.audioRamp_CurveType(static_cast<int>(v)); },
        [](const ChannelEvent& e) { return double(e.audioRamp_CurveType()); }, 0},
    {'%', true, [](ChannelEvent& e, double v) { e.varispeed_display_modifier(static_cast<int>(v)); },
        [](const ChannelEvent& e) { return double(e.varispeed_display_modifier()); }, 0},
    {'^', true, [](ChannelEvent& e, double v) { e.set_trim(static_cast<trim_type>(v)); },
        [](const ChannelEvent& e) { return double(e.get_trim_type()); }, 0},
    {'#', false, [](ChannelEvent& e, double v) { e.editGraph(IdStamp(static_cast<unsigned>(v), 0, 0)); },
        [](const ChannelEvent& e) { return e.editGraph().word(1) == 0 && e.editGraph().word(2) == 0 ? double(e.editGraph().word(0)) : -1.0; }, -1},
};
// clang-format on

/// One word of a notation, read from the front.
class Reader
{
public:
    explicit Reader(std::string_view word)
        : word_(word)
        , rest_(word)
    {
    }

    bool done() const { return rest_.empty(); }
    char next() const { return rest_.empty() ? '\0' : rest_.front(); }

    char take()
    {
        if (rest_.empty())
            fail();
        const char character = rest_.front();
        rest_.remove_prefix(1);
        return character;
    }
    bool skip(char expected)
    {
        if (next() != expected)
            return false;
        take();
        return true;
    }

    double number()
    {
        if (skip('?'))
            return kUnsetTime;
        double value = 0;
        const auto read = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (read.ec != std::errc())
            fail();
        rest_.remove_prefix(static_cast<std::size_t>(read.ptr - rest_.data()));
        return value;
    }

    [[noreturn]] void fail() const
    {
        throw std::invalid_argument("no track notation: " + std::string(word_));
    }

private:
    std::string_view word_;
    std::string_view rest_;
};

double velocityOf(const ChannelEvent& e)
{
    return e.velocity() == kUnsetVelocity ? 1.0 : double(e.velocity());
}

double stripOnLine(const ChannelEvent& in, double t)
{
    return in.strip_time() + velocityOf(in) * (t - in.edit_time());
}

/// Reads one suffix into the events of a word: one event, or the two ends of a section.
/// @param outStrip  receives a strip time given for the out point.
void readSuffix(Reader& reader, std::span<ChannelEvent> ends, double& outStrip)
{
    ChannelEvent& in = ends.front();
    ChannelEvent& out = ends.back();
    const char sign = reader.take();
    if (sign == '!') {
        in.setActive(false);
        out.setActive(reader.skip('>'));
        return;
    }
    if (sign == '>' && reader.skip('!')) {
        out.setActive(false);
        return;
    }
    if (sign == '@') {
        in.strip_time(reader.number());
        if (reader.skip('>'))
            outStrip = reader.number();
        return;
    }
    for (const Field& field : kFields) {
        if (field.sign != sign)
            continue;
        const double value = reader.number();
        field.set(in, value);
        if (reader.next() == '>' && ends.size() == 2) {
            reader.take();
            field.set(out, reader.number());
        } else if (field.bothByDefault) {
            field.set(out, value);
        }
        return;
    }
    reader.fail();
}

void readWord(std::string_view word, std::vector<ChannelEvent>& events)
{
    Reader reader(word);
    Cookie cookie = material(reader.take());
    if (reader.skip('\''))
        cookie.setVersion(1);

    const std::size_t kind = kKindSigns.find(reader.next());
    const bool alone = kind != std::string_view::npos;
    if (alone)
        reader.take();
    const double from = reader.number();
    if (!alone && !reader.skip('-'))
        reader.fail();
    const double to = alone ? from : reader.number();

    const auto at = [&](double t, ce_info info) {
        ChannelEvent event(t, 0.0, cookie, 1.0F, info, IdStamp(0, 0, 0), 0);
        event.velocity(1.0F);
        return event;
    };
    ChannelEvent ends[] = {at(from, alone ? kKinds[kind] : in_point), at(to, out_point)};
    const std::span made(ends, alone ? 1 : 2);
    double outStrip = std::nan("");
    while (!reader.done())
        readSuffix(reader, made, outStrip);
    if (!alone)
        ends[1].strip_time(std::isnan(outStrip) ? stripOnLine(ends[0], to) : outStrip);
    events.insert(events.end(), made.begin(), made.end());
}

std::string number(double value)
{
    if (value == kUnsetTime)
        return "?";
    char text[64];
    const bool ordinary = std::fabs(value) < 1e9;
    const auto end = std::to_chars(text, std::end(text), value,
                                   ordinary ? std::chars_format::fixed : std::chars_format::general,
                                   ordinary ? 6 : 9);
    std::string result(text, end.ptr);
    if (ordinary) {
        result.erase(result.find_last_not_of('0') + 1);
        if (result.back() == '.')
            result.pop_back();
    }
    return result == "-0" ? "0" : result;
}

std::string letterOf(Cookie cookie)
{
    const std::string version = cookie.version() == 1 ? "'" : "";
    cookie.setVersion(0);
    for (char letter = '!'; letter <= 'z'; ++letter) {
        const bool used = std::isalpha(static_cast<unsigned char>(letter)) ||
                          std::string_view(".,$&?").find(letter) != std::string_view::npos;
        if (used && material(letter) == cookie)
            return letter + version;
    }
    return "(" + std::string(cookie.asString(true).view()) + ")";
}

/// The suffixes of a section's two ends, or of one event (both the same then).
std::string suffixes(const ChannelEvent& in, const ChannelEvent& out)
{
    const bool alone = &in == &out;
    std::string text;
    const double line = stripOnLine(in, out.edit_time());
    const bool offLine = !alone && number(out.strip_time()) != number(line);
    if (number(in.strip_time()) != "0" || offLine)
        text += "@" + number(in.strip_time());
    if (offLine)
        text += ">" + number(out.strip_time());
    for (const Field& field : kFields) {
        const std::string first = number(field.get(in));
        const std::string last = number(field.get(out));
        const std::string plain = number(field.plain);
        const bool lastCounts = !alone && last != (field.bothByDefault ? first : plain);
        if (first != plain || lastCounts)
            text += field.sign + first + (lastCounts ? ">" + last : "");
    }
    if (!in.isActive())
        text += alone || !out.isActive() ? "!" : "!>";
    else if (!out.isActive())
        text += ">!";
    return text;
}

bool isSection(std::span<const ChannelEvent> pair)
{
    return pair.size() >= 2 && pair[0].info() == in_point && pair[1].info() == out_point &&
           pair[0].strip_name() == pair[1].strip_name();
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
    for (const Special& special : kSpecials)
        if (special.letter == letter)
            return special.material;
    if (letter >= 'A' && letter <= 'Z')
        return Cookie(kVideoCookie, letter, 0, 1);
    if (letter >= 'a' && letter <= 'z')
        return Cookie(kAudioCookie, letter, 0, 1);
    throw std::invalid_argument(std::string("no material: ") + letter);
}

std::vector<ChannelEvent> events(std::string_view notation)
{
    std::vector<ChannelEvent> result;
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
    const std::vector<ChannelEvent> wanted = events(notation);
    const int before = track.numEvents();
    const double end = isRealTime(track.get_end_time()) && before > 0 ? track.get_end_time() : 0.0;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const bool spare = wanted.size() % 2 == 1 && i >= 1; // a level change in the first section
        const ce_info kind = spare && i == 1        ? level_change
                             : (i + spare) % 2 == 0 ? in_point
                                                    : out_point;
        if (!track.addEvent({end, 0.0, wanted[i].strip_name(), 1.0F, kind, IdStamp(0, 0, 0), 0}))
            throw std::invalid_argument("the track has an open section");
    }
    for (std::size_t i = 0; i < wanted.size(); ++i)
        *track.getChanEventPtr(before + static_cast<int>(i)) = wanted[i];
    track.make_clean();
}

Kt::Ptr<Cel> track(std::string_view notation, double resolution)
{
    Kt::Ptr<Cel> result(new Cel(0, resolution));
    fill(*result, notation);
    return result;
}

std::string describe(std::span<const ChannelEvent> events)
{
    std::string text;
    while (!events.empty()) {
        const bool section = isSection(events);
        const ChannelEvent& first = events[0];
        const ChannelEvent& last = events[section ? 1 : 0];
        text += (text.empty() ? "" : " ") + letterOf(first.strip_name());
        if (section)
            text += number(first.edit_time()) + "-" + number(last.edit_time());
        else
            text += kindSign(first.info()) + number(first.edit_time());
        text += suffixes(first, last);
        events = events.subspan(section ? 2 : 1);
    }
    return text;
}

std::string describe(const Cel& track)
{
    return describe(track.events());
}

} // namespace cel::test

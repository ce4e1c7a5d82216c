#include "interchange/edl_lines.h"

#include "interchange/text_lines.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <vector>

namespace cel::edl {

namespace {

/// Speeds beyond this are no speeds but damage.
constexpr double kFastestSpeed = 100'000.0;

/// A transition lasts at most some minutes; longer numbers are no durations.
constexpr int kLongestTransition = 99'999;

char capital(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isNumber(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The words after the channels: kind of edit and, for some kinds, a duration.
bool parseEdit(const std::vector<std::string_view>& words, std::size_t first, std::size_t end,
               EventLine& event)
{
    if (first == end)
        return false;
    event.edit = words[first];
    const char kind = capital(event.edit[0]);
    std::string_view variant = event.edit.substr(1);
    ++first;
    switch (kind) {
    case 'C':
        event.transition = Transition::cut;
        break;
    case 'D':
        event.transition = Transition::dissolve;
        break;
    case 'W':
        event.transition = Transition::wipe;
        break;
    case 'K':
        if (variant.empty() && first < end && !isNumber(words[first]))
            variant = words[first++];
        event.transition = variant.empty()              ? Transition::key
                           : capital(variant[0]) == 'B' ? Transition::keyBackground
                           : capital(variant[0]) == 'O' ? Transition::keyOut
                                                        : Transition::key;
        break;
    default:
        return false;
    }
    if ((kind == 'C' || kind == 'D') && !variant.empty())
        return false;
    if (first == end)
        return true;
    if (!isNumber(words[first]) || first + 1 < end)
        return false;
    const std::string_view number = words[first];
    const auto read =
        std::from_chars(number.data(), number.data() + number.size(), event.transitionFrames);
    return read.ec == std::errc() && event.transitionFrames <= kLongestTransition;
}

bool isTimecode(std::string_view word)
{
    return splitTimecode(word).has_value();
}

/// Takes the number after a channel letter; without one it is the first channel of its kind.
std::optional<int> takeChannelNumber(std::string_view& text)
{
    int number = 1;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (fault == std::errc::result_out_of_range)
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number >= 1 && number <= kMostChannels ? std::optional(number) : std::nullopt;
}

std::uint64_t bit(int channel)
{
    return std::uint64_t(1) << (channel - 1);
}

std::string_view restAfter(std::string_view line, std::string_view word)
{
    return trimmed(line.substr(static_cast<std::size_t>(word.data() - line.data()) + word.size()));
}

} // namespace

int ChannelSet::count() const
{
    return std::popcount(picture) + std::popcount(sound);
}

const char* nameOf(Transition transition)
{
    switch (transition) {
    case Transition::cut:
        return "cut";
    case Transition::dissolve:
        return "dissolve";
    case Transition::wipe:
        return "wipe";
    default:
        return "key";
    }
}

std::optional<ChannelSet> parseChannels(std::string_view text)
{
    ChannelSet channels;
    std::string_view rest = text;
    if (takePrefix(rest, "NONE") && rest.empty())
        return channels;
    rest = text;
    while (!rest.empty()) {
        const char letter = capital(rest[0]);
        const bool doubled = letter == 'A' && rest.size() > 1 && capital(rest[1]) == 'A' &&
                             (rest.size() == 2 || !isDigit(rest[2]));
        rest.remove_prefix(doubled ? 2 : 1);
        if (doubled) {
            channels.sound |= bit(1) | bit(2);
        } else if (letter == 'B') {
            channels.picture |= bit(1);
            channels.sound |= bit(1);
        } else if (letter == 'V' || letter == 'A') {
            const auto number = takeChannelNumber(rest);
            if (!number)
                return std::nullopt;
            (letter == 'V' ? channels.picture : channels.sound) |= bit(*number);
        } else if (letter != '/') {
            return std::nullopt;
        }
    }
    return channels.empty() ? std::nullopt : std::optional(channels);
}

std::optional<EventLine> parseEventLine(std::string_view line, std::string& fault)
{
    constexpr std::size_t kTimecodes = 4;
    constexpr std::size_t kFirstEditWord = 3;
    const auto words = wordsOf(line);
    std::size_t first = kFirstEditWord;
    while (first < words.size() && !isTimecode(words[first]))
        ++first;
    const std::size_t end = first + kTimecodes;
    for (std::size_t i = first; i < end; ++i)
        if (i >= words.size() || !isTimecode(words[i])) {
            fault = "it has no four timecodes";
            return std::nullopt;
        }

    EventLine event;
    event.number = words[0];
    event.reel = words[1];
    const auto channels = parseChannels(words[2]);
    if (!channels) {
        fault = "nothing is known of the channels " + quoted(words[2]);
        return std::nullopt;
    }
    event.channels = *channels;
    if (!parseEdit(words, kFirstEditWord, first, event)) {
        fault = "nothing is known of its kind of edit";
        return std::nullopt;
    }
    event.sourceIn = *splitTimecode(words[first]);
    event.sourceOut = *splitTimecode(words[first + 1]);
    event.recordIn = *splitTimecode(words[first + 2]);
    event.recordOut = *splitTimecode(words[first + 3]);
    event.rest = restAfter(line, words[end - 1]);
    return event;
}

std::optional<SpeedLine> parseSpeedLine(std::string_view line)
{
    const auto words = wordsOf(line);
    if (words.size() < 4 || !isTimecode(words[3]))
        return std::nullopt;
    SpeedLine speed;
    speed.reel = words[1];
    std::string_view number = words[2];
    if (number.starts_with('+'))
        number.remove_prefix(1);
    const char* const numberEnd = number.data() + number.size();
    const auto read = std::from_chars(number.data(), numberEnd, speed.framesPerSecond);
    if (read.ec != std::errc() || read.ptr != numberEnd ||
        !(std::fabs(speed.framesPerSecond) <= kFastestSpeed))
        return std::nullopt;
    speed.sourceIn = *splitTimecode(words[3]);
    speed.rest = restAfter(line, words[3]);
    return speed;
}

} // namespace cel::edl

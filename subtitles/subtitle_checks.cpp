#include "subtitles/subtitle_checks.h"

#include "platform/foundation/compare.h"
#include "subtitles/SubtitleCel.h"
#include "subtitles/detail/texts_in_order.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

namespace cel {

namespace {

using Element = SubtitleTrack::Element;

constexpr const char* kOverlap = "overlap";
constexpr const char* kGap = "short-gap";
constexpr const char* kTooShort = "too-short";
constexpr const char* kTooLong = "too-long";
constexpr const char* kReadingSpeed = "reading-speed";
constexpr const char* kLineLength = "line-length";
constexpr const char* kLines = "line-count";
constexpr const char* kNoText = "no-text";

/// A subtitle to be checked.
struct Cue
{
    const Element* element;
    double start;
    double end;
    int index;
};

bool isOneOf(std::wstring_view name, std::initializer_list<std::wstring_view> names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Length of the tag that the text begins with; 0 when it begins with none.
std::size_t tagLength(std::wstring_view text)
{
    constexpr std::size_t kLongestTag = 64;
    const std::size_t end = text.substr(0, kLongestTag).find(L'>');
    if (text.empty() || text.front() != L'<' || end == text.npos)
        return 0;
    std::wstring_view name = text.substr(1, end - 1);
    if (name.starts_with(L'/'))
        name.remove_prefix(1);
    name = name.substr(0, name.find(L' '));
    return isOneOf(name, {L"b", L"B", L"i", L"I", L"u", L"U", L"font", L"FONT"}) ? end + 1 : 0;
}

/// Whether a character belongs to the one before it: accents, joiners, marks of direction, and the
/// second half of a pair of surrogates.
bool addsToTheOneBefore(wchar_t character)
{
    const auto code = static_cast<std::uint32_t>(character);
    const auto within = [code](std::uint32_t first, std::uint32_t last) {
        return code >= first && code <= last;
    };
    return within(0x300, 0x36F) || within(0x200B, 0x200F) || within(0x202A, 0x202E) ||
           within(0x2066, 0x2069) || within(0x20D0, 0x20FF) || within(0xFE00, 0xFE0F) ||
           within(0xDC00, 0xDFFF) || code == 0xFEFF;
}

std::size_t charactersOf(std::wstring_view text)
{
    std::size_t count = 0;
    while (!text.empty()) {
        const std::size_t tag = tagLength(text);
        if (tag == 0 && !addsToTheOneBefore(text.front()))
            ++count;
        text.remove_prefix(std::max<std::size_t>(tag, 1));
    }
    return count;
}

/// A number as a sentence shows it: at most two decimals.
std::string shown(double number)
{
    char digits[64];
    const auto [end, error] =
        std::to_chars(std::begin(digits), std::end(digits), std::round(number * 100.0) / 100.0,
                      std::chars_format::general, 12);
    return error == std::errc() ? std::string(digits, end) : "?";
}

/// "2 frames", "1 frame"; of files that count milliseconds "80 ms".
std::string frames(double number, double frame)
{
    constexpr double kMillisecond = 0.001;
    const std::string text = shown(number);
    if (frame == kMillisecond)
        return text + " ms";
    return text + (text == "1" ? " frame" : " frames");
}

/// Checks one subtitle after the other.
class Checker
{
public:
    Checker(double frame, const SubtitleLimits& limits)
        : frame_(frame)
        , limits_(limits)
    {
    }

    void check(const Cue& cue)
    {
        checkPlace(cue);
        checkDuration(cue);
        checkText(cue);
        if (!any_ || !(cue.end < reached_))
            reached_ = cue.end;
        any_ = true;
    }

    std::vector<Finding> findings() { return std::move(findings_); }

private:
    void checkPlace(const Cue& cue)
    {
        if (!any_)
            return;
        const double gap = cue.start - reached_;
        const double least = limits_.gapFrames * frame_;
        if (gap < -kTimeEpsilon)
            report(kOverlap, cue, Severity::fault,
                   "it begins " + shown(-gap) + " s before the one in front of it ends");
        else if (gap < least - kTimeEpsilon)
            report(kGap, cue, Severity::warning,
                   "it follows the one in front of it after " + frames(gap / frame_, frame_) +
                       "; the least is " + frames(limits_.gapFrames, frame_));
    }

    void checkDuration(const Cue& cue)
    {
        const double duration = cue.end - cue.start;
        if (!(duration > kTimeEpsilon))
            report(kTooShort, cue, Severity::fault, "it is shown for no time at all");
        else if (duration < limits_.shortest - kTimeEpsilon)
            report(kTooShort, cue, Severity::warning,
                   "it is shown for " + shown(duration) + " s; the least is " +
                       shown(limits_.shortest) + " s");
        if (limits_.longest > 0.0 && duration > limits_.longest + kTimeEpsilon)
            report(kTooLong, cue, Severity::warning,
                   "it is shown for " + shown(duration) + " s; the most is " +
                       shown(limits_.longest) + " s");
    }

    void checkText(const Cue& cue)
    {
        std::size_t characters = 0;
        std::size_t lines = 0;
        for (const auto& line : cue.element->lines) {
            const std::size_t length = charactersOf(line.view());
            characters += length;
            lines += length > 0 ? 1 : 0;
            if (limits_.charactersPerLine > 0 && length > limits_.charactersPerLine)
                report(kLineLength, cue, Severity::warning,
                       "a line has " + std::to_string(length) + " characters; the most is " +
                           std::to_string(limits_.charactersPerLine));
        }
        if (characters == 0)
            report(kNoText, cue, Severity::warning, "it says nothing");
        if (limits_.lines > 0 && lines > limits_.lines)
            report(kLines, cue, Severity::warning,
                   "it has " + std::to_string(lines) + " lines; the most is " +
                       std::to_string(limits_.lines));
        const double duration = cue.end - cue.start;
        const double speed = static_cast<double>(characters) / duration;
        if (limits_.charactersPerSecond > 0.0 && duration > kTimeEpsilon &&
            speed > limits_.charactersPerSecond + kTimeEpsilon)
            report(kReadingSpeed, cue, Severity::warning,
                   shown(speed) + " characters a second are to be read; the most is " +
                       shown(limits_.charactersPerSecond));
    }

    void report(const char* name, const Cue& cue, Severity severity, std::string text)
    {
        findings_.push_back({name, cue.index, cue.start, severity, std::move(text)});
    }

    double frame_;
    const SubtitleLimits& limits_;
    std::vector<Finding> findings_;
    double reached_ = 0.0; ///< the latest end so far
    bool any_ = false;
};

/// Hands the subtitles of a list on, neighbours with the same words as one.
class Joiner
{
public:
    explicit Joiner(Checker& checker)
        : checker_(checker)
    {
    }

    void add(const Cue& cue)
    {
        const bool goesOn =
            open_ && valEqualsVal(last_.end, cue.start) && *last_.element == *cue.element;
        if (goesOn) {
            last_.end = cue.end;
            return;
        }
        finish();
        last_ = cue;
        open_ = true;
    }

    void finish()
    {
        if (open_)
            checker_.check(last_);
        open_ = false;
    }

private:
    Checker& checker_;
    Cue last_{};
    bool open_ = false;
};

} // namespace

std::vector<Finding> checkSubtitles(const std::vector<SubtitleTrack::RangedElement>& elements,
                                    double frame, const SubtitleLimits& limits)
{
    Checker checker(frame, limits);
    Joiner joiner(checker);
    for (std::size_t i = 0; i < elements.size(); ++i)
        joiner.add({&elements[i], elements[i].start, elements[i].end, static_cast<int>(i)});
    joiner.finish();
    return checker.findings();
}

std::vector<Finding> checkSubtitles(const SubtitleTrack& track, const SubtitleLimits& limits)
{
    const auto list = Kt::dynamicCast<SubtitleTrack::SubtitleCel>(track.getCel());
    if (!list)
        return {};
    Checker checker(list->get_resolution(), limits);
    Joiner joiner(checker);
    detail::TextsInOrder texts(list->elements());
    detail::forEachSubtitle(std::as_const(*list).events(), [&](std::size_t in, std::size_t out) {
        const auto events = std::as_const(*list).events();
        joiner.add({&texts(events[in].editGraph()), events[in].edit_time(), events[out].edit_time(),
                    static_cast<int>(in)});
    });
    joiner.finish();
    return checker.findings();
}

const std::vector<InvariantInfo>& checksOfSubtitles()
{
    static const std::vector<InvariantInfo> checks = {
        {kOverlap, "A subtitle begins when the one in front of it has ended."},
        {kGap, "Between two subtitles there is a gap of some frames."},
        {kTooShort, "A subtitle is shown long enough to be noticed."},
        {kTooLong, "A subtitle goes before it is read twice."},
        {kReadingSpeed, "A subtitle can be read in the time that it is shown."},
        {kLineLength, "A line fits on the picture."},
        {kLines, "A subtitle leaves the picture to be seen."},
        {kNoText, "A subtitle says something."},
    };
    return checks;
}

} // namespace cel

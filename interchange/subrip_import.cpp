#include "interchange/subrip.h"

#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"

#include <algorithm>
#include <utility>

namespace cel {

namespace {

bool isCounter(std::string_view line)
{
    line = trimmed(line);
    return !line.empty() && hasOnlyDigits(line);
}

/// Whether a line was meant to give times though none can be read from it: it begins with one, and
/// another follows behind some kind of arrow, or a counter stood above it.
bool meansTimes(std::string_view line, bool underCounter)
{
    if (line.find("-->") != line.npos)
        return true;
    line = trimmed(line);
    const std::string_view whole = line;
    if (line.empty() || !takeCueTime(line))
        return false;
    const std::string_view first = whole.substr(0, whole.size() - line.size());
    const bool isPrecise = first.find_first_of(",.") != first.npos;
    constexpr std::size_t kLongestArrow = 12;
    const std::size_t next = line.find_first_of("0123456789");
    if (next == line.npos || next > kLongestArrow)
        return isPrecise && underCounter;
    line.remove_prefix(next);
    return isPrecise && takeCueTime(line);
}

/// The placement that "an8" or the older "a6" names.
std::optional<CuePlacement> placementOf(std::string_view code)
{
    const bool isOlder = !code.starts_with("an");
    code.remove_prefix(isOlder ? 1 : 2);
    constexpr std::size_t kMostDigits = 2;
    if (code.empty() || code.size() > kMostDigits || !isCounter(code))
        return std::nullopt;
    const int number = code.size() == 1 ? code[0] - '0' : (code[0] - '0') * 10 + (code[1] - '0');
    if (!isOlder)
        return number >= 1 && number <= 9
                   ? std::optional(placementAt((number - 1) % 3, 2 - (number - 1) / 3))
                   : std::nullopt;
    const int column = number % 4 - 1;
    constexpr int kRows[] = {2, 0, 1}; // 1 to 3 at the bottom, 5 to 7 at the top, 9 to 11 between
    return column >= 0 && number < 12 ? std::optional(placementAt(column, kRows[number / 4]))
                                      : std::nullopt;
}

/// Reads the text of one cue, line by line.
class CueText
{
public:
    explicit CueText(CountedLosses& losses)
        : losses_(losses)
    {
    }

    void addLine(std::string_view line, std::size_t number)
    {
        number_ = number;
        while (!line.empty()) {
            std::size_t at = 0;
            while (at < line.size() && line[at] != '<' && line[at] != '{')
                ++at;
            builder_.text(line.substr(0, at));
            line.remove_prefix(at);
            if (!line.empty())
                line.remove_prefix(takeMark(line));
        }
        builder_.newLine();
    }

    void blankLine() { builder_.newLine(); }

    void finish(SubtitleCue& cue)
    {
        const bool hadEmptyLines = builder_.emptyLines() > 0;
        if (const std::string_view words = builder_.wordsReadAsTag(); !words.empty())
            losses_.add(cue.line, "tag",
                        "the words " + quoted(words) + " are text here and a tag from now on");
        cue.text = builder_.finish();
        cue.placement = placement_.value_or(CuePlacement::bottom);
        placement_.reset();
        if (hadEmptyLines)
            losses_.add(cue.line, "blank", "empty lines inside the subtitle are left out");
    }

private:
    /// @return bytes of the tag, or of the character that is none.
    std::size_t takeMark(std::string_view text)
    {
        if (const auto tag = parseCueTag(text)) {
            if (tag->closes)
                builder_.close(tag->name);
            else
                builder_.open(tag->name, tag->colour);
            if (tag->saysMore)
                lose("font",
                     "of " + quoted(text.substr(0, tag->length)) + " only the colour can be kept");
            return tag->length;
        }
        const std::size_t length = takeOverride(text);
        if (length == 0)
            builder_.text(text.substr(0, 1));
        return std::max<std::size_t>(length, 1);
    }

    /// Reads "{\an8}", "{\i1}", "{b}" and the like. @return bytes of it, 0 when it is text.
    std::size_t takeOverride(std::string_view text)
    {
        const std::size_t bytes = subRipMarkBytes(text);
        if (bytes == 0)
            return 0;
        std::string_view inside = text.substr(1, bytes - 2);
        if (inside.front() != '\\')
            takeLetter(inside.back(), inside.front() != '/');
        while (inside.starts_with('\\')) {
            inside.remove_prefix(1);
            const std::size_t next = std::min(inside.find('\\'), inside.size());
            takeCode(inside.substr(0, next));
            inside.remove_prefix(next);
        }
        return bytes;
    }

    void takeCode(std::string_view code)
    {
        const bool isSwitch = code.size() == 2 && (code[1] == '0' || code[1] == '1');
        if (isSwitch && takeLetter(code[0], code[1] == '1'))
            return;
        if (const auto placement = code.starts_with('a') ? placementOf(code) : std::nullopt)
            placement_ = placement_.value_or(*placement); // the first of a cue holds
        else
            lose("tag", "the override " + quoted(code) + " is left out");
    }

    bool takeLetter(char letter, bool opens)
    {
        constexpr std::pair<char, CueTagName> kLetters[] = {
            {'i', CueTagName::italic}, {'b', CueTagName::bold}, {'u', CueTagName::underline}};
        for (const auto& [known, name] : kLetters)
            if (letter == known) {
                if (opens)
                    builder_.open(name);
                else
                    builder_.close(name);
                return true;
            }
        return false;
    }

    void lose(const char* kind, const std::string& text) { losses_.add(number_, kind, text); }

    CountedLosses& losses_;
    CueTextBuilder builder_;
    std::optional<CuePlacement> placement_;
    std::size_t number_ = 0;
};

/// Reads the lines of a file into cues. A line of digits is held back until the line after it tells
/// whether it was a counter or text.
class SubRipReader
{
public:
    explicit SubRipReader(std::string_view text)
        : lines_(text)
    {
    }

    SubtitleImport read()
    {
        while (const auto line = lines_.next()) {
            if (const auto times = parseCueTimes(*line)) {
                if (!beginCue(*times))
                    break;
            } else if (isBlankLine(*line)) {
                settleHeld(true);
                ++blanks_;
            } else {
                takeLine(*line);
            }
        }
        settleHeld(true);
        endCue();
        result_.losses = losses_.finished();
        return std::move(result_);
    }

private:
    bool beginCue(const CueTimes& times)
    {
        const std::string_view counter = std::exchange(held_, {});
        endCue();
        if (result_.file.cues.size() == kMostCues) {
            losses_.add(lines_.number(), "limit",
                        "more than " + std::to_string(kMostCues) +
                            " subtitles; this one and all later ones are left out");
            return false;
        }
        blanks_ = 0;
        inCue_ = true;
        cue_.start = static_cast<double>(times.start) / 1000.0;
        cue_.end = static_cast<double>(times.end) / 1000.0;
        cue_.identifier = trimmed(counter);
        cue_.line = lines_.number();
        if (!times.rest.empty())
            losses_.add(cue_.line, "place",
                        "what stands behind the times is left out: " + quoted(times.rest));
        return true;
    }

    void takeLine(std::string_view line)
    {
        const bool standsWhereTimesDo = !inCue_ || blanks_ > 0;
        if (standsWhereTimesDo && meansTimes(line, !held_.empty())) {
            refuse(line);
            return;
        }
        settleHeld(false);
        if (isCounter(line)) {
            held_ = line;
            heldLine_ = lines_.number();
        } else {
            addText(line, lines_.number());
        }
    }

    /// A line that should give times and does not: the text under it has none.
    void refuse(std::string_view line)
    {
        held_ = {};
        endCue();
        skipping_ = true;
        losses_.add(lines_.number(), "time",
                    "these times cannot be read, and the subtitle is left out: " + quoted(line));
    }

    /// The line that was held is no counter of what follows.
    /// @param standsAlone  a blank line or nothing comes after it.
    void settleHeld(bool standsAlone)
    {
        const std::string_view held = std::exchange(held_, {});
        if (held.empty())
            return;
        if (standsAlone && blanks_ > 0)
            losses_.add(heldLine_, "counter", "a number without a subtitle: " + quoted(held));
        else
            addText(held, heldLine_);
    }

    void addText(std::string_view line, std::size_t number)
    {
        if (!inCue_) {
            if (!skipping_)
                losses_.add(number, "unknown", "no subtitle has begun here: " + quoted(line));
            return;
        }
        textBytes_ += line.size() + 1;
        if (textBytes_ > kLongestCueText) {
            losses_.add(number, "limit", "the rest of a very long subtitle is left out");
            return;
        }
        for (; blanks_ > 0; --blanks_)
            text_.blankLine();
        text_.addLine(line, number);
    }

    void endCue()
    {
        if (std::exchange(inCue_, false)) {
            text_.finish(cue_);
            result_.file.cues.push_back(std::exchange(cue_, {}));
        }
        skipping_ = false;
        textBytes_ = 0;
    }

    DecodedLines lines_;
    SubtitleImport result_;
    CountedLosses losses_;
    CueText text_{losses_};
    SubtitleCue cue_;
    bool inCue_ = false;
    bool skipping_ = false; ///< the text under times that could not be read
    std::size_t textBytes_ = 0;
    std::size_t blanks_ = 0; ///< before the line at hand, since the last text
    std::string_view held_;
    std::size_t heldLine_ = 0;
};

} // namespace

std::optional<SubtitleImport> readSubRip(std::string_view bytes, std::string& error)
{
    if (bytes.size() > kLargestTextBytes) {
        error = "the subtitles are larger than 64 MiB";
        return std::nullopt;
    }
    const DecodedText decoded = decodeSubtitles(bytes);
    SubtitleImport result = SubRipReader(decoded.text).read();
    const bool hasNothing = decoded.text.find_first_not_of(" \t\n") == std::string::npos;
    if (result.file.cues.empty() && !hasNothing) {
        error = "no line of it gives the times of a subtitle";
        for (const LossLedger::Entry& entry : result.losses.entries())
            if (entry.kind == "time") {
                error = "line " + std::to_string(entry.line) + ": " + entry.text;
                break;
            }
        return std::nullopt;
    }
    result.file.encoding = decoded.encoding;
    LossLedger losses = lossesOfDecoding(decoded);
    losses.append(result.losses);
    losses.sortByLine();
    result.losses = std::move(losses);
    return result;
}

} // namespace cel

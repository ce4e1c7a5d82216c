#include "interchange/edl_list.h"

#include "interchange/text_lines.h"

#include <array>

namespace cel::edl {

namespace {

/// Reads the lines one by one and knows which event a comment belongs to.
class ListReader
{
public:
    explicit ListReader(LossLedger& losses)
        : losses_(losses)
    {
    }

    void readLine(std::string_view line, std::size_t number)
    {
        line_ = number;
        line = trimmed(line);
        std::string_view rest = line;
        if (line.empty())
            return;
        if (takePrefix(rest, "*"))
            readComment(rest);
        else if (line[0] >= '0' && line[0] <= '9')
            readEvent(line);
        else if (takePrefix(rest, "M2 ") || takePrefix(rest, "M2\t"))
            readSpeed(line);
        else if (takePrefix(rest, "TITLE:"))
            readTitle(rest);
        else if (takePrefix(rest, "FCM:"))
            readCounting(rest);
        else if (takePrefix(rest, "AUD ") || takePrefix(rest, "AUD\t"))
            readAudioChannels(rest);
        else if (takePrefix(rest, "SPLIT:"))
            lose("split", "the delay between picture and sound is not kept as such; each track "
                          "has its own times: " +
                              quoted(line));
        else if (takePrefix(rest, "EFFECTS NAME"))
            lose("effect", "the effect is not kept: " + quoted(line));
        else
            lose("unknown", "a line of unknown meaning is left out: " + quoted(line));
    }

    EditList take() { return std::move(list_); }

private:
    void lose(std::string_view kind, const std::string& text) { losses_.add(line_, kind, text); }

    void readTitle(std::string_view title)
    {
        if (hasTitle_)
            lose("title", "a second title is left out: " + quoted(title));
        else
            list_.title = title;
        hasTitle_ = true;
    }

    void readCounting(std::string_view text)
    {
        std::string_view rest = text;
        const bool plain = takePrefix(rest, "NON");
        const bool drops = !plain && takePrefix(rest, "DROP");
        if (!plain && !drops) {
            lose("unknown", "a line of unknown meaning is left out: " + quoted(text));
            return;
        }
        sourceDrops_ = drops;
        if (list_.events.empty()) {
            list_.listDrops = drops;
            list_.listDropsLine = line_;
        }
    }

    void readEvent(std::string_view line)
    {
        std::string fault;
        const auto parsed = parseEventLine(line, fault);
        if (!parsed) {
            lose("event", "an event cannot be read, " + fault + ": " + quoted(line));
            orphaned_ = true;
            return;
        }
        Event event;
        static_cast<EventLine&>(event) = *parsed;
        event.line = line_;
        event.sourceDrops = sourceDrops_;
        if (list_.events.empty() || list_.events.back().number != event.number)
            ++group_;
        event.group = group_;
        if (!event.rest.empty())
            lose("unknown", "words after the timecodes are left out: " + quoted(event.rest));
        list_.events.push_back(event);
        orphaned_ = false;
    }

    void readSpeed(std::string_view line)
    {
        const auto parsed = parseSpeedLine(line);
        if (!parsed) {
            lose("speed", "a speed line cannot be read: " + quoted(line));
            return;
        }
        Speed speed;
        static_cast<SpeedLine&>(speed) = *parsed;
        speed.line = line_;
        speed.group = orphaned_ ? 0 : group_;
        if (!speed.rest.empty())
            lose("unknown", "words after the speed are left out: " + quoted(speed.rest));
        list_.speeds.push_back(speed);
    }

    /// "AUD 3 4": sound channels that the event line has no place for.
    void readAudioChannels(std::string_view text)
    {
        Event* const event = current();
        for (const std::string_view word : wordsOf(text)) {
            const auto channels = parseChannels("A" + std::string(word));
            const bool isNumber = word.find_first_not_of("0123456789") == std::string_view::npos;
            if (event && channels && isNumber)
                event->channels.sound |= channels->sound;
            else
                lose("channel", "a sound channel cannot be used: " + quoted(word));
        }
    }

    void readComment(std::string_view text)
    {
        std::string_view rest = text;
        while (takePrefix(rest, "*"))
            text = rest;
        Event* const event = current();
        if (takePrefix(rest, "FROM CLIP NAME:") || takePrefix(rest, "CLIP NAME:"))
            keep(event ? &event->clip : nullptr, rest, text);
        else if (takePrefix(rest, "TO CLIP NAME:"))
            keep(event ? &event->toClip : nullptr, rest, text);
        else if (takePrefix(rest, "SOURCE FILE:"))
            keep(event ? &event->sourceFile : nullptr, rest, text);
        else if (event && takePrefix(rest, "FREEZE FRAME"))
            event->saysFreeze = true;
        else if (takePrefix(rest, "LOC:"))
            lose("marker", "a marker is not kept: " + quoted(rest));
        else if (namesEffect(text))
            lose("effect", "the effect is not kept: " + quoted(text));
        else if (!text.empty() && !(event && repeats(text, *event)))
            lose("comment", "a comment is not kept: " + quoted(text));
    }

    static bool namesEffect(std::string_view text)
    {
        constexpr std::array<std::string_view, 8> kEffects = {
            "BLEND", "EFFECT", "AVX", "KEY ", "ASC_", "AUDIO LEVEL", "AUDIO GAIN", "OPTICAL"};
        for (const std::string_view effect : kEffects) {
            std::string_view rest = text;
            if (takePrefix(rest, effect))
                return true;
        }
        return false;
    }

    /// Whether a comment says only what is known of the event already.
    static bool repeats(std::string_view text, const Event& event)
    {
        return text == event.clip.text || text == event.sourceFile.text || text == event.reel;
    }

    void keep(Note* note, std::string_view value, std::string_view comment)
    {
        if (!note)
            lose("comment", "no event stands before this comment: " + quoted(comment));
        else if (!note->text.empty())
            lose("comment", "the event has such a name already: " + quoted(comment));
        else
            *note = {value, line_};
    }

    /// The event that a line is about: the last one, unless a later one could not be read.
    Event* current() { return orphaned_ || list_.events.empty() ? nullptr : &list_.events.back(); }

    LossLedger& losses_;
    EditList list_;
    std::size_t line_ = 0;
    std::uint32_t group_ = 0;
    bool hasTitle_ = false;
    bool sourceDrops_ = false;
    bool orphaned_ = false;
};

bool marksDrop(const TimecodeFields& fields)
{
    return fields.mark == ';' || fields.mark == ',';
}

} // namespace

bool Event::isBlack() const
{
    std::string_view name = reel;
    return takePrefix(name, "BL") && name.empty();
}

EditList readEditList(std::string_view text, LossLedger& losses)
{
    ListReader list(losses);
    LineReader lines(text);
    while (const auto line = lines.next()) {
        if (lines.number() > kMostTextLines) {
            losses.add(lines.number(), "limit",
                       "more than " + std::to_string(kMostTextLines) +
                           " lines; the rest is left out");
            break;
        }
        if (line->size() > kLongestTextLine)
            losses.add(lines.number(), "limit",
                       "a line of " + std::to_string(line->size()) +
                           " bytes is left out: " + quoted(*line));
        else
            list.readLine(*line, lines.number());
    }
    return list.take();
}

bool recordDrops(const EditList& list)
{
    for (const Event& event : list.events)
        if (marksDrop(event.recordIn) || marksDrop(event.recordOut))
            return true;
    return list.listDrops.value_or(false);
}

} // namespace cel::edl

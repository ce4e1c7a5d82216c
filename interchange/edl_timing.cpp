#include "interchange/edl_timing.h"

#include "interchange/text_lines.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <set>
#include <tuple>

namespace cel::edl {

namespace {

std::string written(const TimecodeFields& fields)
{
    const auto two = [](int value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    return two(fields.hours) + ":" + two(fields.minutes) + ":" + two(fields.seconds) + fields.mark +
           two(fields.frames);
}

std::string frames(std::int64_t count)
{
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

/// Turns the timecodes of events into frames, in the numbering that each of them uses.
class TimeResolver
{
public:
    TimeResolver(const FrameRate& rate, LossLedger& losses)
        : rate_(rate)
        , losses_(losses)
    {
    }

    void resolve(Event& event)
    {
        const bool drops = event.sourceDrops || marksDrop(event.sourceIn);
        const FrameRate source = counting(drops);
        event.plays = read(event, event.sourceIn, source, event.sourceStart) &&
                      read(event, event.sourceOut, source, event.sourceEnd) &&
                      read(event, event.recordIn, rate_, event.recordStart) &&
                      read(event, event.recordOut, rate_, event.recordEnd);
        if (event.plays && source.dropFrame != rate_.dropFrame && !event.isBlack() &&
            otherCounting_.insert(event.reel).second)
            losses_.add(event.line, "counting",
                        "reel " + std::string(event.reel) +
                            (source.dropFrame ? " counts drop-frame" : " counts without drops") +
                            ", unlike the list; its frames are right, but its timecode will be "
                            "shown in the counting of the list");
    }

private:
    static bool marksDrop(const TimecodeFields& fields)
    {
        return fields.mark == ';' || fields.mark == ',';
    }

    FrameRate counting(bool drops) const
    {
        FrameRate rate = rate_;
        rate.dropFrame = drops && canDropFrames(rate_);
        return rate;
    }

    bool read(const Event& event, TimecodeFields fields, const FrameRate& rate, std::int64_t& frame)
    {
        auto value = framesOf(fields, rate);
        if (!value && fields.frames < rate.timecodeBase()) {
            const std::string skipped = written(fields);
            // Drop-frame counting leaves out the first numbers of a minute; the next one is meant.
            fields.frames = static_cast<std::int16_t>(rate.timecodeBase() / 15);
            value = framesOf(fields, rate);
            losses_.add(event.line, "timecode",
                        nameOf(event) + ": " + skipped +
                            " does not exist in drop-frame counting; " + written(fields) +
                            " was taken");
        }
        if (!value)
            losses_.add(event.line, "timecode",
                        nameOf(event) + " is left out: " + written(fields) + " does not exist at " +
                            describe(rate_) + " frames a second");
        frame = value.value_or(0);
        return value.has_value();
    }

    FrameRate rate_;
    LossLedger& losses_;
    std::set<std::string_view> otherCounting_;
};

/// A list that runs over midnight starts its clock again; its morning belongs to the next day.
void unwrapMidnight(EditList& list, const FrameRate& rate)
{
    const std::int64_t day = framesPerDay(rate);
    const std::int64_t noon = day / 2;
    bool wraps = false;
    std::int64_t previous = 0;
    for (const Event& event : list.events) {
        if (!event.plays)
            continue;
        wraps = wraps || event.recordEnd < event.recordStart - noon ||
                event.recordStart < previous - noon;
        previous = event.recordStart;
    }
    for (Event& event : list.events) {
        if (wraps && event.recordStart < noon)
            event.recordStart += day;
        if (wraps && event.recordEnd < noon)
            event.recordEnd += day;
        if (event.sourceEnd < event.sourceStart - noon)
            event.sourceEnd += day;
    }
}

bool isOutgoingHalf(const Event& event, const Event& next)
{
    return event.recordFrames() == 0 && event.transition == Transition::cut &&
           next.group == event.group && next.transition != Transition::cut;
}

/// The last event on each channel: what a transition leads away from, wherever the lines of other
/// channels stand in between.
class LastEvents
{
public:
    void note(Event& event)
    {
        for (int i = 0; i < kMostChannels; ++i) {
            if (event.channels.picture >> i & 1U)
                picture_[static_cast<std::size_t>(i)] = &event;
            if (event.channels.sound >> i & 1U)
                sound_[static_cast<std::size_t>(i)] = &event;
        }
    }

    /// Null when nothing stands before the event on its first channel.
    Event* before(const Event& event) const
    {
        const ChannelSet& channels = event.channels;
        if (channels.empty())
            return nullptr;
        return channels.picture != 0
                   ? picture_[static_cast<std::size_t>(std::countr_zero(channels.picture))]
                   : sound_[static_cast<std::size_t>(std::countr_zero(channels.sound))];
    }

private:
    std::array<Event*, kMostChannels> picture_{};
    std::array<Event*, kMostChannels> sound_{};
};

/// Gives the clip names of a transition to the event before it and to the one that comes in.
void settleNames(Event& event, Event* before, LossLedger& losses)
{
    Note outgoing;
    if (!event.toClip.text.empty()) {
        outgoing = event.clip;
        event.clip = event.toClip;
    } else if (before && event.clip.text == before->clip.text && event.reel != before->reel) {
        event.clip = {};
    }
    if (outgoing.text.empty() || (before && before->clip.text == outgoing.text))
        return;
    if (before && before->clip.text.empty())
        before->clip = outgoing;
    else
        losses.add(outgoing.line, "comment",
                   "the name of the outgoing clip is not kept: " + quoted(outgoing.text));
}

void noteTransition(const Event& event, LossLedger& losses)
{
    const bool isBackground = event.transition == Transition::keyBackground;
    const std::string length =
        event.transitionFrames > 0 ? " of " + frames(event.transitionFrames) : "";
    losses.add(event.line, nameOf(event.transition),
               nameOf(event) + ": " +
                   (isBackground ? "the background of a key, reel "
                                 : "a " + std::string(nameOf(event.transition)) + length + " to ") +
                   std::string(event.reel) + " became a cut at its start");
}

/// What cannot play takes its notes with it, and they are not lost in silence either.
void silence(Event& event, std::string_view kind, const std::string& reason, LossLedger& losses)
{
    event.plays = false;
    losses.add(event.line, kind, nameOf(event) + " is left out: " + reason);
}

std::int64_t fieldKey(const TimecodeFields& fields)
{
    return ((fields.hours * std::int64_t(60) + fields.minutes) * 60 + fields.seconds) * 1000 +
           fields.frames;
}

/// Finds events by number, reel and source timecode. Each place is given out once, so that many
/// speed lines for one place cost no more than one.
class EventIndex
{
public:
    /// @param byGroup  whether the event number takes part in the search. Without it only events
    /// are found that no normal speed explains: the same shot may be used twice.
    EventIndex(EditList& list, bool byGroup)
        : list_(list)
        , byGroup_(byGroup)
    {
        places_.reserve(list.events.size());
        for (std::uint32_t i = 0; i < list.events.size(); ++i) {
            const Event& event = list.events[i];
            const bool wanted = byGroup || event.sourceFrames() != event.recordFrames();
            if (event.plays && wanted && !event.isBlack())
                places_.push_back(
                    {byGroup ? event.group : 0, event.reel, fieldKey(event.sourceIn), i});
        }
        std::sort(places_.begin(), places_.end());
    }

    /// Gives the speed to all events that the line names and that have none yet.
    bool attach(const Speed& speed)
    {
        const std::int64_t time = fieldKey(speed.sourceIn);
        const std::uint32_t group = byGroup_ ? speed.group : 0;
        bool attached = false;
        auto place =
            std::lower_bound(places_.begin(), places_.end(), Place{group, speed.reel, time, 0});
        for (; place != places_.end() && place->matches(group, speed.reel, time); ++place) {
            Event& event = list_.events[place->event];
            if (event.speedFramesPerSecond)
                break;
            event.speedFramesPerSecond = speed.framesPerSecond;
            attached = true;
        }
        return attached;
    }

    /// The only event of that number and reel, if it has no speed yet.
    Event* onlyOneOf(const Speed& speed)
    {
        const auto first =
            std::lower_bound(places_.begin(), places_.end(), Place{speed.group, speed.reel, 0, 0});
        const auto isOfReel = [&](auto place) {
            return place != places_.end() && place->group == speed.group &&
                   place->reel == speed.reel;
        };
        if (!isOfReel(first) || isOfReel(std::next(first)))
            return nullptr;
        Event& event = list_.events[first->event];
        return event.speedFramesPerSecond ? nullptr : &event;
    }

private:
    struct Place
    {
        std::uint32_t group;
        std::string_view reel;
        std::int64_t time;
        std::uint32_t event;

        auto operator<=>(const Place&) const = default;
        bool matches(std::uint32_t otherGroup, std::string_view otherReel,
                     std::int64_t otherTime) const
        {
            return group == otherGroup && reel == otherReel && time == otherTime;
        }
    };

    EditList& list_;
    bool byGroup_;
    std::vector<Place> places_;
};

/// Whether the source is as long as the record needs at a speed. Lists count either the frames
/// that pass or those that are seen, and round the speed to a tenth of a frame.
bool explains(double velocity, const Event& event, const FrameRate& rate)
{
    const double needed = static_cast<double>(event.recordFrames()) * std::fabs(velocity);
    const double rounding = 0.05 / rate.timecodeBase() * static_cast<double>(event.recordFrames());
    const auto listed = static_cast<double>(std::abs(event.sourceFrames()));
    return std::fabs(listed - needed) <= std::fabs(velocity) + 1.0 + rounding;
}

} // namespace

std::string nameOf(const Event& event)
{
    return "event " + std::string(event.number);
}

double velocityOf(const Event& event, const FrameRate& rate)
{
    if (event.speedFramesPerSecond)
        return *event.speedFramesPerSecond / rate.timecodeBase();
    return event.saysFreeze ? 0.0 : 1.0;
}

void resolveTimes(EditList& list, const FrameRate& rate, LossLedger& losses)
{
    TimeResolver resolver(rate, losses);
    for (Event& event : list.events)
        resolver.resolve(event);
    unwrapMidnight(list, rate);
    if (list.listDrops && *list.listDrops != rate.dropFrame)
        losses.add(list.listDropsLine, "counting",
                   rate.dropFrame ? "the list says non-drop frame, but it is counted with drops"
                                  : "drop-frame counting does not exist at " + describe(rate) +
                                        " frames a second");
}

void settleTransitions(EditList& list, LossLedger& losses)
{
    LastEvents last;
    for (std::size_t i = 0; i < list.events.size(); ++i) {
        Event& event = list.events[i];
        if (!event.plays)
            continue;
        if (i + 1 < list.events.size() && isOutgoingHalf(event, list.events[i + 1])) {
            event.plays = false;
            if (!event.clip.text.empty() && list.events[i + 1].toClip.text.empty()) {
                // Each half carries its own name, instead of both standing under the second.
                list.events[i + 1].toClip = list.events[i + 1].clip;
                list.events[i + 1].clip = event.clip;
            }
            continue;
        }
        if (event.transition != Transition::cut) {
            noteTransition(event, losses);
            settleNames(event, last.before(event), losses);
        } else if (!event.toClip.text.empty()) {
            losses.add(event.toClip.line, "comment",
                       "a cut has no second clip; its name is not kept: " +
                           quoted(event.toClip.text));
        }
        if (event.channels.empty())
            silence(event, "channel", "it is for no channel", losses);
        else if (event.recordFrames() == 0)
            silence(event, "empty", "it has no length", losses);
        else if (event.recordFrames() < 0)
            silence(event, "timecode", "its record out lies before its record in", losses);
        else
            last.note(event);
    }
}

void attachSpeeds(EditList& list, LossLedger& losses)
{
    EventIndex underNumber(list, true);
    EventIndex anywhere(list, false);
    for (const Speed& speed : list.speeds) {
        if (underNumber.attach(speed))
            continue;
        if (Event* const event = underNumber.onlyOneOf(speed)) {
            event->speedFramesPerSecond = speed.framesPerSecond;
            losses.add(speed.line, "speed",
                       nameOf(*event) + " got a speed that the list gives from source " +
                           written(speed.sourceIn) + " on, not from its start");
        } else if (!anywhere.attach(speed)) {
            losses.add(speed.line, "speed",
                       "no event of reel " + std::string(speed.reel) + " starts at source " +
                           written(speed.sourceIn) + " and lacks a speed");
        }
    }
}

void compareDurations(const EditList& list, const FrameRate& rate, LossLedger& losses)
{
    for (const Event& event : list.events) {
        if (!event.plays)
            continue;
        if (event.isBlack()) {
            for (const Note* note : {&event.clip, &event.sourceFile})
                if (!note->text.empty())
                    losses.add(note->line, "comment", "black has no name: " + quoted(note->text));
            continue;
        }
        const double velocity = velocityOf(event, rate);
        const bool hasSpeed = event.speedFramesPerSecond.has_value();
        if (event.saysFreeze && velocity != 0.0)
            losses.add(event.line, "speed",
                       nameOf(event) + " is called a freeze frame, but its speed line says "
                                       "otherwise and was followed");
        const bool agrees = velocity == 1.0 && !hasSpeed
                                ? event.sourceFrames() == event.recordFrames()
                                : explains(velocity, event, rate);
        if (!agrees)
            losses.add(event.line, "duration",
                       nameOf(event) + ": the source lasts " + frames(event.sourceFrames()) +
                           ", the record " + frames(event.recordFrames()) +
                           (hasSpeed ? ", which its speed does not explain" : "") +
                           "; the record's length and the source in were kept");
    }
}

} // namespace cel::edl

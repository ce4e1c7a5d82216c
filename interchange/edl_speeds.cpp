#include "interchange/edl_timing.h"

#include "interchange/text_lines.h"

#include <algorithm>
#include <cmath>

namespace cel::edl {

namespace {

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

double velocityOf(const Event& event, const FrameRate& rate)
{
    if (event.speedFramesPerSecond)
        return *event.speedFramesPerSecond / rate.timecodeBase();
    return event.saysFreeze ? 0.0 : 1.0;
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
                           timecodeText(speed.sourceIn) + " on, not from its start");
        } else if (!anywhere.attach(speed)) {
            losses.add(speed.line, "speed",
                       "no event of reel " + std::string(speed.reel) + " starts at source " +
                           timecodeText(speed.sourceIn) + " and lacks a speed");
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
                       nameOf(event) + ": the source lasts " + framesText(event.sourceFrames()) +
                           ", the record " + framesText(event.recordFrames()) +
                           (hasSpeed ? ", which its speed does not explain" : "") +
                           "; the record's length and the source in were kept");
    }
}

} // namespace cel::edl

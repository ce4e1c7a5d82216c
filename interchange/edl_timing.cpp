#include "interchange/edl_timing.h"

#include <set>

namespace cel::edl {

namespace {

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
            const std::string skipped = timecodeText(fields);
            // Drop-frame counting leaves out the first numbers of a minute; the next one is meant.
            fields.frames = static_cast<std::int16_t>(rate.timecodeBase() / 15);
            value = framesOf(fields, rate);
            losses_.add(event.line, "timecode",
                        nameOf(event) + ": " + skipped +
                            " does not exist in drop-frame counting; " + timecodeText(fields) +
                            " was taken");
        }
        if (!value)
            losses_.add(event.line, "timecode",
                        nameOf(event) + " is left out: " + timecodeText(fields) +
                            " does not exist at " + describe(rate_) + " frames a second");
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

} // namespace

std::string nameOf(const Event& event)
{
    return "event " + std::string(event.number);
}

std::string timecodeText(const TimecodeFields& fields)
{
    const auto two = [](int value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    return two(fields.hours) + ":" + two(fields.minutes) + ":" + two(fields.seconds) + fields.mark +
           two(fields.frames);
}

std::string framesText(std::int64_t count)
{
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
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

} // namespace cel::edl

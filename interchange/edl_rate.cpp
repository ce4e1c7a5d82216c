#include "interchange/edl_list.h"

#include <array>

namespace cel::edl {

namespace {

/// Whole rates that lists are made at, the common ones first within each timecode counting.
constexpr std::array kRates = {24, 25, 30, 48, 50, 60, 100, 120};

/// How often each frame number occurs.
struct FrameNumbers
{
    static constexpr int kMost = 1000;
    std::array<std::size_t, kMost> occurrences{};
    std::size_t timecodes = 0;

    void count(const TimecodeFields& fields)
    {
        ++occurrences[static_cast<std::size_t>(fields.frames)];
        ++timecodes;
    }

    /// The highest number below `limit`; -1 when there is none.
    int highestBelow(int limit) const
    {
        int frame = limit - 1;
        while (frame >= 0 && occurrences[static_cast<std::size_t>(frame)] == 0)
            --frame;
        return frame;
    }
};

FrameNumbers frameNumbersOf(const EditList& list)
{
    FrameNumbers numbers;
    for (const Event& event : list.events)
        for (const TimecodeFields* fields :
             {&event.sourceIn, &event.sourceOut, &event.recordIn, &event.recordOut})
            numbers.count(*fields);
    return numbers;
}

/// The highest frame number that is no slip of the pen. Lists above 30 frames a second have such
/// numbers in every second timecode, so a few in a long list are damage that must not decide.
int highestFrame(const FrameNumbers& numbers)
{
    constexpr int kCommonRates = 30;
    std::size_t above = 0;
    for (int frame = kCommonRates; frame < FrameNumbers::kMost; ++frame)
        above += numbers.occurrences[static_cast<std::size_t>(frame)];
    const bool fast = above * 10 >= numbers.timecodes;
    return numbers.highestBelow(fast ? FrameNumbers::kMost : kCommonRates);
}

/// A duration as the difference of two timecodes, before it is known how many frames a second has.
struct OpenDuration
{
    int seconds;
    int frames;
};

OpenDuration between(const TimecodeFields& from, const TimecodeFields& to)
{
    const auto seconds = [](const TimecodeFields& t) {
        return (t.hours * 60 + t.minutes) * 60 + t.seconds;
    };
    return {seconds(to) - seconds(from), to.frames - from.frames};
}

/// The one number of frames a second at which source and record of an event last equally long; 0
/// when they do at every one, or at none that is whole.
///
/// Source 10:00 to 10:20 and record 04:15 to 05:10 are both 20 frames long only if 25 make a
/// second.
int rateOfEqualDurations(const Event& event)
{
    const OpenDuration source = between(event.sourceIn, event.sourceOut);
    const OpenDuration record = between(event.recordIn, event.recordOut);
    const int seconds = source.seconds - record.seconds;
    const int frames = record.frames - source.frames;
    return seconds != 0 && frames % seconds == 0 ? frames / seconds : 0;
}

/// How many events say that each of `kRates` is the rate.
std::array<std::size_t, kRates.size()> votesOf(const EditList& list)
{
    std::array<std::size_t, kRates.size()> votes{};
    for (const Event& event : list.events) {
        const int rate = rateOfEqualDurations(event);
        for (std::size_t i = 0; i < kRates.size(); ++i)
            votes[i] += kRates[i] == rate ? 1 : 0;
    }
    return votes;
}

std::string counted(std::size_t count, const char* noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

RateGuess guessDropRate(const EditList& list, int highest)
{
    const bool fast = highest >= 30;
    std::string reason = list.listDrops.value_or(false) ? "its FCM line says drop frame"
                                                        : "its timecodes drop frame numbers (';')";
    if (fast)
        reason += ", and its frame numbers go up to " + std::to_string(highest);
    return {{fast ? 60000 : 30000, 1001, true}, reason};
}

} // namespace

RateGuess guessRate(const EditList& list)
{
    const FrameNumbers numbers = frameNumbersOf(list);
    const int highest = highestFrame(numbers);
    if (recordDrops(list) && highest < 60)
        return guessDropRate(list, highest);

    const auto votes = votesOf(list);
    std::size_t best = kRates.size();
    for (std::size_t i = 0; i < kRates.size(); ++i) {
        const bool possible = kRates[i] > highest;
        // 48 needs votes: without any, frame numbers from 30 on mean 50, which is far more common.
        const bool ordinary = kRates[i] != 48 || votes[i] > 0;
        if (possible && ordinary && (best == kRates.size() || votes[i] > votes[best]))
            best = i;
    }
    const std::string seen = "its " + counted(numbers.timecodes, "timecode") + " go up to frame " +
                             std::to_string(highest);
    if (best == kRates.size())
        return {{highest + 1, 1, false}, seen};
    if (votes[best] == 0)
        return {{kRates[best], 1, false}, seen};
    return {{kRates[best], 1, false},
            seen + ", and only " + std::to_string(kRates[best]) + " makes source and record of " +
                counted(votes[best], "event") + " equally long"};
}

} // namespace cel::edl

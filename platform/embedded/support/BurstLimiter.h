#pragma once

#include "platform/support/Log.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cel::detail {

/// Decides which of many equal messages are written: the first ten of a burst. A burst ends when
/// the message was not seen for a second. Messages are equal when they came through the same
/// channel and their kinds differ in nothing but digits.
class BurstLimiter
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// A message that was left out, and how often.
    struct Omitted
    {
        LogChannel channel;
        std::string kind;
        std::size_t count;
    };

    static constexpr std::size_t kWritten = 10;
    static constexpr std::chrono::seconds kSilence{1};

    /// More kinds than this at a time are no burst of anything; `isFull` then asks for an end.
    static constexpr std::size_t kMostKinds = 256;

    /// @return whether the message is to be written.
    bool admit(LogChannel channel, std::string_view kind, Time now);

    bool isFull() const { return bursts_.size() >= kMostKinds; }

    /// Forgets the bursts that are over by `now` and returns those that something was left out of.
    std::vector<Omitted> endBursts(Time now) { return endBurstsSilentSince(now - kSilence); }

    /// The same for all bursts.
    std::vector<Omitted> endAll() { return endBurstsSilentSince(Time::max()); }

private:
    struct Burst
    {
        Omitted omitted;
        Time last;
        std::size_t written = 0;
    };

    std::vector<Omitted> endBurstsSilentSince(Time time);

    std::unordered_map<std::string, Burst> bursts_;
};

} // namespace cel::detail

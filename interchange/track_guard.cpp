#include "interchange/track_guard.h"

#include "cel/inspect.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>

namespace cel {

namespace {

/// One thing about an event that a stored form may not hold.
struct Property
{
    const char* name;
    bool (*same)(const ChannelEvent&, const ChannelEvent&);
};

bool sameStoredTime(double a, double b)
{
    return std::fabs(a - b) <= kTimeEpsilon ||
           std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// A speed that was never set plays as normal speed.
float playedSpeed(const ChannelEvent& event)
{
    return event.velocity() == kUnsetVelocity ? 1.0F : event.velocity();
}

bool sameBits(float a, float b)
{
    return a == b || std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

constexpr std::uint32_t kModifierAndActive = 0x1F00;

constexpr std::array kProperties = {
    Property{"kind",
             [](const ChannelEvent& a, const ChannelEvent& b) { return a.info() == b.info(); }},
    Property{"time",
             [](const ChannelEvent& a, const ChannelEvent& b) {
                 return sameStoredTime(a.edit_time(), b.edit_time()) &&
                        sameStoredTime(a.strip_time(), b.strip_time());
             }},
    Property{"material", [](const ChannelEvent& a,
                            const ChannelEvent& b) { return a.strip_name() == b.strip_name(); }},
    Property{"speed",
             [](const ChannelEvent& a, const ChannelEvent& b) {
                 return sameBits(playedSpeed(a), playedSpeed(b));
             }},
    Property{"level", [](const ChannelEvent& a,
                         const ChannelEvent& b) { return sameBits(a.level_sc(), b.level_sc()); }},
    Property{"ramp", [](const ChannelEvent& a,
                        const ChannelEvent& b) { return a.audioRampWord() == b.audioRampWord(); }},
    Property{"effect", [](const ChannelEvent& a,
                          const ChannelEvent& b) { return a.editGraph() == b.editGraph(); }},
    Property{"active or varispeed mark",
             [](const ChannelEvent& a, const ChannelEvent& b) {
                 return ((a.infoWord() ^ b.infoWord()) & kModifierAndActive) == 0;
             }},
};

bool sameBytes(std::span<const ChannelEvent> a, std::span<const ChannelEvent> b)
{
    return std::memcmp(std::as_bytes(a).data(), std::as_bytes(b).data(), a.size_bytes()) == 0;
}

struct Difference
{
    std::size_t events = 0;
    double firstTime = 0.0;
};

std::string counted(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " event" : " events");
}

} // namespace

std::string whatDiffers(const Cel& original, const Cel& decoded, const FrameRate& rate)
{
    const auto kept = decoded.events();
    const auto events = original.events();
    const std::string odd = events.size() % 2 != 0 ? ", which are not in pairs," : "";
    if (kept.size() != events.size())
        return "of its " + counted(events.size()) + odd + " only " + std::to_string(kept.size()) +
               " would be left";

    const auto saysNothing = [](const ChannelEvent& event) {
        return event.info() == undefined_event;
    };
    if (std::all_of(kept.begin(), kept.end(), saysNothing) &&
        !std::all_of(events.begin(), events.end(), saysNothing))
        return "none of its " + counted(events.size()) + odd + " would be left";

    std::array<Difference, kProperties.size()> differences;
    for (std::size_t i = 0; i < events.size(); ++i) {
        // Nearly every event comes back byte for byte; only the others are looked at closely.
        if (sameBytes(events.subspan(i, 1), kept.subspan(i, 1)))
            continue;
        for (std::size_t p = 0; p < kProperties.size(); ++p)
            if (!kProperties[p].same(events[i], kept[i]) && differences[p].events++ == 0)
                differences[p].firstTime = events[i].edit_time();
    }

    std::string text;
    for (std::size_t p = 0; p < kProperties.size(); ++p) {
        if (differences[p].events == 0)
            continue;
        text += text.empty() ? "" : ", ";
        text += std::string("the ") + kProperties[p].name + " of " +
                counted(differences[p].events) + " (from " +
                timecodeFromFrames(nearestFrame(differences[p].firstTime, rate), rate) + " on)";
    }
    if (!text.empty())
        return text + " of its " + std::to_string(events.size()) + odd + " would be lost";
    if (inspect(original).pendingInIndex != inspect(decoded).pendingInIndex)
        return "its open section would be lost";
    return {};
}

} // namespace cel

#pragma once

#include "cel/Cel.h"

#include <cstring>
#include <memory>
#include <span>
#include <vector>

/// What no implementation over one vector of events can do without, on the bare events of a track.
namespace cel::bench {

/// The events of a track in pages that are kept, with room for more.
class BareTrack
{
public:
    explicit BareTrack(const Cel& track)
        : pristine_(track.events().begin(), track.events().end())
        , events_(pristine_.size() + pristine_.size() / 8 + kRoom)
    {
        restore();
    }

    /// The events of the track again: one memcpy.
    void restore()
    {
        size_ = pristine_.size();
        std::memcpy(static_cast<void*>(events_.data()), pristine_.data(),
                    size_ * sizeof(ChannelEvent));
    }

    /// The tail from `index` on moves by so many events: one memmove.
    std::span<ChannelEvent> moveTail(std::size_t index, std::ptrdiff_t by)
    {
        const std::span tail = std::span(events_).subspan(index, size_ - index);
        ChannelEvent* to = tail.data() + by;
        std::memmove(static_cast<void*>(to), tail.data(), tail.size_bytes());
        size_ = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(size_) + by);
        return {to, tail.size()};
    }

    std::span<ChannelEvent> events() { return std::span(events_).first(size_); }
    std::span<const ChannelEvent> pristine() const { return pristine_; }

private:
    static constexpr std::size_t kRoom = 1024;

    std::vector<ChannelEvent> pristine_;
    std::vector<ChannelEvent> events_;
    std::size_t size_ = 0;
};

inline void shiftBare(std::span<ChannelEvent> events, double by)
{
    for (ChannelEvent& event : events)
        event.edit_time(event.edit_time() + by);
}

/// The shift with every time rounded to the frames, without a branch or a call in it: adding and
/// subtracting this number leaves whole numbers.
inline double roundBare(double t, double frame)
{
    constexpr double kWhole = 0x1.8p52;
    return ((t / frame + kWhole) - kWhole) * frame;
}

inline void shiftRounding(std::span<ChannelEvent> events, double by, double frame)
{
    for (ChannelEvent& event : events)
        event.edit_time(roundBare(event.edit_time() + by, frame));
}

} // namespace cel::bench

#pragma once

#include "cel/Cel.h"

#include "cel/detail/counts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// One pass over a track that takes events out: those that stay move up over those that went.
/// Until `finish` the events before `write` are final and those from `read` on are as they were.
/// Nothing in it can fail. What is left to do after it is `destroyRemoved`.
class Cel::Compaction
{
public:
    explicit Compaction(Cel& track)
        : track_(track)
        , pending_(track.pendingInIndex_)
    {
        if (track.keepsSegmentObjects())
            removed_.reserve(track.events_.size());
    }

    std::size_t read = 0;
    std::size_t write = 0;
    double shift = 0.0; ///< seconds added to the events that stay from here on

    /// The next `count` events stay.
    void keep(std::size_t count)
    {
        bringUp(count);
        settle(count);
    }

    /// Copies the next `count` events to where they will stand if they stay.
    void bringUp(std::size_t count)
    {
        if (read == write)
            return;
        ChannelEvent* to = &track_.events_[write];
        const ChannelEvent* from = &track_.events_[read];
        for (const ChannelEvent* end = from + count; from != end; ++from, ++to)
            *to = *from;
    }

    /// The events that were brought up stay.
    void settle(std::size_t count)
    {
        if (followsPending(count))
            track_.pendingInIndex_ = static_cast<std::int32_t>(write + (pendingIndex() - read));
        if (shift != 0.0)
            cel::detail::shiftEditTimes(std::span(track_.events_).subspan(write, count), shift);
        read += count;
        write += count;
    }

    /// The next `count` events go.
    void drop(std::size_t count)
    {
        if (followsPending(count))
            track_.pendingInIndex_ = -1;
        for (; count > 0; --count, ++read) {
            const ChannelEvent& event = track_.events_[read];
            track_.adjustEventCounts(event, false);
            if ((event.info() & in_point) && removed_.size() < removed_.capacity())
                removed_.push_back(event.editGraph());
        }
    }

    /// Keeps what was not looked at and gives the track its new length.
    void finish()
    {
        if (read < track_.events_.size())
            keep(track_.events_.size() - read);
        if (read == write)
            return;
        track_.events_.erase(track_.events_.begin() + static_cast<std::ptrdiff_t>(write),
                             track_.events_.end());
        track_.dirty_ = 1;
    }

    /// Destroys the objects of the sections that went, once the track is whole.
    void destroyRemoved() { track_.destroyObjects(removed_); }

private:
    bool followsPending(std::size_t count) const
    {
        return pending_ >= 0 && pendingIndex() >= read && pendingIndex() < read + count;
    }
    std::size_t pendingIndex() const { return static_cast<std::size_t>(pending_); }

    Cel& track_;
    const std::int32_t pending_; ///< where the open section began before the pass
    std::vector<IdStamp> removed_;
};

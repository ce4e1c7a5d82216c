#pragma once

#include "cel/Cel.h"

#include <cstddef>

/// One pass over a track that takes events out: those that stay move up over those that went.
/// Until `finish` the events before `write` are final and those from `read` on are as they were.
/// Nothing in it can fail.
class Cel::Compaction
{
public:
    explicit Compaction(Cel& track)
        : track_(track)
        , pending_(track.pendingInIndex_)
    {
    }

    std::size_t read = 0;
    std::size_t write = 0;
    double shift = 0.0; ///< seconds added to the events that stay from here on

    /// The next `count` events stay.
    void keep(std::size_t count)
    {
        if (followsPending(count))
            track_.pendingInIndex_ = static_cast<std::int32_t>(write + (pendingIndex() - read));
        for (; count > 0; --count, ++read, ++write) {
            if (read == write)
                continue;
            track_.events_[write] = track_.events_[read];
            track_.events_[write].edit_time(track_.events_[write].edit_time() + shift);
        }
    }

    /// The next `count` events go.
    void drop(std::size_t count)
    {
        if (followsPending(count))
            track_.pendingInIndex_ = -1;
        for (; count > 0; --count, ++read)
            track_.adjustEventCounts(track_.events_[read], false);
    }

    /// Keeps what was not looked at and gives the track its new length.
    void finish()
    {
        keep(track_.events_.size() - read);
        if (read == write)
            return;
        track_.events_.erase(track_.events_.begin() + static_cast<std::ptrdiff_t>(write),
                             track_.events_.end());
        track_.dirty_ = 1;
    }

private:
    bool followsPending(std::size_t count) const
    {
        return pending_ >= 0 && pendingIndex() >= read && pendingIndex() < read + count;
    }
    std::size_t pendingIndex() const { return static_cast<std::size_t>(pending_); }

    Cel& track_;
    const std::int32_t pending_; ///< where the open section began before the pass
};

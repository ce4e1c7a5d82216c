#pragma once

#include "cel/Cel.h"

#include "cel/detail/counts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// The objects of sections that an operation takes out. They are destroyed when it is over and the
/// track is whole again, in the order in which the sections went.
class Cel::RemovedObjects
{
public:
    /// Makes room for the objects of all events, if the track has any objects at all.
    explicit RemovedObjects(Cel& track)
        : track_(track)
        , hasObjects_(track.keepsSegmentObjects())
    {
        if (hasObjects_)
            ids_.reserve(track.events_.size());
    }
    RemovedObjects(const RemovedObjects&) = delete;
    RemovedObjects& operator=(const RemovedObjects&) = delete;
    ~RemovedObjects()
    {
        for (const IdStamp& id : ids_)
            track_.destroySegmentObject(id);
    }

    void add(const ChannelEvent& event)
    {
        if (hasObjects_ && (event.info() & in_point))
            ids_.push_back(event.editGraph());
    }

private:
    Cel& track_;
    const bool hasObjects_;
    std::vector<IdStamp> ids_;
};

/// One pass over a track that takes events out: those that stay move up over those that went.
/// Until it is over the events before `write` are final and those from `read` on are as they were.
/// Nothing in it can fail; and when something around it does, what was not looked at stays.
class Cel::Compaction
{
public:
    /// @param removed  receives the sections that go.
    Compaction(Cel& track, RemovedObjects& removed)
        : track_(track)
        , pending_(track.pendingInIndex_)
        , removed_(removed)
    {
    }
    Compaction(const Compaction&) = delete;
    Compaction& operator=(const Compaction&) = delete;

    /// Keeps what was not looked at and gives the track its new length.
    ~Compaction()
    {
        if (read < track_.events_.size())
            keep(track_.events_.size() - read);
        if (read == write)
            return;
        track_.events_.erase(track_.events_.begin() + static_cast<std::ptrdiff_t>(write),
                             track_.events_.end());
        track_.dirty_ = 1;
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
            removed_.add(event);
        }
    }

private:
    bool followsPending(std::size_t count) const
    {
        return pending_ >= 0 && pendingIndex() >= read && pendingIndex() < read + count;
    }
    std::size_t pendingIndex() const { return static_cast<std::size_t>(pending_); }

    Cel& track_;
    const std::int32_t pending_; ///< where the open section began before the pass
    RemovedObjects& removed_;
};

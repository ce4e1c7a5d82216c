#pragma once

#include "cel/detail/event_array.h"
#include "cel/detail/event_search.h"

/// The shots of a track on the bare array: its sections that play something and have a length.
namespace cel::detail {

/// Places of a section's in point and out point.
struct Section
{
    int in = 0;
    int out = 0;
};

inline const ChannelEvent& eventAt(ConstEventSpan events, int index)
{
    return events[static_cast<std::size_t>(index)];
}

inline bool isShot(ConstEventSpan events, const Section& section)
{
    const ChannelEvent& in = eventAt(events, section.in);
    const ChannelEvent& out = eventAt(events, section.out);
    return !in.strip_name().isBlack() && isRealTime(in.edit_time()) &&
           isRealTime(out.edit_time()) && isAfter(out.edit_time(), in.edit_time());
}

/// Walks over the shots from the first to the last; sections without an end are none.
///
///     for (Shots shots(events); !shots.done(); shots.next())
///         use(shots.shot());
class Shots
{
public:
    explicit Shots(ConstEventSpan events)
        : events_(events)
    {
        next();
    }

    bool done() const { return done_; }
    const Section& shot() const { return shot_; }

    void next()
    {
        const auto size = static_cast<int>(events_.size());
        while (!done_) {
            shot_.in = nextIn(events_, behind_);
            shot_.out = shot_.in < size ? matchingOut(events_, shot_.in) : size;
            behind_ = shot_.out + 1;
            done_ = shot_.out >= size;
            if (!done_ && isShot(events_, shot_))
                return;
        }
    }

private:
    ConstEventSpan events_;
    Section shot_;
    int behind_ = 0;
    bool done_ = false;
};

} // namespace cel::detail

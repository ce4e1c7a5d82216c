#pragma once

#include "cel/detail/event_search.h"
#include "cel/detail/grid.h"

#include <cstddef>
#include <span>
#include <vector>

/// One edit of a stretch of events, worked out before anything changes.
namespace cel::detail {

struct Splice
{
    std::size_t first = 0;            ///< the events from here ...
    std::size_t end = 0;              ///< ... to here go
    std::vector<ChannelEvent> events; ///< these take their place
    std::size_t moving = 0;           ///< those from here on move with the rest of the track,
    double closed = 0.0;              ///< by these seconds
    double opened = 0.0;              ///< and these, onto the grid
    bool ontoGrid = false;

    /// Where what moves begins in the events that come out.
    std::size_t boundary() const { return first + moving; }
};

/// The events of a track as a splice will leave them, for looking before it is made. What it opens
/// and the grid are left out.
class SplicedEvents
{
public:
    struct Entry
    {
        double edit_time() const { return time; }
        ce_info info() const { return kind; }
        double time;
        ce_info kind;
    };

    /// Both must outlive the view.
    SplicedEvents(std::span<const ChannelEvent> events, const Splice& splice)
        : events_(events)
        , splice_(splice)
    {
    }

    std::size_t size() const
    {
        return events_.size() - (splice_.end - splice_.first) + splice_.events.size();
    }

    Entry operator[](std::size_t index) const
    {
        const ChannelEvent& found = event(index);
        const bool moves = index >= splice_.boundary() && splice_.closed != 0.0;
        return {moves ? found.edit_time() + splice_.closed : found.edit_time(), found.info()};
    }

    /// The event itself, where it was before it moved.
    const ChannelEvent& event(std::size_t index) const
    {
        if (index < splice_.first)
            return events_[index];
        const std::size_t behind = index - splice_.first;
        return behind < splice_.events.size() ? splice_.events[behind] : events_[inTrack(index)];
    }

    /// Index on the track of an event behind the splice's own.
    std::size_t inTrack(std::size_t index) const
    {
        return index - splice_.events.size() + (splice_.end - splice_.first);
    }

private:
    std::span<const ChannelEvent> events_;
    const Splice& splice_;
};

/// Where an insertion goes.
struct InsertionPlace
{
    double at = 0.0;
    int index = 0;
    CutPlace cut;             ///< the section that the material splits, if it does
    bool inGap = false;       ///< no section holds the place: black fills up to it
    double blackBehind = 0.0; ///< seconds by which the track is pushed later as well
};

/// Half a frame before its end a track is over: what is put there follows its last section.
template <class Events>
bool isOver(const Events& events, double t, double frame)
{
    return events.size() == 0 || isAfter(t + frame * 0.5, events[events.size() - 1].edit_time());
}

/// The section that an insertion at `t` meets: its in point stands there, or it is split. None in a
/// hole and where the track is over.
template <class Events>
CutPlace sectionAt(const Events& events, double t, double frame)
{
    return isOver(events, t, frame) ? CutPlace() : placeOfCut(events, t);
}

/// Where an insertion at `at` goes among events.
template <class Events>
InsertionPlace placeOfInsertion(const Events& events, double at, double frame)
{
    InsertionPlace place;
    place.at = at;
    place.cut = sectionAt(events, at, frame);
    if (place.cut.kind != CutPlace::atInPoint) {
        // Where no section begins, material goes to the frames of the track.
        place.at = toGrid(at, frame);
        place.cut = sectionAt(events, place.at, frame);
    }
    place.index = place.cut.in;
    place.inGap = place.cut.kind == CutPlace::nowhere;
    if (!place.inGap)
        return place;

    const int count = static_cast<int>(events.size());
    if (count > 0 && isOver(events, place.at, frame)) {
        place.index = count;
    } else if (place.at < 0.0) {
        place.blackBehind = -place.at;
        place.at = 0.0;
        place.index = 0;
    } else {
        // In a hole, or before a late first event: in front of what comes next.
        for (place.index = 0; place.index < count; ++place.index) {
            const auto& event = events[static_cast<std::size_t>(place.index)];
            if (event.info() == in_point && isAfter(event.edit_time(), place.at))
                break;
        }
    }
    return place;
}

} // namespace cel::detail

#pragma once

#include "cel/detail/event_array.h"

#include <cstddef>
#include <vector>

/// Ripple trims on the bare array.
namespace cel::detail {

/// An event that is selected for trimming.
struct TrimSelection
{
    int index;
    int in; ///< in point of its section, -1 when there is none
    trim_type type;
};

/// What one walk over the trim selections finds.
struct TrimScan
{
    double allowed = 0.0;
    std::vector<TrimSelection> selected;
};

inline bool feedsBlack(trim_type trim)
{
    return trim == trim_black || trim == trim_roll_black;
}

/// Trims sections one after the other, from the front to the end of a track: what each leaves
/// behind for the events after it is added up and applied to them once. A section may be trimmed
/// several times in a row. One pass over the events, whatever the number of trims.
class RippleTrims
{
public:
    explicit RippleTrims(EventSpan events)
        : events_(events)
    {
    }
    RippleTrims(const RippleTrims&) = delete;
    RippleTrims& operator=(const RippleTrims&) = delete;
    ~RippleTrims() { settleUpTo(events_.size()); }

    /// Trims the section of an in point by `d`: with `trim_start` the material before it appears or
    /// goes, else its end moves. What follows moves along.
    void trim(std::size_t in, double d, trim_type type);

    /// Moves an in point by its own black selection, with `trim_black` all that follows too, but
    /// not in front of the event before it. @return by how much.
    double feedBlack(std::size_t in, double d);

private:
    /// Where a trim laid the events of its section: on the line that its in point began then.
    struct Line
    {
        std::size_t end = 0;
        double moved = 0.0;
        double edit = 0.0;
        double strip = 0.0;
        double speed = 0.0;
    };

    void settleUpTo(std::size_t end);

    EventSpan events_;
    std::size_t settled_ = 0; ///< events before this are done
    double moved_ = 0.0;      ///< seconds by which all others have moved
    Line line_;
};

} // namespace cel::detail

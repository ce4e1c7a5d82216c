#pragma once

#include "cel/detail/event_array.h"
#include "cel/detail/event_search.h"

#include <cstddef>
#include <utility>
#include <vector>

/// Sections on the bare array: cutting one in two, and putting events in the place of others.
namespace cel::detail {

using EventVector = std::vector<ChannelEvent>;

/// What becomes of a section that is cut: two sections that meet and together play the same.
struct SectionCut
{
    ChannelEvent firstIn;
    ChannelEvent firstOut;
    ChannelEvent secondIn;
    ChannelEvent secondOut;
};

/// Cuts a section at a time inside it. The second half keeps the identifiers, the first gets fresh
/// ones. The in point's ramp goes with the first half, neither half keeps a ramp longer than
/// itself.
/// @throws Kt::Exception::RuntimeError "Cel::get_strip_level: edit_times out of range" when the
/// section is longer than 1e12 s, since the level at the cut cannot be told then.
SectionCut cutSection(const ChannelEvent& in, const ChannelEvent& out, double t, double resolution);

/// Level of a section at a time inside it, on the straight line between its ends.
float levelAt(const ChannelEvent& in, const ChannelEvent& out, double t);

/// Limits the ramp of an event to `seconds` of its track, in whole frames.
void limitRamp(ChannelEvent& event, double seconds, double resolution);

/// Puts `with` in the place of `removed` events from `first` on; the tail moves once. Does not fail
/// when there is room.
void replaceEvents(EventVector& events, std::size_t first, std::size_t removed,
                   ConstEventSpan with);

/// A section of black from `start` to `end`, at normal speed from strip time 0: in and out point.
std::pair<ChannelEvent, ChannelEvent> blackSection(const Cookie& black, double start, double end);
void appendBlack(EventVector& events, const Cookie& black, double start, double end);

/// A place behind an out point where a section of black goes.
struct BlackGap
{
    std::size_t out;
    Cookie black;
    bool empty; ///< of no length; else up to the next in point
};

} // namespace cel::detail

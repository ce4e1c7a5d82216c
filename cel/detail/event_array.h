#pragma once

#include "cel/ChannelEvent.h"

#include <cmath>
#include <span>

/// Steps of track operations on the bare array of events. They know nothing of tracks, and are
/// safe on any array, also one that a damaged file left behind.
namespace cel::detail {

using EventSpan = std::span<ChannelEvent>;
using ConstEventSpan = std::span<const ChannelEvent>;

/// Magic type of identifiers that no object store knows.
inline constexpr int kTemporaryId = 1;

/// Whether events of this material count as material of a track: all that was recorded, and what
/// was made but black.
inline bool countsAsMaterial(const Cookie& cookie)
{
    return cookie.getInt3() != Cookie::kSynthetic || cookie.isInput() || cookie.isEffectGraph() ||
           cookie.isEffect() || cookie.isMix50();
}

/// Index of the last event that is not after `t` (within the tolerance) and of a kind in the
/// filter, -1 when `t` lies before the first or after the last event or is a NaN.
/// @param seed  event to gallop from, or -1 to search the whole array.
/// O(log n); O(log distance) from a seed; more only over events at the same time.
int findEvent(ConstEventSpan events, double t, ce_info filter, int seed);

/// Index of the in point (out point) of the section that event `index` belongs to: its own, or the
/// nearest before (after); -1 (the size) when there is none. O(1) on sections without level
/// changes.
int matchingIn(ConstEventSpan events, int index);
int matchingOut(ConstEventSpan events, int index);

/// Index of the first in point from `index` on; the size when there is none.
int nextIn(ConstEventSpan events, int index);

/// Whether the trim of an event's cut is shown at the event. `in` is the in point of its section,
/// null when there is none: an in point is marked by its own selection of black, an out point by
/// its selection of the end unless that of its in point turns it round.
bool trimMark(const ChannelEvent& event, const ChannelEvent* in);

/// Adds `seconds` to the edit time of every event.
void shiftEditTimes(EventSpan events, double seconds);

/// Moves every event by `closed` seconds, then by `opened`, then onto the grid: added one after the
/// other, as two edits would. @return whether that changed any time.
bool shiftOntoGrid(EventSpan events, double closed, double opened, double quantum);

/// Lays the events on the line that their first one begins: strip = in.strip + speed x (edit -
/// in.edit).
void layOnStripLine(EventSpan section, double speed);

/// Speed to calculate with: normal for an event whose velocity was never set or is no number.
double effectiveSpeed(const ChannelEvent& event);

/// Whether a velocity says anything: it is finite and not the unset value.
inline bool isSetVelocity(float velocity)
{
    return std::isfinite(velocity) && velocity != kUnsetVelocity;
}

} // namespace cel::detail

#pragma once

#include "interchange/edl_list.h"

/// From the lines of an edit list to events that play: times in frames, transitions settled, speeds
/// and names with the events they are meant for. Each step enters into the ledger what it gives up.

namespace cel::edl {

/// Fills in the frames of every event. Events whose timecode cannot be read no longer play.
void resolveTimes(EditList& list, const FrameRate& rate, LossLedger& losses);

/// Transitions become cuts at their start: their outgoing half no longer plays, and the clip names
/// go to the event each is of. Events without length or channel no longer play.
void settleTransitions(EditList& list, LossLedger& losses);

/// Gives the speeds to the events of their reel and source timecode.
void attachSpeeds(EditList& list, LossLedger& losses);

/// Notes where source and record last differently and no speed explains it.
void compareDurations(const EditList& list, const FrameRate& rate, LossLedger& losses);

/// Speed of an event as a multiple of normal. M2 lines count frames of the list in a second of its
/// timecode, so 030.0 is normal speed in a 29.97 list as well.
double velocityOf(const Event& event, const FrameRate& rate);

/// For the ledger: "event 004", a timecode as it is written, "1 frame".
std::string nameOf(const Event& event);
std::string timecodeText(const TimecodeFields& fields);
std::string framesText(std::int64_t count);

} // namespace cel::edl

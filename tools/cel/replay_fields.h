#pragma once

#include "tools/cel/replay_session.h"

#include <string>
#include <string_view>

/// The parts of an event by the names that scripts give them. Each way to reach them is a surface
/// of the library of its own, so none of them stands for another.
namespace cel::replay {

/// [type, int1, int2, int3] or with a fifth number, the version.
Cookie cookieFrom(const Value& value);

/// The kinds of events that a number selects.
ce_info kindsFrom(const Value& value);

/// How a number selects for trimming.
trim_type trimFrom(const Value& value);

/// The stretch between two times, in either order.
Cel::Range rangeFrom(const Value& start, const Value& end);

/// Straight into the event, past every check.
void setField(Session& session, ChannelEvent& event, std::string_view field, const Value& value);

/// A fresh event, changed in the fields that the object names.
ChannelEvent eventFrom(Session& session, const Value& object);

/// Through the setter of a handle.
void setThroughHandle(Session& session, ce_handle& h, std::string_view field, const Value& value);

/// Through the getter of the track or of the handle; some ask at an edit time.
std::string getFromTrack(std::string_view field, const Cel& track, const ce_handle& h, double t);
std::string getThroughHandle(std::string_view field, const ce_handle& h, double t);

/// Of a `get`: the edit time where one is given, else that which asks for the event's own.
double timeOrOwn(Arguments arguments, std::size_t index);

} // namespace cel::replay

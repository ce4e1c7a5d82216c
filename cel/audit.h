#pragma once

#include "platform/export.h"

#include <string>
#include <vector>

class Cel;

namespace cel {

/// How much a finding matters.
enum class Severity {
    note,    ///< worth knowing; nothing is wrong with what plays
    warning, ///< plays, but not as it seems, or a stored form would lose something
    fault,   ///< an invariant of the track is broken
};

/// One broken invariant: its name (one word, for scripts), the event, the edit time in seconds, and
/// a sentence for a person.
struct Finding
{
    const char* invariant;
    int index;   ///< of the event; -1 when the whole track is meant
    double time; ///< edit time of that event; 2e81 when the whole track is meant
    Severity severity;
    std::string text;
};

/// Checks every invariant of a track, whatever it holds, and lists what is broken in the order of
/// its events; an empty answer means a well-formed track. One pass; changes nothing.
CEL_API std::vector<Finding> audit(const Cel& track);

/// Names of all invariants that `audit` knows, each with a sentence on what it demands.
struct InvariantInfo
{
    const char* name;
    const char* demand;
};
CEL_API const std::vector<InvariantInfo>& auditedInvariants();

/// "note", "warning", "fault".
CEL_API const char* describe(Severity severity);

} // namespace cel

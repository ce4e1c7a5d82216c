#pragma once

#include "platform/export.h"

#include <cstdint>

class Cel;

namespace cel {

/// The state of a track that none of its own accessors shows.
struct CelState
{
    std::int32_t
        eventCount; ///< events counted as material; a stored track keeps what its file said
    std::int32_t blackEventCount; ///< events counted as black, likewise
    std::int32_t pendingInIndex;  ///< in point of the section that is still open, or -1
};

/// For tools and tests. O(1).
CEL_API CelState inspect(const Cel& track);

/// Whether every section runs forward and none begins later than the one before it ends. O(n).
CEL_API bool sectionsMeet(const Cel& track);

/// Whether a loaded track's events are put in order. Read once, when the library is loaded, from
/// the setting "fix_out_of_order_events" (1 unless configured); this changes it afterwards.
/// @return what it was.
CEL_API bool setOrderRepair(bool enabled);

} // namespace cel

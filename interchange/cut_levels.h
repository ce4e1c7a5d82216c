#pragma once

#include "interchange/Cut.h"
#include "tracks/AudLevelsCel.h"
#include "tracks/level_accuracy.h"

#include <string_view>

/// The level envelopes of a cut's tracks. Each is one of the cut's objects, named as the levels of
/// its track under the identity of the track's channel; copies of a cut share it.

namespace cel {

/// What an envelope is to its track among the objects of a cut.
inline constexpr std::string_view kLevelsRole = "levels";

/// The envelope of a track; invalid when it has none, which plays as one at unity does. It takes
/// its resolution from the track, for no file keeps it.
AudLevelsCel levelsOf(const Cut& cut, const Cel& track);

/// Gives a track an envelope in place of the one that it has; an invalid one only takes that away.
/// A track whose channel has no identity is given one. An envelope under the identity of one of
/// another track, as a clone of that is, gets an identity of its own.
void setLevels(Cut& cut, Cel& track, const AudLevelsCel& levels);

/// An envelope at unity from the start to the end of a track; without nodes for an empty track.
AudLevelsCel flatLevels(const Cel& track);

/// How an envelope would differ once it was stored and read back: of nodes at one time only the
/// first is stored.
LevelError errorOfStoring(const AudLevelsCel& levels);

} // namespace cel

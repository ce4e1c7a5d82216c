#pragma once

#include "tools/cel/replay_session.h"

namespace cel::replay {

/// A track that reports the calls of its hooks.
/// @param printer  outlives the track.
Kt::Ptr<Cel> makeHookedTrack(Printer& printer, double resolution);

} // namespace cel::replay

#pragma once

#include "tracks/AudCel.h"

namespace cel {

/// Makes the two working lists of an audio track's crossfades. Whoever plays a crossfade lets the
/// outgoing shot of one list go on under the incoming one of the other.
class CEL_API CrossfadeBuilder
{
public:
    /// The lists of the track as it is (`Cel::cfade_lists`), which are valid from now on. Nothing
    /// happens to a track without a list. One pass.
    static void build(AudCel& track);

    /// Lists that somebody else made; either may be null.
    static void set(AudCel& track, const Kt::Ptr<Cel>& first, const Kt::Ptr<Cel>& second);
};

} // namespace cel

#pragma once

#include "cel/Cel.h"

#include <cstddef>
#include <string_view>

class PStream;

/// What the writer and the reader of a cut's stream agree on.

namespace cel {

inline constexpr std::string_view kCutLayer = "P";
inline constexpr unsigned char kCutRevision = 1;
inline constexpr std::string_view kMaterialLayer = "M";

/// Tracks that a stream holds at most.
inline constexpr std::size_t kMostTracks = 1000;

/// An empty track for the layer of that name to be read into; null for layers of anything else.
Kt::Ptr<Cel> trackForLayer(PStream& stream, const LightweightString<char>& layer);

} // namespace cel

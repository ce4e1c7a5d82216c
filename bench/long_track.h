#pragma once

#include "cel/Cel.h"

#include <cstdint>
#include <random>

namespace cel::bench {

/// Frame duration of the tracks.
inline constexpr double kFrame = 1.0 / 25;

/// The same sequence in every run, so that runs can be compared.
using Random = std::mt19937_64;

/// A track of sections from 2 to 8 s; every fourth one is black, the others play one of 100 shots.
/// @param version  of the references to the shots; 1 makes the track be stored in pair records.
Kt::Ptr<Cel> longTrack(std::size_t sections, unsigned char version = 0);

} // namespace cel::bench

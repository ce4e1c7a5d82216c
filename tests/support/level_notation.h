#pragma once

#include "platform/audio/DynamicLevelControl.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Level envelopes as text.
///
///     [0=1 2=0.5 4=1] 6=0.25*
///
/// are nodes, each its time, '=' and its level; in front of a start guard stands '[', behind an end
/// guard ']', behind a node in black '*'. A type beyond these follows as '/' and its number.
/// Numbers may be anything that `std::from_chars` reads.
namespace cel::test {

/// The nodes of a notation, in its order.
/// @throws std::invalid_argument for text that is no notation.
std::vector<Aud::DynamicLevelControl::Store::Node> levelNodes(std::string_view notation);

/// A store with these nodes, put in one after the other.
Aud::DynamicLevelControl::Store levels(std::string_view notation, double quantum = 0.01);

/// The notation of nodes, times rounded to 1e-9 and levels to 1e-6.
std::string describe(std::span<const Aud::DynamicLevelControl::Store::Node> nodes);

} // namespace cel::test

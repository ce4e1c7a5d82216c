#pragma once

#include "tracks/AudLevelsCelRep.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

/// Envelopes as the bodies of their layers.
namespace cel::test {

struct DecodedLevels
{
    Kt::Ptr<AudLevelsCelRep> levels;
    std::string notes; ///< the stream's error text
    bool atEnd = false;
};

DecodedLevels decodeLevels(std::span<const std::byte> body, int revision);

/// The body of the layer that an envelope is written as; its revision must be 3.
std::vector<std::byte> encodeLevels(const AudLevelsCelRep& levels);

} // namespace cel::test

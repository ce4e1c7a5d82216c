#pragma once

#include "cel/audit.h"
#include "platform/audio/DynamicLevelControl.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cel::tool {

/// Something wrong with a node of a level envelope.
struct LevelFinding
{
    Severity severity;
    const char* invariant; ///< one word, for scripts
    std::string text;
    std::size_t index; ///< of the node
    double time;
};

/// All that is wrong with the nodes of an envelope, in their order: times and levels that are no
/// numbers, levels below silence, nodes at one time, and unknown types.
std::vector<LevelFinding> auditLevels(const Aud::DynamicLevelControl::Store& levels);

} // namespace cel::tool

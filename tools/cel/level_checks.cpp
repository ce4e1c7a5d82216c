#include "tools/cel/level_checks.h"

#include "cel/edit_time.h"

#include <cmath>

namespace cel::tool {

namespace {

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

bool isKnown(Store::eNodeType type)
{
    return type == Store::kOrdinary || type == Store::kStartGuard || type == Store::kEndGuard;
}

} // namespace

std::vector<LevelFinding> auditLevels(const Store& levels)
{
    std::vector<LevelFinding> findings;
    const auto nodes = levels.nodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        const auto report = [&](const char* invariant, Severity severity, const char* text) {
            findings.push_back({severity, invariant, text, i, node.getRawTime()});
        };
        if (!std::isfinite(node.getRawTime()))
            report("level-time", Severity::fault, "its time is no number");
        else if (i > 0 && node.getRawTime() - nodes[i - 1].getRawTime() < kTimeEpsilon)
            report("level-time", Severity::note, "the node in front of it lies at the same time");
        if (!std::isfinite(node.getLevel()))
            report("level-value", Severity::fault, "its level is no number");
        else if (node.getLevel() < 0.0F)
            report("level-value", Severity::warning, "its level is below silence");
        if (!isKnown(node.getNodeType()))
            report("level-type", Severity::note,
                   "it is of no known type and counts as an ordinary one");
    }
    return findings;
}

} // namespace cel::tool

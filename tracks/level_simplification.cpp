#include "platform/foundation/compare.h"
#include "platform/support/Log.h"
#include "platform/support/config.h"
#include "tracks/AudLevelsCelRep.h"
#include "tracks/detail/area_method.h"
#include "tracks/detail/level_rewrite.h"

#include <algorithm>
#include <atomic>
#include <cmath>

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

namespace {

constexpr double kDefaultMaxArea = 0.015;

enum Style { kBySlope = 1, kByArea = 2 };

/// The style that the last thinning of a whole envelope used; what is new is reported.
std::atomic<int> lastStyle = 0;

/// Thins the nodes with the indices `begin` to `end`, run by run: the first and the last of each
/// run stay. The step from one run to the next is never looked at.
void thinByArea(Store& nodes, std::size_t begin, std::size_t end, double maxArea, bool keepGuards)
{
    if (nodes.size() < 3)
        return;
    std::size_t runBegin = begin;
    std::size_t runEnd = begin;
    nodes.eraseEach([&](std::size_t i) {
        if (i < begin || i >= end)
            return false;
        if (i == runEnd) {
            runBegin = i;
            runEnd = cel::detail::endOfStraightRun(nodes.nodes(), i, end, maxArea);
        }
        const bool inside = runBegin < i && i + 1 < runEnd;
        return inside && !(keepGuards && nodes.nodes()[i].isGuardNode());
    });
}

} // namespace

bool AudLevelsCelRep::simplify(Simplification::eType type, const Range& range)
{
    if (type != Simplification::kAll)
        return false;
    const Kt::Guard guard(lock_);
    const std::size_t countBefore = nodes_.size();
    if (valEqualsVal<double>(range.start(), range.end()))
        simplifyWhole();
    else
        simplify_section_2(range.start(), range.end());
    // Kept: callers rely on the sense as it is.
    return nodes_.size() == countBefore;
}

void AudLevelsCelRep::simplifyWhole()
{
    const int style = GlobalConfig().getValue("track_sound_simplify_style", int{kBySlope});
    if (lastStyle.exchange(style) != style)
        LogBoth("AudLevelsCel::Rep::simplify using style %d\n", style);
    removeCoincidentNodes();
    if (style == kBySlope)
        simplify1();
    else if (style == kByArea)
        simplify2();
    else
        LogBoth("Warning: style %d not known!\n", style);
}

void AudLevelsCelRep::removeCoincidentNodes()
{
    const Kt::Guard guard(lock_);
    nodes_.eraseEach([nodes = nodes_.nodes()](std::size_t i) {
        return i + 1 < nodes.size() &&
               std::fabs(nodes[i + 1].getRawTime() - nodes[i].getRawTime()) <
                   cel::detail::kNodeTolerance;
    });
}

void AudLevelsCelRep::simplify1()
{
    constexpr double kFlatStep = 0.2; ///< how the last node is compared: with a line that stays
    constexpr double kSmallStep = 0.1;
    constexpr double kSmallTurn = 0.3;

    const Kt::Guard guard(lock_);
    const std::span<const Node> nodes = nodes_.nodes();
    std::size_t left = nodes.size();
    double angleBefore = 0.0;
    nodes_.eraseEach([&](std::size_t i) {
        if (left < 2)
            return false;
        const Node& node = nodes[i];
        double step = kFlatStep;
        float rise = 0.0F;
        if (i + 1 < nodes.size()) {
            step = nodes[i + 1].getRawTime() - node.getRawTime();
            rise = nodes[i + 1].getLevel() - node.getLevel();
        }
        const double angle = std::atan(static_cast<double>(rise) / step);
        const bool runsOn = valEqualsVal<double>(angle, angleBefore) ||
                            (step < kSmallStep && std::fabs(angle - angleBefore) < kSmallTurn);
        if (!runsOn)
            angleBefore = angle;
        const bool goes = runsOn && !node.isGuardNode();
        left -= goes ? 1 : 0;
        return goes;
    });
}

void AudLevelsCelRep::simplify2()
{
    static const double maxArea = GlobalConfig().getValue("simplify2_maxArea", kDefaultMaxArea);
    const Kt::Guard guard(lock_);
    thinByArea(nodes_, 0, nodes_.size(), maxArea, true);
}

void AudLevelsCelRep::simplify_section_2(double from, double to)
{
    // Kept: read apart from the value of the whole envelope.
    static const double maxArea = GlobalConfig().getValue("simplify2_maxArea", kDefaultMaxArea);
    const Kt::Guard guard(lock_);
    const std::span<const Node> nodes = nodes_.nodes();
    const std::size_t begin = nodes_.indexOf(from);
    const auto isBehind = [to](const Node& node) { return node.getRawTime() > to; };
    const auto end =
        std::find_if(nodes.begin() + static_cast<std::ptrdiff_t>(begin), nodes.end(), isBehind);
    // Kept: guards go as well.
    thinByArea(nodes_, begin, static_cast<std::size_t>(end - nodes.begin()), maxArea, false);
}

#include "tracks/level_accuracy.h"

#include "tracks/AudLevelsCelRep.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>

namespace cel {

namespace {

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargestTime = 1e12; ///< seconds; beyond it no track reaches
constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

/// What a line must pass through at a time: levels between `lowest` and `highest`.
struct Gate
{
    double time;
    double lowest;
    double highest;
};

/// Levels that a line that stays the same may have.
struct Band
{
    double lowest = -kInfinity;
    double highest = kInfinity;

    void narrow(const Gate& gate)
    {
        lowest = std::max(lowest, gate.lowest);
        highest = std::min(highest, gate.highest);
    }
    bool holds(double level) const { return lowest <= level && level <= highest; }
    bool empty() const { return !(lowest <= highest); }
};

/// The lines from a node that pass through all gates so far, by their slopes.
class Wedge
{
public:
    explicit Wedge(const Node& apex)
        : time_(apex.getRawTime())
        , level_(apex.getLevel())
    {
    }

    void narrow(const Gate& gate)
    {
        const double length = gate.time - time_;
        if (length > 0.0) {
            lowest_ = std::max(lowest_, (gate.lowest - level_) / length);
            highest_ = std::min(highest_, (gate.highest - level_) / length);
        } else if (!(gate.lowest <= level_ && level_ <= gate.highest)) {
            highest_ = -kInfinity;
        }
    }
    bool empty() const { return !(lowest_ <= highest_); }
    bool reaches(const Node& node) const
    {
        const double length = node.getRawTime() - time_;
        if (!(length > 0.0))
            return true; // a jump: what holds on its sides is for the lines there
        const double slope = (node.getLevel() - level_) / length;
        return lowest_ <= slope && slope <= highest_;
    }

private:
    double time_;
    double level_;
    double lowest_ = -kInfinity;
    double highest_ = kInfinity;
};

/// The gates of an envelope: both ends of each of its pieces, and where a piece enters or leaves
/// the levels for which silence is near enough. In between both sides of the bound are straight,
/// or bend away from the line, so a line that passes the gates stays within it everywhere.
class Gates
{
public:
    Gates(std::span<const Node> nodes, double decibels)
        : ratio_(std::pow(10.0, decibels / 20.0))
    {
        gates_.reserve(2 * nodes.size());
        firstOf_.reserve(nodes.size() + 1);
        for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
            firstOf_.push_back(gates_.size());
            addPiece(nodes[i], nodes[i + 1]);
        }
        firstOf_.push_back(gates_.size());
    }

    /// Those of the piece from a node to the next one; none of a jump.
    std::span<const Gate> ofPiece(std::size_t node) const
    {
        return std::span(gates_).subspan(firstOf_[node], firstOf_[node + 1] - firstOf_[node]);
    }

    /// That of a level that is held.
    Gate held(const Node& node) const
    {
        const double level = node.getLevel();
        return {node.getRawTime(), lowestFor(level, level > ratio_ * kSilentLevel),
                highestFor(level)};
    }

private:
    /// @param audible  whether silence is too far from the levels next to this one.
    double lowestFor(double level, bool audible) const
    {
        return audible ? std::max(level, ratio_ * kSilentLevel) / ratio_ : -kInfinity;
    }
    double highestFor(double level) const { return ratio_ * std::max(level, kSilentLevel); }

    void addPiece(const Node& a, const Node& b)
    {
        const double length = b.getRawTime() - a.getRawTime();
        if (!(length > 0.0))
            return;
        const double from = a.getLevel();
        const double to = b.getLevel();
        const double audible = ratio_ * kSilentLevel;
        // A level at the edge counts by the levels next to it on this piece.
        const bool fromAudible = from > audible || (from == audible && to > audible);
        const bool toAudible = to > audible || (to == audible && from > audible);
        gates_.push_back({a.getRawTime(), lowestFor(from, fromAudible), highestFor(from)});
        for (const double edge : {kSilentLevel, audible}) {
            if ((from - edge) * (to - edge) < 0.0)
                gates_.push_back({a.getRawTime() + length * ((edge - from) / (to - from)),
                                  lowestFor(edge, edge == audible), highestFor(edge)});
        }
        gates_.push_back({b.getRawTime(), lowestFor(to, toAudible), highestFor(to)});
    }

    double ratio_;
    std::vector<Gate> gates_;
    std::vector<std::size_t> firstOf_;
};

bool isReal(const Node& node)
{
    return std::isfinite(node.getLevel()) && std::fabs(node.getRawTime()) <= kLargestTime;
}

std::vector<bool> pinnedNodes(std::span<const Node> nodes)
{
    std::vector<bool> pinned(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].isGuardNode())
            pinned[i] = true;
        if (i > 0 && nodes[i].isInAudioBlack() != nodes[i - 1].isInAudioBlack())
            pinned[0] = pinned[i] = true;
        if (!isReal(nodes[i])) {
            for (std::size_t k = i - std::min<std::size_t>(i, 1); k <= i + 1 && k < nodes.size();
                 ++k)
                pinned[k] = true;
        }
    }
    return pinned;
}

/// Looks for the shortest way from one pinned node to the next, or from and to the ends, along
/// lines that pass the gates: all nodes that one line reaches, then all that two reach, and so on.
class Search
{
public:
    Search(std::span<const Node> nodes, double decibels)
        : nodes_(nodes)
        , gates_(nodes, decibels)
        , reached_(nodes.size())
        , before_(nodes.size(), kNone)
        , holdsToEnd_(nodes.size())
    {
        Band band;
        band.narrow(gates_.held(nodes.back()));
        for (std::size_t i = nodes.size(); i-- > 0;) {
            holdsToEnd_[i] = band.holds(nodes[i].getLevel()) || i + 1 == nodes.size();
            if (i > 0)
                for (const Gate& gate : gates_.ofPiece(i - 1))
                    band.narrow(gate);
        }
    }

    /// The fewest nodes between a pinned node (kNone: the front) and a later one (kNone: the end),
    /// both not counted.
    std::vector<std::size_t> between(std::size_t from, std::size_t to)
    {
        goal_ = to;
        last_ = kNone;
        found_ = from != kNone && to == kNone && holdsToEnd_[from];
        layer_.clear();
        if (!found_) {
            if (from == kNone)
                holdFromFront();
            else
                leave(from);
        }
        std::vector<std::size_t> layer;
        while (!found_) {
            layer.swap(layer_);
            layer_.clear();
            // From the far ones first: they come to the goal soonest.
            while (!found_ && !layer.empty()) {
                leave(layer.back());
                layer.pop_back();
            }
        }
        std::vector<std::size_t> way;
        for (std::size_t i = last_; i != kNone && i != from; i = before_[i])
            way.push_back(i);
        std::reverse(way.begin(), way.end());
        return way;
    }

private:
    std::size_t lastToLookAt() const { return goal_ == kNone ? nodes_.size() - 1 : goal_; }

    /// Reaches all nodes whose level may be held from the front on.
    void holdFromFront()
    {
        Band band;
        band.narrow(gates_.held(nodes_.front()));
        for (std::size_t i = 0; i <= lastToLookAt() && !found_; ++i) {
            if (i > 0)
                for (const Gate& gate : gates_.ofPiece(i - 1))
                    band.narrow(gate);
            if (i == 0 || band.holds(nodes_[i].getLevel()))
                reach(i, kNone);
            if (band.empty())
                return;
        }
    }

    /// Reaches all nodes to which a line may run from this one.
    void leave(std::size_t from)
    {
        Wedge wedge(nodes_[from]);
        for (std::size_t i = from + 1; i <= lastToLookAt() && !found_; ++i) {
            for (const Gate& gate : gates_.ofPiece(i - 1))
                wedge.narrow(gate);
            // The line to the next node is the original's own.
            if (i == from + 1 || wedge.reaches(nodes_[i]))
                reach(i, from);
            if (wedge.empty())
                return;
        }
    }

    void reach(std::size_t node, std::size_t from)
    {
        if (node == goal_) {
            found_ = true;
            last_ = from;
        } else if (!reached_[node]) {
            reached_[node] = true;
            before_[node] = from;
            layer_.push_back(node);
            if (goal_ == kNone && holdsToEnd_[node]) {
                found_ = true;
                last_ = node;
            }
        }
    }

    std::span<const Node> nodes_;
    Gates gates_;
    std::vector<bool> reached_;
    std::vector<std::size_t> before_; ///< of each reached node, the one that its line comes from
    std::vector<bool> holdsToEnd_;    ///< whether a node's level may be held from it on
    std::size_t goal_ = kNone;
    std::size_t last_ = kNone; ///< the node in front of the goal, once it is found
    bool found_ = false;
    std::vector<std::size_t> layer_; ///< nodes that the last step reached first
};

} // namespace

std::vector<std::size_t> fewestNodesWithin(const Store& levels, double decibels)
{
    const std::span<const Node> nodes = levels.nodes();
    std::vector<std::size_t> chosen;
    if (nodes.empty())
        return chosen;
    const bool anyDistance = decibels >= 0.0;
    if (!anyDistance) {
        chosen.resize(nodes.size());
        std::iota(chosen.begin(), chosen.end(), std::size_t{0});
        return chosen;
    }
    const std::vector<bool> pinned = pinnedNodes(nodes);
    Search search(nodes, decibels);
    const auto choose = [&](std::size_t from, std::size_t to) {
        const std::vector<std::size_t> way = search.between(from, to);
        chosen.insert(chosen.end(), way.begin(), way.end());
    };
    std::size_t before = kNone;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (pinned[i]) {
            choose(before, i);
            chosen.push_back(i);
            before = i;
        }
    }
    choose(before, kNone);
    return chosen;
}

} // namespace cel

std::size_t AudLevelsCelRep::thinToWithin(double decibels)
{
    const Kt::Guard guard(lock_);
    const std::vector<std::size_t> chosen = cel::fewestNodesWithin(nodes_, decibels);
    const std::size_t erased = nodes_.size() - chosen.size();
    auto next = chosen.begin();
    nodes_.eraseEach([&](std::size_t i) {
        const bool stays = next != chosen.end() && *next == i;
        next += stays ? 1 : 0;
        return !stays;
    });
    return erased;
}

#include "tools/cel/envelope_edit.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;
using Node = Store::Node;

AudLevelsCel::Range rangeOf(const TimeRange& range)
{
    return {range.from, range.to};
}

enum class Order { kept, turned };

/// Gives every node the time and type that `change` answers. Of nodes that come to lie at one time
/// the order is kept or turned.
template <class Change>
void rewrite(AudLevelsCel& levels, Order order, const Change& change)
{
    Store& store = levels.getNodeStore();
    std::vector<Node> nodes;
    nodes.reserve(store.size());
    for (const Node& node : store.nodes())
        nodes.push_back(change(node));
    if (order == Order::turned)
        std::reverse(nodes.begin(), nodes.end());
    std::stable_sort(nodes.begin(), nodes.end(),
                     [](const Node& a, const Node& b) { return a.getRawTime() < b.getRawTime(); });
    store.splice(0, store.size(), nodes, 0.0);
}

Node moved(const Node& node, double time)
{
    return {time, node.getLevel(), node.getNodeType(), node.isInAudioBlack()};
}

/// Where the cut is that a node belongs to: an end guard stands a quantum in front of its own.
double placeOf(const Node& node, double quantum)
{
    return node.getRawTime() + (node.isEndGuard() ? quantum : 0.0);
}

} // namespace

double EnvelopeEdit::quantum() const
{
    constexpr double kQuantaPerFrame = 4.0;
    return levels_.getResolution() / kQuantaPerFrame;
}

void EnvelopeEdit::requireOne()
{
    if (!levels_.valid())
        levels_ = flat_.clone();
}

AudLevelsCel EnvelopeEdit::constant(float level, bool black) const
{
    AudLevelsCel source(flat_.getResolution());
    source.insertNode({0.0, level, Store::kOrdinary, black});
    return source;
}

void EnvelopeEdit::remove(const TimeRange& range)
{
    levels_.remove(rangeOf(range));
    mergeCoincident(levels_);
}

void EnvelopeEdit::insert(const AudLevelsCel& source, const TimeRange& range, double at)
{
    if (source.valid())
        requireOne();
    levels_.insert(source.valid() ? source : AudLevelsCel(flat_.getResolution()), rangeOf(range),
                   at, {});
    mergeCoincident(levels_);
}

void EnvelopeEdit::insertBlack(double at, double length)
{
    if (!(length > 0.0))
        return;
    levels_.insert(AudLevelsCel::createInvalid(), {0.0, length}, at, {});
    mergeCoincident(levels_);
}

void EnvelopeEdit::replace(const AudLevelsCel& source, const TimeRange& range, double at)
{
    if (source.valid())
        requireOne();
    levels_.replace(source.valid() ? source : AudLevelsCel(flat_.getResolution()), rangeOf(range),
                    at, {}, Editable::kReplacePlain);
    mergeCoincident(levels_);
}

void EnvelopeEdit::replaceByBlack(double at, double length)
{
    levels_.replace(AudLevelsCel::createInvalid(), {0.0, length}, at, {}, Editable::kReplacePlain);
    mergeCoincident(levels_);
}

void EnvelopeEdit::lengthen(const TimeRange& section, double by, End end)
{
    const double at = end == End::tail ? section.to : section.from;
    if (by < 0.0)
        return remove(end == End::tail ? TimeRange{at + by, at} : TimeRange{at, at - by});
    if (!(by > 0.0))
        return;
    // At the cut itself the section behind it is heard already.
    const double inside = end == End::tail ? at - quantum() : at;
    const bool black = levels_.getNodeStore().isInAudioBlackAtTime(inside);
    levels_.insert(constant(levels_.levelAt(inside), black), {0.0, by}, at, {});
    mergeCoincident(levels_);
}

void EnvelopeEdit::move(double by)
{
    rewrite(levels_, Order::kept,
            [by](const Node& node) { return moved(node, node.getRawTime() + by); });
}

void EnvelopeEdit::mirror(double start, double end)
{
    rewrite(levels_, Order::turned, [&, quantum = quantum()](const Node& node) {
        const double place = start + end - placeOf(node, quantum);
        if (node.isStartGuard())
            return Node(place - quantum, node.getLevel(), Store::kEndGuard, node.isInAudioBlack());
        if (node.isEndGuard())
            return Node(place, node.getLevel(), Store::kStartGuard, node.isInAudioBlack());
        return moved(node, place);
    });
}

void EnvelopeEdit::rescale(const TimeRange& range, double length, bool backwards)
{
    if (!levels_.valid())
        return;
    EnvelopeEdit piece(taken(range, 0.0), flat_);
    const double factor = length / (range.to - range.from);
    rewrite(piece.levels_, Order::kept, [&, quantum = quantum()](const Node& node) {
        const double cut = placeOf(node, quantum) * factor;
        return moved(node, node.isEndGuard() ? cut - quantum : cut);
    });
    if (backwards)
        piece.mirror(0.0, length);
    remove(range);
    insert(piece.levels_, {0.0, length}, range.from);
}

AudLevelsCel EnvelopeEdit::taken(const TimeRange& range, double at) const
{
    if (!levels_.valid())
        return AudLevelsCel::createInvalid();
    EnvelopeEdit piece(AudLevelsCel(levels_.getResolution()), flat_);
    piece.insert(levels_, range, 0.0);
    piece.move(at);
    return piece.levels_;
}

void EnvelopeEdit::draw(double at, float level)
{
    requireOne();
    const bool black = levels_.getNodeStore().isInAudioBlackAtTime(at);
    levels_.insertNode({at, level, Store::kOrdinary, black});
}

void EnvelopeEdit::hold(const TimeRange& range, float level)
{
    requireOne();
    replace(constant(level, false), {0.0, range.to - range.from}, range.from);
}

bool sameNodes(const Store& a, const Store& b)
{
    const auto same = [](const Node& one, const Node& other) {
        return one.getRawTime() == other.getRawTime() && one.getLevel() == other.getLevel() &&
               one.getNodeType() == other.getNodeType() &&
               one.isInAudioBlack() == other.isInAudioBlack();
    };
    return std::equal(a.nodes().begin(), a.nodes().end(), b.nodes().begin(), b.nodes().end(), same);
}

void mergeCoincident(AudLevelsCel levels)
{
    Store& store = levels.getNodeStore();
    const auto sameTime = [](const Node& a, const Node& b) {
        return b.getRawTime() - a.getRawTime() < kTimeEpsilon;
    };
    store.eraseEach([&](std::size_t i) {
        const auto nodes = store.nodes();
        return i + 1 < nodes.size() && sameTime(nodes[i], nodes[i + 1]) &&
               nodes[i].getLevel() == nodes[i + 1].getLevel() &&
               (nodes[i + 1].isGuardNode() || !nodes[i].isGuardNode());
    });
}

} // namespace cel::tool

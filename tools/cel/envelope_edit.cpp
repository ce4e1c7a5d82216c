#include "tools/cel/envelope_edit.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;
using Node = Store::Node;

constexpr double kQuantaPerFrame = 4.0;

AudLevelsCel::Range rangeOf(const TimeRange& range)
{
    return {range.from, range.to};
}

/// Gives every node the time and type that `change` answers; nodes keep their order in time.
template <class Change>
void rewrite(AudLevelsCel& levels, const Change& change)
{
    Store& store = levels.getNodeStore();
    std::vector<Node> nodes;
    nodes.reserve(store.size());
    for (const Node& node : store.nodes())
        nodes.push_back(change(node));
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

void EnvelopeEdit::requireOne()
{
    if (!levels_.valid())
        levels_ = flat_.clone();
}

AudLevelsCel EnvelopeEdit::constant(float level) const
{
    AudLevelsCel source(flat_.getResolution());
    source.insertNode({0.0, level, Store::kOrdinary, false});
    return source;
}

void EnvelopeEdit::remove(const TimeRange& range)
{
    levels_.remove(rangeOf(range));
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
    levels_.insert(AudLevelsCel::createInvalid(), {0.0, length}, at, {});
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
}

void EnvelopeEdit::lengthen(double at, double by)
{
    if (by < 0.0)
        return remove({at + by, at});
    levels_.insert(constant(levels_.levelAt(at)), {0.0, by}, at, {});
    mergeCoincident(levels_);
}

void EnvelopeEdit::move(double by)
{
    rewrite(levels_, [by](const Node& node) { return moved(node, node.getRawTime() + by); });
}

void EnvelopeEdit::mirror(double start, double end)
{
    const double quantum = levels_.getResolution() / kQuantaPerFrame;
    rewrite(levels_, [&](const Node& node) {
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
    const double quantum = levels_.getResolution() / kQuantaPerFrame;
    rewrite(piece.levels_, [&](const Node& node) {
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
    replace(constant(level), {0.0, range.to - range.from}, range.from);
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
               nodes[i].getLevel() == nodes[i + 1].getLevel();
    });
}

} // namespace cel::tool

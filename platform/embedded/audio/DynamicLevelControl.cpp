#include "platform/audio/DynamicLevelControl.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace Aud::DynamicLevelControl {

namespace {

static_assert(std::is_trivially_copyable_v<Store::Node>, "nodes are moved as bytes");

} // namespace

double Store::quantised(const Node& node) const
{
    const double t = node.time_;
    const bool sentinel = t == 1e99 || t == 1e12 || t == 2e81;
    if (sentinel || !(quantum_ >= kTolerance))
        return t;
    return std::floor(t / quantum_ + 0.5) * quantum_;
}

std::size_t Store::indexOf(double t) const
{
    // A time that is no number is not before anything, and only others of its kind are not before
    // it: they all stand at the end.
    const auto before = [t](const Node& node) {
        return t == t ? node.time_ < t : node.time_ == node.time_;
    };
    const auto found = std::partition_point(nodes_.begin(), nodes_.end(), before);
    return static_cast<std::size_t>(found - nodes_.begin());
}

std::size_t Store::indexBehind(double t) const
{
    if (t != t)
        return size();
    const auto notBehind = [t](const Node& node) { return node.time_ <= t; };
    const auto found = std::partition_point(nodes_.begin(), nodes_.end(), notBehind);
    return static_cast<std::size_t>(found - nodes_.begin());
}

std::size_t Store::nearest(double t) const
{
    const std::size_t behind = indexBehind(t);
    const double before = behind > 0 ? t - nodes_[behind - 1].time_ : kTolerance;
    const double after = behind < size() ? nodes_[behind].time_ - t : kTolerance;
    if (after < kTolerance && !(before < after))
        return indexBehind(nodes_[behind].time_) - 1;
    return before < kTolerance ? behind - 1 : size();
}

float Store::getLevelAtTime(double t) const
{
    if (nodes_.empty())
        return 1.0F;
    const std::size_t behind = indexBehind(t);
    if (behind == 0)
        return nodes_.front().level_;
    const Node& a = nodes_[behind - 1];
    if (behind == size())
        return a.level_;
    const Node& b = nodes_[behind];
    const double share = (t - a.time_) / (b.time_ - a.time_);
    if (!(share > 0.0)) // at the node, or one of the two lies at no real time
        return a.level_;
    return static_cast<float>((1.0 - share) * a.level_ + share * b.level_);
}

bool Store::isInAudioBlackAtTime(double t) const
{
    if (nodes_.empty())
        return false;
    const std::size_t behind = indexBehind(t);
    return nodes_[behind == 0 ? 0 : behind - 1].inAudioBlack_;
}

Store::iterator Store::insert(const Node& node)
{
    const std::size_t index = nearest(node.time_);
    if (index == size())
        return insert_noAdjust(node);
    Node& here = nodes_[index];
    here.level_ = node.level_;
    here.inAudioBlack_ = node.inAudioBlack_;
    if (!here.isGuardNode())
        here.type_ = node.type_;
    return at(index);
}

Store::iterator Store::insert_noAdjust(iterator hint, const Node& node)
{
    std::size_t index = size();
    // Nodes mostly come in order; then there is nothing to search for. Those without a time keep
    // the order in which they come.
    const bool isLast =
        nodes_.empty() || nodes_.back().time_ < node.time_ || node.time_ != node.time_;
    if (!isLast)
        index = std::clamp(hint.index(), indexOf(node.time_), indexBehind(node.time_));
    nodes_.insert(nodes_.begin() + static_cast<std::ptrdiff_t>(index), node);
    return at(index);
}

void Store::insert_noAdjust(std::span<const Node> nodes)
{
    if (nodes.empty())
        return;
    const auto earlier = [](const Node& a, const Node& b) {
        return b.time_ == b.time_ ? a.time_ < b.time_ : a.time_ == a.time_;
    };
    const std::size_t index = indexBehind(nodes.front().time_);
    const bool fit = std::is_sorted(nodes.begin(), nodes.end(), earlier) &&
                     (index == size() || nodes.back().time_ < nodes_[index].time_);
    if (fit) {
        splice(index, index, nodes, 0.0);
        return;
    }
    reserve(size() + nodes.size());
    for (const Node& node : nodes)
        insert_noAdjust(node);
}

Store::iterator Store::erase_noAdjust(iterator position)
{
    if (position.index() < size())
        nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(position.index()));
    return position;
}

Store::iterator Store::erase_noAdjust(double from, double to)
{
    return erase(find(from), find(to));
}

Store::iterator Store::erase(iterator first, iterator last)
{
    splice(first.index(), last.index(), {}, 0.0);
    return first;
}

void Store::setBlack(double from, double to, bool black)
{
    const std::size_t last = indexOf(to - kTolerance);
    for (std::size_t i = indexOf(from - kTolerance); i < last; ++i)
        nodes_[i].inAudioBlack_ = black;
}

void Store::reserve(std::size_t count)
{
    if (count > nodes_.capacity())
        nodes_.reserve(std::max(count, 2 * nodes_.capacity()));
}

void Store::splice(std::size_t first, std::size_t last, std::span<const Node> nodes, Shift shift)
{
    first = std::min(first, size());
    last = std::clamp(last, first, size());
    const std::size_t behind = first + nodes.size(); // where the later nodes will begin
    const std::size_t later = size() - last;
    reserve(behind + later);

    const auto place = [this](std::size_t index) {
        return nodes_.begin() + static_cast<std::ptrdiff_t>(index);
    };
    if (behind > last) {
        nodes_.resize(behind + later);
        std::copy_backward(place(last), place(last + later), place(behind + later));
    } else if (behind < last) {
        std::copy(place(last), place(last + later), place(behind));
        nodes_.resize(behind + later);
    }
    std::copy(nodes.begin(), nodes.end(), place(first));
    if (!shift.isNone())
        std::for_each(place(behind), nodes_.end(),
                      [shift](Node& node) { node.time_ = shift(node.time_); });
}

} // namespace Aud::DynamicLevelControl

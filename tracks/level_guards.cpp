#include "platform/support/Log.h"
#include "tracks/AudCel.h"
#include "tracks/AudLevelsCelRep.h"
#include "tracks/detail/level_rewrite.h"

#include <algorithm>
#include <cmath>
#include <utility>

using cel::detail::kNodeTolerance;
using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

namespace {

bool near(const Node& node, double t)
{
    return std::fabs(node.getRawTime() - t) < kNodeTolerance;
}

Node flagged(const Node& node, bool black)
{
    return {node.getRawTime(), node.getLevel(), node.getNodeType(), black};
}

/// Makes the guards of a track's sections anew, from the first to the last, out of untouched nodes.
class ClipNodes
{
public:
    ClipNodes(const Store& nodes, double quantum, std::size_t sections)
        : nodes_(nodes)
        , quantum_(quantum)
    {
        result_.setQuantum(nodes.getQuantum());
        result_.reserve(nodes.size() + 2 * sections);
    }

    /// Sections come in order and do not overlap. @return whether this one did.
    bool add(double start, double end, bool black)
    {
        if (!std::isfinite(start) || !std::isfinite(end) || end < start ||
            start < end_ - kNodeTolerance)
            return false;
        end_ = end;
        if (end > start + kNodeTolerance) // nothing is heard of a shorter one
            write(start, end, black);
        return true;
    }

    Store finish()
    {
        copyUpTo(nodes_.size());
        return std::move(result_);
    }

private:
    void copyUpTo(std::size_t index)
    {
        for (; next_ < index; ++next_)
            result_.insert_noAdjust(nodes_.nodes()[next_]);
    }

    void write(double start, double end, bool black)
    {
        const double close = std::max(start, end - quantum_);
        const Node startGuard(start, nodes_.getLevelAtTime(start), Store::kStartGuard, black);
        const Node endGuard(close, nodes_.getLevelAtTime(close), Store::kEndGuard, black);
        copyUpTo(nodes_.indexOf(start - kNodeTolerance));
        const std::size_t behind = nodes_.indexOf(end - kNodeTolerance);
        for (; next_ < behind; ++next_) {
            const Node& node = nodes_.nodes()[next_];
            if (!node.isGuardNode() && !near(node, start) && !near(node, close))
                result_.insert_noAdjust(flagged(node, black));
        }
        result_.insert_noAdjust(result_.begin(), endGuard);
        result_.insert_noAdjust(result_.end(), startGuard);
    }

    const Store& nodes_;
    double quantum_;
    Store result_;
    std::size_t next_ = 0; ///< node that was not looked at yet
    double end_ = -INFINITY;
};

} // namespace

void AudLevelsCelRep::tidyGuardNodesBackward(double t)
{
    const Kt::Guard guard(lock_);
    if (!(t > 0.0) || !std::isfinite(t) || !std::isfinite(quantum_) || nodes_.empty())
        return;
    const Store::iterator behind = nodes_.find(t - quantum_ - kNodeTolerance);
    // Where no guard stands, everything in front goes.
    Store::iterator from = behind;
    while (from != nodes_.begin()) {
        Store::iterator it = from;
        --it;
        if (it.isEndGuard())
            break;
        if (it.isStartGuard()) {
            if (it != nodes_.begin())
                from = it;
            break;
        }
        from = it;
    }
    nodes_.erase(from, behind);
}

void AudLevelsCelRep::tidyGuardNodesForward(double t)
{
    const Kt::Guard guard(lock_);
    if (!(t > 0.0) || !std::isfinite(t) || nodes_.empty())
        return;
    const Store::iterator from = nodes_.find(t - kNodeTolerance);
    Store::iterator it = from;
    while (it != nodes_.end() && !it.isGuardNode())
        ++it;
    if (it.isEndGuard())
        ++it;
    nodes_.erase(from, it);
}

void AudLevelsCelRep::replaceDependentGuardNodesAtPoint(double t)
{
    const Kt::Guard guard(lock_);
    if (!std::isfinite(t) || !std::isfinite(quantum_))
        return;
    nodes_.reserve(nodes_.size() + 2); // from here on nothing can fail halfway
    const auto put = [this](double at, float level, Store::eNodeType type) {
        nodes_.erase_noAdjust(at - kNodeTolerance, at + kNodeTolerance);
        nodes_.insert_noAdjust({at, level, type, false});
    };
    if (t > 0.0) {
        Store::iterator it = nodes_.find(t - quantum_);
        if (it != nodes_.begin() && it != nodes_.end()) {
            --it;
            put(t - quantum_, it.getLevel(), Store::kEndGuard);
        }
    }
    const Store::iterator it = nodes_.find(t);
    put(t, it != nodes_.end() ? it.getLevel() : 1.0F, Store::kStartGuard);
}

void AudLevelsCelRep::replaceClipNodes(const AudCel& track)
{
    const Kt::Guard guard(lock_);
    const Kt::Ptr<Cel> list = track.getCel();
    if (!list || nodes_.empty() || !std::isfinite(quantum_))
        return;
    const std::span<const ChannelEvent> events = list->events();
    ClipNodes clips(nodes_, quantum_, events.size() / 2 + 1);
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].info() != in_point)
            continue;
        const ChannelEvent& in = events[i];
        // Level changes may stand inside the section.
        std::size_t out = i + 1;
        while (out < events.size() && events[out].info() == level_change)
            ++out;
        const bool closed = out < events.size() && events[out].info() == out_point;
        const bool added =
            closed && clips.add(in.edit_time(), events[out].edit_time(), in.strip_name().isBlack());
        if (!added)
            LogBoth("---- 'replaceClipNodes()' - INVALID audio-channel event - clip start time "
                    "<%lf> ----\n",
                    in.edit_time());
    }
    nodes_ = clips.finish();
}

void AudLevelsCelRep::checkNodesRevision(const AudCel& track)
{
    const Kt::Guard guard(lock_);
    replaceClipNodes(track);
    nodesRevision_ = kNodesRevision;
}

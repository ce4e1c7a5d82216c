#include "tracks/level_accuracy.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace cel {

namespace {

using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double decibelsBetween(double a, double b)
{
    if (!std::isfinite(a) || !std::isfinite(b))
        return a == b || (a != a && b != b) ? 0.0 : kInfinity;
    const double ratio = std::max(a, kSilentLevel) / std::max(b, kSilentLevel);
    return std::fabs(20.0 * std::log10(ratio));
}

/// An envelope that is walked along in time, one straight piece after the other.
class Walk
{
public:
    explicit Walk(std::span<const Node> nodes)
        : nodes_(nodes)
    {
        // What lies at no real time stands at the ends.
        while (!nodes_.empty() && !std::isfinite(nodes_.back().getRawTime()))
            nodes_ = nodes_.first(nodes_.size() - 1);
        while (!nodes_.empty() && !std::isfinite(nodes_.front().getRawTime()))
            nodes_ = nodes_.subspan(1);
    }

    /// Time of the node that comes next; infinite when none does.
    double nextTime() const
    {
        return next_ < nodes_.size() ? nodes_[next_].getRawTime() : kInfinity;
    }

    /// Goes behind the nodes up to `t`.
    void passTo(double t)
    {
        while (nextTime() <= t)
            ++next_;
    }

    /// Level at a time on the piece between the node passed last and the next one.
    double at(double t) const
    {
        if (nodes_.empty())
            return 1.0;
        if (next_ == 0)
            return nodes_.front().getLevel();
        const Node& a = nodes_[next_ - 1];
        if (next_ == nodes_.size())
            return a.getLevel();
        const Node& b = nodes_[next_];
        const double share = (t - a.getRawTime()) / (b.getRawTime() - a.getRawTime());
        if (!(share > 0.0))
            return a.getLevel();
        return (1.0 - share) * a.getLevel() + share * b.getLevel();
    }

    /// Where the piece crosses the floor between two times; not a number when it does not.
    double leavesSilenceBetween(double from, double to) const
    {
        const double a = at(from) - kSilentLevel;
        const double b = at(to) - kSilentLevel;
        if (!(a * b < 0.0))
            return std::numeric_limits<double>::quiet_NaN();
        return std::clamp(from + (to - from) * (a / (a - b)), from, to);
    }

private:
    std::span<const Node> nodes_;
    std::size_t next_ = 0;
};

} // namespace

LevelError worstLevelError(const Store& original, const Store& thinned)
{
    Walk a(original.nodes());
    Walk b(thinned.nodes());
    LevelError worst;
    const auto look = [&](double t) {
        const double decibels = decibelsBetween(a.at(t), b.at(t));
        if (decibels > worst.decibels)
            worst = {decibels, t};
    };
    // In front of the first node both are held.
    double from = std::min(a.nextTime(), b.nextTime());
    look(std::isfinite(from) ? from : 0.0);
    while (std::isfinite(from)) {
        a.passTo(from);
        b.passTo(from);
        look(from);
        const double to = std::min(a.nextTime(), b.nextTime());
        if (std::isfinite(to)) {
            double crossings[] = {a.leavesSilenceBetween(from, to),
                                  b.leavesSilenceBetween(from, to)};
            if (crossings[1] < crossings[0])
                std::swap(crossings[0], crossings[1]);
            for (const double t : crossings) {
                if (t == t)
                    look(t);
            }
            look(to);
        }
        from = to;
    }
    return worst;
}

} // namespace cel

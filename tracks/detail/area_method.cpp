#include "tracks/detail/area_method.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace cel::detail {

namespace {

using Node = Aud::DynamicLevelControl::Store::Node;

constexpr double kRounding = 0x1p-53;  ///< largest relative error of one operation
constexpr double kUnderflow = 1e-280;  ///< more than all that is lost near 0
constexpr double kLargestTime = 1e100; ///< beyond it differences and areas may overflow

struct Point
{
    explicit Point(const Node& node)
        : t(node.getRawTime())
        , level(static_cast<double>(node.getLevel()) + 0.1)
    {
    }
    double t;
    double level;
};

struct Chord
{
    Chord(const Point& from, const Point& to)
        : start(from)
        , end(to)
        , slope((to.level - from.level) / (to.t - from.t))
    {
    }
    double above(const Point& p) const { return (p.t - start.t) * slope + start.level - p.level; }

    Point start;
    Point end;
    double slope;
};

double triangle(double x1, double y1, double x2, double y2, double x3, double y3)
{
    return 0.5 * (x1 * y2 - x2 * y1 + x2 * y3 - x3 * y2 + x3 * y1 - x1 * y3);
}

/// Kept: the triangles reach to the ends of the chord, not of the segment.
double crossingArea(const Chord& chord, const Point& a, const Point& b)
{
    const double slope = (b.level - a.level) / (b.t - a.t);
    const double offset = a.level - slope * a.t;
    const double t = (a.level - slope * a.t - (chord.start.level - chord.slope * chord.start.t)) /
                     (chord.slope - slope);
    const double level = t * slope + offset;
    return triangle(chord.start.t, chord.start.level, t, level, a.t, a.level) +
           triangle(t, level, b.t, b.level, chord.end.t, chord.end.level);
}

/// Signed area between a chord and one segment, of whose ends it lies `da` and `db` above.
double segmentArea(const Chord& chord, const Point& a, const Point& b, double da, double db)
{
    if (da * db >= 0.0)
        return (da + db) * 0.5 * (b.t - a.t);
    return crossingArea(chord, a, b);
}

/// The nodes between an anchor and a probe, and what is known of them without looking again.
class Run
{
public:
    Run(std::span<const Node> nodes, std::size_t anchor)
        : nodes_(nodes)
        , anchor_(anchor)
        , first_(nodes[anchor])
        , highest_(std::fabs(first_.level))
        , regular_(isRegular(first_))
    {
    }

    /// Takes the node into the run.
    void advanceTo(std::size_t probe)
    {
        if (probe == anchor_ || !regular_)
            return;
        const Point before(nodes_[probe - 1]);
        const Point p(nodes_[probe]);
        regular_ = continuesRegularly(probe);
        level_ = level_ && sameLevel(probe);
        if (probe == anchor_ + 1)
            firstGap_ = p.t - first_.t;
        integral_ += (before.level + p.level) * 0.5 * (p.t - before.t);
        const double slope = (p.level - first_.level) / (p.t - first_.t);
        steepest_ = std::max(steepest_, slope);
        flattest_ = std::min(flattest_, slope);
        highest_ = std::max(highest_, std::fabs(p.level));
    }

    /// Whether the chord to the node, which comes next, encloses more than `limit`.
    bool exceeds(std::size_t probe, double limit) const
    {
        if (regular_ && continuesRegularly(probe)) {
            if (level_ && sameLevel(probe))
                return 0.0 > limit; // every term of the sum is exactly 0
            const Estimate estimate = estimateTo(probe);
            if (estimate.area + estimate.error <= limit)
                return false;
            if (estimate.area - estimate.error > limit)
                return true;
        }
        // In this form a sum that is no number does not exceed anything.
        return std::fabs(sumTo(probe)) > limit;
    }

private:
    struct Estimate
    {
        double area = 0.0; ///< magnitude
        double error = INFINITY;
    };

    static bool isRegular(const Point& p)
    {
        return std::fabs(p.t) <= kLargestTime && std::isfinite(p.level);
    }
    bool continuesRegularly(std::size_t probe) const
    {
        return isRegular(Point(nodes_[probe])) &&
               nodes_[probe].getRawTime() > nodes_[probe - 1].getRawTime();
    }
    bool sameLevel(std::size_t probe) const
    {
        return std::bit_cast<std::uint32_t>(nodes_[probe].getLevel()) ==
               std::bit_cast<std::uint32_t>(nodes_[anchor_].getLevel());
    }

    /// The area as chord less integral, if all nodes between lie clearly on one side of the chord:
    /// then only the last segment can cross it. The error covers both ways to come to the sum.
    Estimate estimateTo(std::size_t probe) const
    {
        const Point last(nodes_[probe - 1]);
        const Chord chord(first_, Point(nodes_[probe]));
        const double length = chord.end.t - first_.t;
        const double scale =
            std::fabs(chord.slope) * length + 2.0 * std::max(highest_, std::fabs(chord.end.level));
        const double clear = 16.0 * kRounding * scale;
        const bool above = (chord.slope - steepest_) * firstGap_ > clear;
        const bool below = (flattest_ - chord.slope) * firstGap_ > clear;
        if (!above && !below)
            return {};
        const double toLast = last.t - first_.t;
        const double underChord =
            (first_.level + (first_.level + chord.slope * toLast)) * 0.5 * toLast;
        const double plain = underChord - integral_;
        const double end =
            segmentArea(chord, last, chord.end, chord.above(last), chord.above(chord.end));
        const auto segments = static_cast<double>(probe - anchor_);
        const double error = (2.0 * segments + 64.0) * kRounding * scale * length +
                             8.0 * kRounding * (std::fabs(plain) + std::fabs(end)) + kUnderflow;
        return {std::fabs(plain + end), error};
    }

    double sumTo(std::size_t probe) const
    {
        const Chord chord(first_, Point(nodes_[probe]));
        double sum = 0.0;
        Point a = first_;
        double da = chord.above(a);
        for (std::size_t i = anchor_ + 1; i <= probe; ++i) {
            const Point b(nodes_[i]);
            const double db = chord.above(b);
            sum += segmentArea(chord, a, b, da, db);
            a = b;
            da = db;
        }
        return sum;
    }

    std::span<const Node> nodes_;
    std::size_t anchor_;
    Point first_;
    double firstGap_ = 0.0;
    double integral_ = 0.0;       ///< under the line from the anchor to the last node of the run
    double steepest_ = -INFINITY; ///< slopes from the anchor to the nodes of the run
    double flattest_ = INFINITY;
    double highest_;
    bool regular_;      ///< real levels, at times that rise
    bool level_ = true; ///< one and the same
};

} // namespace

std::size_t endOfStraightRun(std::span<const Node> nodes, std::size_t anchor, std::size_t end,
                             double maxArea)
{
    Run run(nodes, anchor);
    for (std::size_t probe = anchor; probe < end; ++probe) {
        if (probe > anchor + 1 && run.exceeds(probe, maxArea))
            return probe;
        run.advanceTo(probe);
    }
    return end;
}

} // namespace cel::detail

#include "tests/support/level_notation.h"
#include "tracks/AudLevelsCel.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

namespace cel::test {
namespace {

using Store = AudLevelsCel::Store;
using Node = Store::Node;

/// Binary fractions, so that no sum is rounded and both ways to compute it agree to the bit.
constexpr double kGrid = 1.0 / 64;
constexpr double kResolution = 1.0 / 64;
constexpr double kQuantum = kResolution / 4;

/// The envelope as a list that is searched from its front and changed node by node.
struct Model
{
    std::vector<Node> nodes;

    std::size_t find(double t) const
    {
        std::size_t i = 0;
        while (i < nodes.size() && nodes[i].getRawTime() < t)
            ++i;
        return i;
    }
    float level(double t) const
    {
        if (nodes.empty())
            return 1.0F;
        if (t < nodes.front().getRawTime())
            return nodes.front().getLevel();
        std::size_t last = 0;
        while (last + 1 < nodes.size() && nodes[last + 1].getRawTime() <= t)
            ++last;
        if (last + 1 == nodes.size() || nodes[last].getRawTime() == t)
            return nodes[last].getLevel();
        const Node& a = nodes[last];
        const Node& b = nodes[last + 1];
        const double f = (t - a.getRawTime()) / (b.getRawTime() - a.getRawTime());
        return static_cast<float>((1.0 - f) * a.getLevel() + f * b.getLevel());
    }
    bool black(double t) const
    {
        std::size_t last = 0;
        while (last + 1 < nodes.size() && nodes[last + 1].getRawTime() <= t)
            ++last;
        return !nodes.empty() && nodes[last].isInAudioBlack();
    }
    void erase(double from, double to)
    {
        const std::size_t end = find(to);
        for (std::size_t i = find(from); i < end; ++i)
            nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(find(from)));
    }
    void putBefore(const Node& node)
    {
        nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(find(node.getRawTime())), node);
    }
    void putBehind(const Node& node)
    {
        std::size_t i = find(node.getRawTime());
        while (i < nodes.size() && nodes[i].getRawTime() == node.getRawTime())
            ++i;
        nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(i), node);
    }
    void shift(std::size_t from, double by)
    {
        for (; from < nodes.size(); ++from) {
            const Node& n = nodes[from];
            nodes[from] = {n.getRawTime() + by, n.getLevel(), n.getNodeType(), n.isInAudioBlack()};
        }
    }

    void remove(double a, double b)
    {
        const Node before(a - kQuantum, level(a - kQuantum), Store::kEndGuard, black(a - kQuantum));
        const Node after(a, level(b), Store::kStartGuard, black(b));
        erase(a, b + 1e-6);
        shift(find(a), a - b);
        if (a > 1e-6)
            putBefore(before);
        putBehind(after);
    }

    void insert(const Model* source, double from, double to, double t, bool always)
    {
        const double length = to - from;
        const Node before(t - kQuantum, level(t - kQuantum), Store::kEndGuard, black(t - kQuantum));
        const Node resumed(t + length, level(t), Store::kStartGuard, black(t));
        Node first(t, 1.0F, Store::kStartGuard, true);
        Node last(t + length - kQuantum, 1.0F, Store::kEndGuard, true);
        std::vector<Node> material;
        if (source) {
            const bool has = !source->nodes.empty();
            first = {t, has ? source->level(from) : 1.0F, Store::kStartGuard, source->black(from)};
            last = {t + length - kQuantum, has ? source->level(to - kQuantum) : 1.0F,
                    Store::kEndGuard, source->black(to - kQuantum)};
            for (std::size_t i = source->find(from - 1e-6); i < source->find(to - kQuantum - 1e-6);
                 ++i) {
                const Node& n = source->nodes[i];
                material.emplace_back(n.getRawTime() + (t - from), n.getLevel(), n.getNodeType(),
                                      n.isInAudioBlack());
            }
        }
        erase(t - kQuantum, t + 1e-6);
        const std::size_t later = find(t);
        if (later < nodes.size() || always) {
            shift(later, length);
            putBefore(resumed);
        }
        if (length > 0.0) {
            for (const Node& node : material)
                putBehind(node);
            putBefore(last);
            putBehind(first);
        }
        if (t > 1e-6)
            putBefore(before);
    }

    void replace(const Model* source, double from, double to, double t)
    {
        if (!(to - from > 1e-6))
            return;
        const double end = t + (to - from);
        if (t < 0.0) {
            if (end > 0.0)
                remove(0.0, end);
            t = 0.0;
        } else {
            remove(t, end);
        }
        insert(source, from, to, t, true);
    }
};

double randomTime()
{
    return *rc::gen::inRange(-64, 640) * kGrid;
}

Node randomNode()
{
    return {randomTime() + *rc::gen::element(0.0, kQuantum, -kQuantum),
            static_cast<float>(*rc::gen::inRange(0, 9)) / 8.0F,
            static_cast<Store::eNodeType>(*rc::gen::inRange(0, 3)), *rc::gen::arbitrary<bool>()};
}

/// The envelope and its model with some nodes.
struct Both
{
    AudLevelsCel real{kResolution};
    Model model;

    void put(const Node& node)
    {
        real.getNodeStore().insert_noAdjust(node);
        model.putBehind(node);
    }
    void same() const
    {
        const Store nodes = real.snapshot();
        RC_ASSERT(describe(nodes.nodes()) == describe(model.nodes));
    }
};

RC_GTEST_PROP(Levels, ChangeAsAListWouldThatIsChangedNodeByNode, ())
{
    Both both;
    Both other;
    for (int i = *rc::gen::inRange(0, 12); i > 0; --i)
        both.put(randomNode());
    for (int i = *rc::gen::inRange(0, 12); i > 0; --i)
        other.put(randomNode());
    for (int step = 0; step < 12; ++step) {
        const NumRange<double, Ordered> range(randomTime(), randomTime());
        const double t = randomTime();
        const int kind = *rc::gen::inRange(0, 3);
        // A source of its own, itself, or none. What is left of itself must not matter.
        const Model copy = both.model;
        const Model* const model = kind == 0 ? &other.model : kind == 1 ? &copy : nullptr;
        const AudLevelsCel source = kind == 0   ? other.real
                                    : kind == 1 ? both.real
                                                : AudLevelsCel::createInvalid();
        switch (*rc::gen::inRange(0, 4)) {
        case 0:
            both.real.remove(range);
            both.model.remove(range.start(), range.end());
            break;
        case 1:
            both.real.insert(source, range, t, {});
            both.model.insert(model, range.start(), range.end(), t, false);
            break;
        case 2:
            both.real.replace(source, range, t, {}, Editable::kReplacePlain);
            both.model.replace(model, range.start(), range.end(), t);
            break;
        default:
            both.put(randomNode());
        }
        both.same();
        for (const double when : {t, range.start(), range.end()}) {
            RC_ASSERT(both.real.levelAt(when) == both.model.level(when));
            RC_ASSERT(both.real.getNodeStore().isInAudioBlackAtTime(when) ==
                      both.model.black(when));
        }
    }
    both.real.getNodeStore();
    other.same();
}

} // namespace
} // namespace cel::test

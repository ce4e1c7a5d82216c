#include "tracks/AudCel.h"
#include "tracks/AudLevelsCelRep.h"
#include "tracks/detail/level_rewrite.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

using cel::detail::kNodeTolerance;
using cel::detail::rewrite;
using Store = Aud::DynamicLevelControl::Store;
using Node = Store::Node;

namespace {

bool areFinite(double a, double b, double c)
{
    return std::isfinite(a) && std::isfinite(b) && std::isfinite(c);
}

/// Level and flag that stand at a time.
struct Sound
{
    Sound(const Store& nodes, double t)
        : level(nodes.getLevelAtTime(t))
        , black(nodes.isInAudioBlackAtTime(t))
    {
    }
    Sound(float itsLevel, bool isBlack)
        : level(itsLevel)
        , black(isBlack)
    {
    }
    Node guard(double t, Store::eNodeType type) const { return {t, level, type, black}; }

    float level;
    bool black;
};

/// End guards go before what is at their time, start guards behind it: of coincident nodes the
/// last one counts.
void putEndGuard(Store& nodes, double t, const Sound& sound)
{
    nodes.insert_noAdjust(nodes.begin(), sound.guard(t, Store::kEndGuard));
}
void putStartGuard(Store& nodes, double t, const Sound& sound)
{
    nodes.insert_noAdjust(nodes.end(), sound.guard(t, Store::kStartGuard));
}

} // namespace

void AudLevelsCelRep::remove(const Range& range)
{
    const Kt::Guard guard(lock_);
    const double a = range.start();
    const double b = range.end();
    if (!areFinite(a, b, quantum_))
        return;
    const Sound before(nodes_, a - quantum_);
    const Sound after(nodes_, b);
    const auto [earliest, latest] = std::minmax({a, a - quantum_});
    rewrite(nodes_, {a, b + kNodeTolerance, -(b - a), earliest, latest}, 2, [&](Store& window) {
        if (a > kNodeTolerance) // else it would lie before the beginning
            putEndGuard(window, a - quantum_, before);
        putStartGuard(window, a, after);
    });
}

// ---- putting a stretch in ---------------------------------------------------------------------

/// What a source has in a range, at the times where it goes.
struct AudLevelsCelRep::Material
{
    Sound first;
    Sound last;
    std::vector<Node> nodes;
};

/// The place where a stretch goes in.
struct AudLevelsCelRep::Opening
{
    double at;
    double length;
    double quantum;
    double eraseTo;     ///< nodes from a quantum in front of the place up to here go
    Store::Shift later; ///< of those behind
    double resumesAt;   ///< what follows goes on with the level and flag that stand here,
    bool always;        ///< also when no node follows
};

AudLevelsCelRep::Material AudLevelsCelRep::materialFor(double quantum, const Range& range,
                                                       double at) const
{
    const Kt::Guard guard(lock_);
    if (dummy_ || nodes_.empty())
        return {{1.0F, false}, {1.0F, false}, {}};
    const double end = range.end() - quantum;
    Material material{{nodes_, range.start()}, {nodes_, end}, {}};
    const std::size_t from = nodes_.indexOf(range.start() - kNodeTolerance);
    const std::size_t to = std::max(from, nodes_.indexOf(end - kNodeTolerance));
    material.nodes.reserve(to - from);
    for (const Node& node : nodes_.nodes().subspan(from, to - from))
        material.nodes.emplace_back(node.getRawTime() + (at - range.start()), node.getLevel(),
                                    node.getNodeType(), node.isInAudioBlack());
    return material;
}

AudLevelsCelRep::Material AudLevelsCelRep::blackOrMaterialOf(const AudLevelsCelRep* source,
                                                             double quantum, const Range& range,
                                                             double at)
{
    if (source)
        return source->materialFor(quantum, range, at);
    return {{1.0F, true}, {1.0F, true}, {}};
}

void AudLevelsCelRep::insert(const AudLevelsCelRep* source, const Range& range, double at,
                             const IdMap&)
{
    const double quantum = this->quantum();
    if (!areFinite(range.start(), range.end(), at) || !std::isfinite(quantum))
        return;
    const double length = range.end() - range.start();
    // With a negative quantum the nodes at the place are not erased and move with the others.
    const double eraseTo = quantum < -kNodeTolerance ? at : at + kNodeTolerance;
    // Kept: an envelope that has no node behind the place has nothing to resume there.
    putIn(source, range, {at, length, quantum, eraseTo, length, at, false});
}

void AudLevelsCelRep::replace(const AudLevelsCelRep* source, const Range& range, double at,
                              const IdMap&, Editable::ReplaceFlags)
{
    const double quantum = this->quantum();
    const double length = range.end() - range.start();
    if (!areFinite(range.start(), range.end(), at) || !std::isfinite(quantum) ||
        !(length > kNodeTolerance))
        return;
    // What lies before 0 is not there to be overwritten, and makes what follows come later.
    const double place = std::max(at, 0.0);
    const double end = std::max(at + length, 0.0);
    // As if the stretch were removed and the range then inserted, to the last bit.
    putIn(source, range,
          {place, length, quantum, end + kNodeTolerance, {place - end, length}, end, true});
}

void AudLevelsCelRep::putIn(const AudLevelsCelRep* source, const Range& range,
                            const Opening& opening)
{
    // Nobody waits for one envelope with another one locked; only the own one may be.
    std::unique_lock<CriticalSection> whole(lock_, std::defer_lock);
    if (source == this)
        whole.lock();
    const double t = opening.at;
    const double quantum = opening.quantum;
    const Material material = blackOrMaterialOf(source, quantum, range, t);
    if (!whole.owns_lock())
        whole.lock();

    const Sound before(nodes_, t - quantum);
    const Sound after(nodes_, opening.resumesAt);
    const double end = t + opening.length;
    const bool resumes = opening.always || nodes_.indexOf(opening.eraseTo) < nodes_.size();
    auto [earliest, latest] = std::minmax({t, t - quantum, end, end - quantum});
    if (!material.nodes.empty()) {
        earliest = std::min(earliest, material.nodes.front().getRawTime());
        latest = std::max(latest, material.nodes.back().getRawTime());
    }
    rewrite(nodes_, {t - quantum, opening.eraseTo, opening.later, earliest, latest},
            material.nodes.size() + 4, [&](Store& window) {
                if (resumes)
                    window.insert_noAdjust(window.begin(), after.guard(end, Store::kStartGuard));
                if (opening.length > 0.0) {
                    window.insert_noAdjust(material.nodes);
                    putEndGuard(window, end - quantum, material.last);
                    putStartGuard(window, t, material.first);
                }
                if (t > kNodeTolerance)
                    putEndGuard(window, t - quantum, before);
            });
}

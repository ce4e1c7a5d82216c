// Crossfades: ramps on both sides of the cuts where a shot meets a shot.

#include "cel/Cel.h"

#include "cel/detail/faults.h"
#include "cel/detail/shots.h"

#include <algorithm>
#include <cmath>
#include <optional>

using cel::detail::ConstEventSpan;
using cel::detail::eventAt;
using cel::detail::EventSpan;
using cel::detail::fail;
using cel::detail::isAfter;
using cel::detail::kCelModule;
using cel::detail::Section;

namespace {

/// A cut at which a shot meets the next one.
struct ShotCut
{
    Section before;
    Section after;

    const ChannelEvent& out(ConstEventSpan events) const { return eventAt(events, before.out); }
    const ChannelEvent& in(ConstEventSpan events) const { return eventAt(events, after.in); }

    bool isOne(ConstEventSpan events) const
    {
        const double end = out(events).edit_time();
        const double start = in(events).edit_time();
        return before.out + 1 == after.in && !isAfter(start, end) && !isAfter(end, start);
    }
};

/// Walks over the cuts between shots, as `Shots` does over shots.
class ShotCuts
{
public:
    explicit ShotCuts(ConstEventSpan events)
        : events_(events)
        , shots_(events)
    {
        next();
    }

    bool done() const { return shots_.done(); }
    const ShotCut& cut() const { return cut_; }

    void next()
    {
        while (!shots_.done()) {
            cut_.before = shots_.shot();
            shots_.next();
            if (shots_.done())
                return;
            cut_.after = shots_.shot();
            if (cut_.isOne(events_))
                return;
        }
    }

private:
    ConstEventSpan events_;
    cel::detail::Shots shots_;
    ShotCut cut_;
};

/// The cut between shots at a time.
std::optional<ShotCut> cutAt(ConstEventSpan events, double t)
{
    const int in = cel::detail::findEvent(events, t, in_point, -1);
    if (in < 1 || isAfter(t, eventAt(events, in).edit_time()))
        return {};
    const ShotCut cut{{cel::detail::matchingIn(events, in - 1), in - 1},
                      {in, cel::detail::matchingOut(events, in)}};
    const bool whole = cut.before.in >= 0 && cut.after.out < static_cast<int>(events.size()) &&
                       cut.out(events).info() == out_point;
    if (!whole || !isShot(events, cut.before) || !isShot(events, cut.after) || !cut.isOne(events))
        return {};
    return cut;
}

bool hasRamps(ConstEventSpan events, const ShotCut& cut)
{
    return cut.out(events).audioRamp_DurationQFrames() != 0 ||
           cut.in(events).audioRamp_DurationQFrames() != 0;
}

/// The quarter frames of a length that both shots have room for.
unsigned quarterFramesFor(ConstEventSpan events, const ShotCut& cut, double seconds,
                          double resolution)
{
    constexpr double kLongest = 16383.0;
    constexpr double kRounding = 1e-6;
    for (const Section& shot : {cut.before, cut.after})
        seconds = std::min(seconds, eventAt(events, shot.out).edit_time() -
                                        eventAt(events, shot.in).edit_time());
    const double quarterFrames = std::floor(seconds / (resolution / 4.0) + kRounding);
    return static_cast<unsigned>(std::min(quarterFrames, kLongest));
}

void setRamps(EventSpan events, const ShotCut& cut, unsigned quarterFrames,
              Aud::GainCurve::eCurveType curve)
{
    for (const int index : {cut.before.out, cut.after.in}) {
        ChannelEvent& event = events[static_cast<std::size_t>(index)];
        event.audioRamp_DurationQFrames(quarterFrames);
        event.audioRamp_CurveType(curve);
    }
}

} // namespace

// ---- at one cut ---------------------------------------------------------------------------------

unsigned Cel::cfade(double t, double seconds, Aud::GainCurve::eCurveType curve)
{
    if (!(seconds >= 0.0))
        fail("Cel::cfade: negative length", kCelModule, __LINE__);
    const std::optional<ShotCut> cut = cutAt(events_, t);
    const unsigned quarterFrames = cut ? quarterFramesFor(events_, *cut, seconds, resolution_) : 0U;
    if (quarterFrames == 0)
        return 0;
    setRamps(events_, *cut, quarterFrames, curve);
    dirty_ = 1;
    return quarterFrames;
}

bool Cel::cfade_removal(double t)
{
    const std::optional<ShotCut> cut = cutAt(events_, t);
    if (!cut || !hasRamps(events_, *cut))
        return false;
    setRamps(events_, *cut, 0, Aud::GainCurve::kLinear);
    dirty_ = 1;
    return true;
}

// ---- on the whole track -------------------------------------------------------------------------

int Cel::crossfade_whole(double seconds, Aud::GainCurve::eCurveType curve)
{
    if (!(seconds >= 0.0))
        fail("Cel::crossfade_whole: negative length", kCelModule, __LINE__);
    int set = 0;
    for (ShotCuts cuts(events_); !cuts.done(); cuts.next()) {
        const unsigned quarterFrames = quarterFramesFor(events_, cuts.cut(), seconds, resolution_);
        if (quarterFrames == 0)
            continue;
        setRamps(events_, cuts.cut(), quarterFrames, curve);
        ++set;
    }
    if (set > 0)
        dirty_ = 1;
    return set;
}

int Cel::crossfade_removal_whole()
{
    int removed = 0;
    for (ShotCuts cuts(events_); !cuts.done(); cuts.next()) {
        if (!hasRamps(events_, cuts.cut()))
            continue;
        setRamps(events_, cuts.cut(), 0, Aud::GainCurve::kLinear);
        ++removed;
    }
    if (removed > 0)
        dirty_ = 1;
    return removed;
}

bool Cel::crossfades_exist() const
{
    for (ShotCuts cuts(events_); !cuts.done(); cuts.next())
        if (hasRamps(events_, cuts.cut()))
            return true;
    return false;
}

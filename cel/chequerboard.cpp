// Shots in turn on two rolls, so that neighbours can overlap, and back on one track.

#include "cel/Cel.h"

#include "cel/detail/RollBuilder.h"
#include "cel/detail/Widening.h"
#include "cel/detail/faults.h"
#include "cel/detail/sections.h"

#include <algorithm>
#include <cmath>
#include <optional>

using cel::detail::fail;
using cel::detail::isAfter;
using cel::detail::kCelModule;

// ---- onto two rolls -----------------------------------------------------------------------------

Cel::Rolls Cel::chequerboard() const
{
    checkForZeroUtrs();
    return RollBuilder::inTurn(*this, objectStore(), &RollBuilder::lay);
}

Cel::Rolls Cel::cfade_lists() const
{
    return RollBuilder::inTurn(*this, nullptr, &RollBuilder::layBetweenFades);
}

// ---- back on one track --------------------------------------------------------------------------

/// The shots of two rolls in the order of their starts, each up to where the next one begins.
class Cel::RollMerger
{
public:
    RollMerger(const Cel& a, const Cel& b)
        : first_(a)
        , second_(b)
    {
    }

    void layOn(RollBuilder& track)
    {
        std::optional<Shot> last;
        while (std::optional<Shot> next = take()) {
            if (last) {
                partInTheMiddle(*last, *next);
                track.lay(*last);
            }
            last = next;
        }
        if (last)
            track.lay(*last);
    }

private:
    using Shot = RollBuilder::Shot;

    struct Roll
    {
        explicit Roll(const Cel& roll)
            : track(roll)
            , shots(roll.events_)
        {
        }
        double start() const
        {
            return cel::detail::eventAt(track.events_, shots.shot().in).edit_time();
        }
        double end() const
        {
            return cel::detail::eventAt(track.events_, shots.shot().out).edit_time();
        }
        /// Of shots that begin together the shorter one comes first.
        bool isBefore(const Roll& other) const
        {
            return start() < other.start() || (start() == other.start() && end() < other.end());
        }
        const Cel& track;
        cel::detail::Shots shots;
    };

    std::optional<Shot> take()
    {
        if (first_.shots.done() && second_.shots.done())
            return {};
        const bool takesSecond =
            first_.shots.done() || (!second_.shots.done() && second_.isBefore(first_));
        Roll& roll = takesSecond ? second_ : first_;
        const Shot shot(roll.track, roll.shots.shot());
        roll.shots.next();
        return shot;
    }

    /// Shots that overlap meet in the middle, in whole frames from where the overlap begins. Of an
    /// odd frame in the middle the later shot gets what it needs to be there at all, else the
    /// earlier one.
    void partInTheMiddle(Shot& last, Shot& next) const
    {
        const double start = next.in.edit_time();
        const double end = last.out.edit_time();
        if (!isAfter(end, start))
            return;
        const double frame = last.source->resolution_;
        const double half = std::ceil(std::floor((end - start) / frame + 0.5) / 2.0);
        double cut = std::min(start + half * frame, end);
        if (!isAfter(next.out.edit_time(), cut))
            cut = start + (half - 1.0) * frame;
        if (isAfter(end, next.out.edit_time()) || !isAfter(next.out.edit_time(), cut) ||
            !isAfter(cut, last.in.edit_time()))
            fail("Cel::cheq_merge: a shot lies within another", kCelModule, __LINE__);
        moveEnd(last, last.out, cut);
        moveEnd(next, next.in, cut);
    }

    /// Moves one of the two ends of a shot inwards.
    static void moveEnd(Shot& shot, ChannelEvent& end, double t)
    {
        const float level = cel::detail::levelAt(shot.in, shot.out, t);
        const double speed = cel::detail::effectiveSpeed(shot.in);
        end.strip_time(end.strip_time() + speed * (t - end.edit_time()));
        end.edit_time(t);
        end.level_sc(level);
        const double length = shot.out.edit_time() - shot.in.edit_time();
        cel::detail::limitRamp(shot.in, length, shot.source->resolution_);
        cel::detail::limitRamp(shot.out, length, shot.source->resolution_);
    }

    Roll first_;
    Roll second_;
};

Kt::Ptr<Cel> Cel::cheq_merge(const Cel& a, const Cel& b)
{
    if (a.resolution_ != b.resolution_)
        fail("Cel::cheq_merge: rolls of different resolution", kCelModule, __LINE__);
    const Cel& like = a.events_.empty() ? b : a;
    RollBuilder track(like, a.objectStore(), std::min(a.get_start_time(), b.get_start_time()),
                      std::max(a.events_.size(), b.events_.size()) + 4);
    RollMerger(a, b).layOn(track);
    track.restUntil(std::max(a.get_end_time(), b.get_end_time()));
    return track.finish();
}

// ---- handles ------------------------------------------------------------------------------------

int Cel::cheq_widen_cel(double before, double after, int which)
{
    if (!(before >= 0.0 && after >= 0.0))
        fail("Cel::cheq_widen_cel: negative handle", kCelModule, __LINE__);
    Widening widening(*this);
    const int ends = widening.plan((which & kWidenHeads) != 0 ? before : 0.0,
                                   (which & kWidenTails) != 0 ? after : 0.0);
    if (ends > 0)
        widening.carryOut();
    return ends;
}

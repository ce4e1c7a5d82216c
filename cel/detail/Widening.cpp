#include "cel/detail/Widening.h"

#include "cel/detail/Compaction.h"
#include "cel/detail/ObjectJournal.h"
#include "platform/audio/GainCurve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

using cel::detail::effectiveSpeed;
using cel::detail::eventAt;
using cel::detail::isAfter;
using cel::detail::Section;

namespace {

constexpr double kForEver = std::numeric_limits<double>::infinity();

/// The highest position of a fader.
double loudest()
{
    static const double position =
        double(Aud::GainCurve::Curve<2>::mapMagnitudeToUValue(cel::kLargestLegacyMagnitude));
    return position;
}

/// How many frames a value can go on at so much a frame before it leaves its limits.
double framesWithin(double value, double perFrame, double lowest, double highest)
{
    if (perFrame == 0.0)
        return kForEver;
    constexpr double kRounding = 1e-9;
    const double room = perFrame < 0.0 ? value - lowest : highest - value;
    return room > 0.0 ? std::floor((room + kRounding) / std::fabs(perFrame)) : 0.0;
}

/// Lets a shot begin and end at other times, on the lines that its ends define.
void stretch(std::span<ChannelEvent> shot, double start, double end)
{
    ChannelEvent& in = shot.front();
    ChannelEvent& out = shot.back();
    const double from = in.edit_time();
    const double speed = effectiveSpeed(in);
    const double level = double(in.level_sc());
    const double slope = (double(out.level_sc()) - level) / (out.edit_time() - from);
    const auto moveTo = [&](ChannelEvent& event, double t) {
        if (event.edit_time() == t)
            return;
        // Rounding does not take what was at least 0 below it.
        event.strip_time(std::max(event.strip_time() + speed * (t - event.edit_time()), 0.0));
        event.level_sc(static_cast<float>(std::max(level + slope * (t - from), 0.0)));
        event.edit_time(t);
    };
    moveTo(in, start);
    moveTo(out, end);
}

/// Takes black back to what lies between two times. @return whether any of it was outside.
bool limitTo(double from, double to, std::span<ChannelEvent> black)
{
    bool moved = false;
    for (ChannelEvent& event : black) {
        const double t = std::clamp(event.edit_time(), from, to);
        if (t == event.edit_time())
            continue;
        event.strip_time(event.strip_time() + effectiveSpeed(event) * (t - event.edit_time()));
        event.edit_time(t);
        moved = true;
    }
    return moved;
}

} // namespace

// ---- how far each shot goes ---------------------------------------------------------------------

int Cel::Widening::plan(double before, double after)
{
    const double framesBefore = std::floor(before / track_.resolution_ + 0.5);
    const double framesAfter = std::floor(after / track_.resolution_ + 0.5);
    const auto size = static_cast<int>(events_.size());
    Wish last;
    for (cel::detail::Shots shots(events_); !shots.done(); shots.next()) {
        const Section& shot = shots.shot();
        Wide wide{shot, eventAt(events_, shot.in).edit_time(),
                  eventAt(events_, shot.out).edit_time()};
        const Wish wish = wishOf(shot, framesBefore, framesAfter);
        const int gap = plan_.empty() ? 0 : plan_.back().shot.out + 1;
        if (isFree(gap, shot.in)) {
            if (plan_.empty())
                growHead(wide, wish.before, track_.get_start_time());
            else
                share(plan_.back(), last.after, wide, wish.before);
        }
        plan_.push_back(wide);
        last = wish;
    }
    if (!plan_.empty() && isFree(plan_.back().shot.out + 1, size))
        growTail(plan_.back(), last.after, track_.get_end_time());

    int grown = 0;
    for (const Wide& wide : plan_)
        grown += int(headGrows(wide)) + int(tailGrows(wide));
    return grown;
}

/// So many frames as are asked for, while there is material and a level to go on with.
Cel::Widening::Wish Cel::Widening::wishOf(const Section& shot, double before, double after) const
{
    const ChannelEvent& in = eventAt(events_, shot.in);
    const ChannelEvent& out = eventAt(events_, shot.out);
    const double length = out.edit_time() - in.edit_time();
    const double frame = track_.resolution_;
    const double speed = effectiveSpeed(in);
    const double step = (double(out.level_sc()) - double(in.level_sc())) / length * frame;
    const double stripEnd = in.strip_time() + speed * length;
    return {std::min({before, framesWithin(in.strip_time(), -speed * frame, 0.0, kForEver),
                      framesWithin(double(in.level_sc()), -step, 0.0, loudest())}),
            std::min({after, framesWithin(stripEnd, speed * frame, 0.0, kForEver),
                      framesWithin(double(out.level_sc()), step, 0.0, loudest())})};
}

/// Whether events are nothing but whole sections of black.
bool Cel::Widening::isFree(int from, int to) const
{
    for (int i = from; i < to;) {
        const ChannelEvent& in = eventAt(events_, i);
        const int out = cel::detail::matchingOut(events_, i);
        if (in.info() != in_point || !in.strip_name().isBlack() || out >= to)
            return false;
        i = out + 1;
    }
    return true;
}

double Cel::Widening::framesBetween(double from, double to) const
{
    const double frames = std::floor((to - from + cel::kTimeEpsilon) / track_.resolution_);
    return frames > 0.0 ? frames : 0.0;
}

void Cel::Widening::growHead(Wide& shot, double frames, double notBefore) const
{
    frames = std::min(frames, framesBetween(notBefore, shot.start));
    shot.start -= frames * track_.resolution_;
    if (frames > 0.0 && !isAfter(shot.start, notBefore))
        shot.start = notBefore;
}

void Cel::Widening::growTail(Wide& shot, double frames, double notAfter) const
{
    frames = std::min(frames, framesBetween(shot.end, notAfter));
    shot.end += frames * track_.resolution_;
    if (frames > 0.0 && !isAfter(notAfter, shot.end))
        shot.end = notAfter;
}

/// Of the frames between two shots each gets what it wishes, else half, and what the other leaves.
void Cel::Widening::share(Wide& earlier, double after, Wide& later, double before) const
{
    const double frames = framesBetween(earlier.end, later.start);
    const double half = std::floor(frames / 2.0);
    growTail(earlier, std::min(after, std::max(half, frames - before)), later.start);
    growHead(later, std::min(before, std::max(half, frames - after)), earlier.end);
}

// ---- effect objects -----------------------------------------------------------------------------

std::vector<Cel::Widening::Resize> Cel::Widening::resizesOfObjects() const
{
    std::vector<Resize> resizes;
    if (!track_.keepsSegmentObjects())
        return resizes;
    for (const Wide& wide : plan_) {
        const ChannelEvent& in = eventAt(events_, wide.shot.in);
        const double start = in.edit_time();
        const double end = eventAt(events_, wide.shot.out).edit_time();
        if (tailGrows(wide))
            resizes.push_back(
                {in.editGraph(), (wide.end - start) / (end - start), kResizeKeepHead});
        if (headGrows(wide))
            resizes.push_back(
                {in.editGraph(), (wide.end - wide.start) / (wide.end - start), kResizeKeepTail});
    }
    return resizes;
}

void Cel::Widening::fitObjects(const std::vector<Resize>& resizes)
{
    cel::detail::ObjectJournal journal;
    cel::detail::ObjectJournal* const formerJournal = track_.journal_;
    if (track_.objectStore())
        track_.journal_ = &journal;
    std::size_t done = 0;
    try {
        for (const Resize& resize : resizes) {
            track_.resizeSegmentObject(resize.id, resize.share, resize.method);
            ++done;
        }
    } catch (...) {
        track_.journal_ = formerJournal;
        while (done > 0)
            takeBack(resizes[--done]);
        if (track_.objectStore())
            journal.takeBack(*track_.objectStore());
        throw;
    }
    track_.journal_ = formerJournal;
}

void Cel::Widening::takeBack(const Resize& resize) noexcept
{
    try {
        track_.resizeSegmentObject(resize.id, 1.0 / resize.share, resize.method);
    } catch (...) {
        return; // what the hook refuses stays as it is; the rest is taken back all the same
    }
}

// ---- the events ---------------------------------------------------------------------------------

void Cel::Widening::carryOut()
{
    RemovedObjects removed(track_);
    fitObjects(resizesOfObjects());
    moveEvents(removed);
    track_.dirty_ = 1;
}

void Cel::Widening::moveEvents(RemovedObjects& removed)
{
    Compaction pass(track_, removed);
    double reached = -kForEver;
    bool tailGrew = false;
    for (const Wide& wide : plan_) {
        const auto in = static_cast<std::size_t>(wide.shot.in);
        const auto length = static_cast<std::size_t>(wide.shot.out - wide.shot.in) + 1;
        const bool headGrew = headGrows(wide);
        if (tailGrew || headGrew)
            limitBlack(pass, in, reached, wide.start);
        pass.keep(in - pass.read);
        reached = wide.end;
        tailGrew = tailGrows(wide);
        stretch(std::span(events_).subspan(in, length), wide.start, wide.end);
        pass.keep(length);
    }
    if (tailGrew)
        limitBlack(pass, events_.size(), reached, kForEver);
}

/// Black that is used up goes; such as had no length before and is not in the way stays.
void Cel::Widening::limitBlack(Compaction& pass, std::size_t end, double from, double to)
{
    while (pass.read < end) {
        const int out = cel::detail::matchingOut(events_, static_cast<int>(pass.read));
        const std::size_t length = static_cast<std::size_t>(out) + 1 - pass.read;
        const std::span black = std::span(events_).subspan(pass.read, length);
        const bool moved = limitTo(from, to, black);
        if (moved && !isAfter(black.back().edit_time(), black.front().edit_time()))
            pass.drop(length);
        else
            pass.keep(length);
    }
}

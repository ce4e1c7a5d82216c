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

/// How many frames a value can go on at so much a frame before it leaves its limits; none when it
/// is below them already. @param rounding  by how much the value may be off.
double framesWithin(double value, double perFrame, double lowest, double highest, double rounding)
{
    if (value < lowest - rounding)
        return 0.0;
    if (perFrame == 0.0)
        return kForEver;
    const double room = perFrame < 0.0 ? value - lowest : highest - value;
    return room > 0.0 ? std::floor((room + rounding) / std::fabs(perFrame)) : 0.0;
}

/// Frames for which a shot can go on with material from time 0 on, and with a level on the fader.
double framesOf(double strip, double stripStep, double level, double levelStep)
{
    constexpr double kStripRounding = 1e-9;
    constexpr double kLevelRounding = 1e-6; // levels are stored in single precision
    return std::min(framesWithin(strip, stripStep, 0.0, kForEver, kStripRounding),
                    framesWithin(level, levelStep, 0.0, loudest(), kLevelRounding));
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
    Wish last;
    for (cel::detail::Shots shots(events_); !shots.done(); shots.next()) {
        const Section& shot = shots.shot();
        Wide wide(shot, eventAt(events_, shot.in).edit_time(),
                  eventAt(events_, shot.out).edit_time());
        const Wish wish = wishOf(shot, framesBefore, framesAfter);
        growBetween(plan_.empty() ? nullptr : &plan_.back(), last.after, &wide, wish.before);
        plan_.push_back(wide);
        last = wish;
    }
    if (!plan_.empty())
        growBetween(&plan_.back(), last.after, nullptr, 0.0);

    int grown = 0;
    for (const Wide& wide : plan_)
        grown += int(wide.headGrows()) + int(wide.tailGrows());
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
    return {std::min(before, framesOf(in.strip_time(), -speed * frame, in.level_sc(), -step)),
            std::min(after, framesOf(stripEnd, speed * frame, out.level_sc(), step))};
}

/// Whether black begins with an event.
bool Cel::Widening::opensBlack(int index) const
{
    const ChannelEvent& event = eventAt(events_, index);
    return event.info() == in_point && event.strip_name().isBlack();
}

/// The first event from which on there is nothing but black up to a shot.
int Cel::Widening::blackInFront(int from, int shot) const
{
    int first = shot;
    while (first > from) {
        const int in = cel::detail::matchingIn(events_, first - 1);
        if (in < from || !opensBlack(in) || cel::detail::matchingOut(events_, in) != first - 1)
            break;
        first = in;
    }
    return first;
}

/// The first event from one on that is not of black.
int Cel::Widening::blackBehind(int from, int to) const
{
    int next = from;
    while (next < to && opensBlack(next)) {
        const int out = cel::detail::matchingOut(events_, next);
        if (out >= to)
            break;
        next = out + 1;
    }
    return next;
}

double Cel::Widening::framesBetween(double from, double to) const
{
    if (!cel::isRealTime(from) || !cel::isRealTime(to))
        return 0.0;
    const double frames = std::floor((to - from + cel::kTimeEpsilon) / track_.resolution_);
    return frames > 0.0 ? frames : 0.0;
}

/// Lets two shots, or one and the track's end, grow into what is free between them: up to the next
/// thing that is not black, and two shots that share the black up to its middle.
void Cel::Widening::growBetween(Wide* earlier, double after, Wide* later, double before) const
{
    const int from = earlier ? earlier->shot.out + 1 : 0;
    const int to = later ? later->shot.in : static_cast<int>(events_.size());
    if (later)
        later->blackFrom = blackInFront(from, to);
    if (earlier)
        earlier->blackTo = blackBehind(from, to);
    if (earlier && later && earlier->blackTo == to) {
        const double half = std::floor(framesBetween(earlier->end, later->start) / 2.0);
        after = std::min(after, half);
        before = std::min(before, half);
    }
    if (earlier)
        growTail(*earlier, after, timeAt(earlier->blackTo));
    if (later) {
        const double wall = timeAt(later->blackFrom - 1);
        growHead(*later, before, earlier ? std::max(wall, earlier->end) : wall);
    }
}

/// Time of an event, also of the ends of the track in front of the first and behind the last.
double Cel::Widening::timeAt(int index) const
{
    if (index < 0)
        return track_.get_start_time();
    return index == static_cast<int>(events_.size()) ? track_.get_end_time()
                                                     : eventAt(events_, index).edit_time();
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

// ---- effect objects -----------------------------------------------------------------------------

std::vector<Cel::Widening::Resize> Cel::Widening::resizesOfObjects() const
{
    std::vector<Resize> resizes;
    if (!track_.keepsSegmentObjects())
        return resizes;
    for (const Wide& wide : plan_) {
        const IdStamp id = eventAt(events_, wide.shot.in).editGraph();
        const double grown = wide.end - wide.formerStart;
        if (wide.tailGrows())
            resizes.push_back({id, grown / (wide.formerEnd - wide.formerStart), kResizeKeepHead});
        if (wide.headGrows())
            resizes.push_back({id, (wide.end - wide.start) / grown, kResizeKeepTail});
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
    const Wide* last = nullptr;
    for (const Wide& wide : plan_) {
        limitBetween(pass, last, &wide);
        const auto in = static_cast<std::size_t>(wide.shot.in);
        const auto length = static_cast<std::size_t>(wide.shot.out - wide.shot.in) + 1;
        stretch(std::span(events_).subspan(in, length), wide.start, wide.end);
        pass.keep(length);
        last = &wide;
    }
    limitBetween(pass, last, nullptr);
}

/// What lies between two shots, or behind the last: its black makes room for the handles.
void Cel::Widening::limitBetween(Compaction& pass, const Wide* earlier, const Wide* later)
{
    const bool shared = earlier && later && earlier->blackTo == later->shot.in;
    const bool head = later && later->headGrows();
    if (earlier && (earlier->tailGrows() || (shared && head)))
        limitBlack(pass, earlier->blackTo, earlier->end, shared ? later->start : kForEver);
    if (head && !shared) {
        pass.keep(static_cast<std::size_t>(later->blackFrom) - pass.read);
        limitBlack(pass, later->shot.in, -kForEver, later->start);
    }
    if (later)
        pass.keep(static_cast<std::size_t>(later->shot.in) - pass.read);
}

/// Black that is used up goes; such as had no length before and is not in the way stays.
void Cel::Widening::limitBlack(Compaction& pass, int end, double from, double to)
{
    while (pass.read < static_cast<std::size_t>(end)) {
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

#include "cel/Cel.h"

#include "cel/detail/faults.h"
#include "cel/detail/number_text.h"
#include "cel/detail/sections.h"
#include "platform/support/Log.h"

#include <algorithm>

using cel::kTimeEpsilon;
using cel::kUnsetTime;
using cel::detail::appendGeneral;
using cel::detail::fail;
using cel::detail::isAfter;
using cel::detail::kCelModule;
using cel::detail::kTemporaryId;

/// One extraction while it is worked out: the stretch, and the events it begins and ends with.
class Cel::Extraction
{
public:
    Extraction(const Cel& track, double start, double end, unsigned flags, unsigned before,
               unsigned after)
        : track_(track)
        , start_(start)
        , end_(end)
        , evenZero_((flags & EXTRACT_EVEN_ZERO) != 0)
        , flags_(flags)
        , before_(before)
        , after_(after)
    {
    }

    Kt::Ptr<Cel> run();

private:
    static constexpr ce_info kStartOrLevel = static_cast<ce_info>(in_point | level_change);

    void clampToTrack();
    bool tooShort() const { return !evenZero_ && !isAfter(end_, start_); }
    void findStart();
    void widenStart();
    void settleStart();
    void findEnd();
    void widenEnd();
    void settleEnd();
    void fill(Cel& result) const;
    ChannelEvent firstEvent() const;
    ChannelEvent lastEvent() const;
    bool wantsFreshIds() const;

    const Cel& track_;
    double start_;
    double end_;
    bool evenZero_;
    unsigned flags_;
    unsigned before_;
    unsigned after_;
    double overshoot_ = 0.0;
    ce_handle first_;
    ce_handle last_;
    ce_handle closing_;
};

Kt::Ptr<Cel> Cel::extract(double start, double end, unsigned flags) const
{
    return extractAux(start, end, flags, 0, 0);
}

Kt::Ptr<Cel> Cel::extract2(double start, double end, unsigned before, unsigned after) const
{
    return extractAux(start, end, EXTRACT_CLAMP_END, before, after);
}

Kt::Ptr<Cel> Cel::extractAux(double start, double end, unsigned flags, unsigned before,
                             unsigned after) const
{
    return Extraction(*this, start, end, flags, before, after).run();
}

Kt::Ptr<Cel> Cel::Extraction::run()
{
    Kt::Ptr<Cel> result(new Cel(0, track_.resolution_));
    if (track_.events_.empty())
        return result;
    clampToTrack();
    if (tooShort())
        return result;
    findStart();
    widenStart();
    if (!(end_ > start_) && !evenZero_)
        return result;
    settleStart();
    findEnd();
    widenEnd();
    settleEnd();
    closing_ = last_.matching_out_ceh();
    if (!closing_.valid()) {
        vond_printf("Cel::extract: source cel has odd number of events\n");
        return result;
    }
    if (!isAfter(start_, end_))
        fill(*result);
    if (evenZero_ && result->numEvents() == 0)
        vond_printf("Cel::extract: new cel empty even though even_zero\n");
    return result;
}

void Cel::Extraction::clampToTrack()
{
    if (track_.get_start_time() + kTimeEpsilon > start_)
        start_ = track_.get_start_time();
    const double trackEnd = track_.get_end_time();
    if (!(end_ > trackEnd - kTimeEpsilon))
        return;
    if ((flags_ & EXTRACT_CLAMP_END) == 0)
        overshoot_ = end_ - trackEnd;
    end_ = trackEnd;
}

void Cel::Extraction::findStart()
{
    first_ = track_.find_ceh(start_, any_event);
    if (!first_.valid() || !first_.is_out_point())
        return;
    first_.increment(in_point);
    // Kept: from the track's end on, the whole track is taken.
    if (!first_.valid())
        first_ = track_.get_start_ceh();
    start_ = first_.get_edit_time();
}

void Cel::Extraction::widenStart()
{
    if (before_ == 0 && after_ == 0)
        return;
    for (unsigned i = 0; i < before_ && first_.valid(); ++i)
        first_.decrement(in_point);
    if (!first_.valid())
        first_ = track_.get_start_ceh();
    start_ = std::min(first_.get_edit_time(), start_);
}

void Cel::Extraction::settleStart()
{
    if (first_.valid() && !track_.isActive(first_, start_)) {
        const ce_handle next = track_.get_next_ceh(first_, in_point);
        if (next.valid()) {
            first_ = next;
            start_ = first_.get_edit_time();
        }
    }
    if (!first_.valid())
        fail("Cel::extract: internal error", kCelModule, __LINE__);
    if (!evenZero_)
        return;
    ce_handle earlier = first_;
    for (earlier.decrement(in_point);
         earlier.valid() && earlier.get_edit_time() >= start_ - kTimeEpsilon;
         earlier.decrement(in_point))
        first_ = earlier;
}

void Cel::Extraction::findEnd()
{
    last_ = track_.find_ceh(end_, kStartOrLevel);
    if (!last_.valid()) {
        LightweightString<char> text("Cel::extract duff handle ");
        appendGeneral(text, track_.get_start_time(), 0, 6);
        text += "<cel<";
        appendGeneral(text, track_.get_end_time(), 0, 6);
        text += " first ";
        appendGeneral(text, start_, 0, 6);
        text += " last ";
        appendGeneral(text, end_, 0, 6);
        vond_printf("%s\n", text.c_str());
        ura_splat(text.c_str());
    }
    if (last_.is_in_point() && last_.on_time(end_)) {
        const ce_handle earlier = track_.get_prev_ceh(last_, kStartOrLevel);
        if (earlier.valid())
            last_ = earlier;
    }
}

void Cel::Extraction::widenEnd()
{
    if (before_ == 0 && after_ == 0)
        return;
    for (unsigned i = 0; i < after_ && last_.valid(); ++i)
        last_.increment(in_point);
    if (!last_.valid()) {
        last_ = track_.get_end_ceh();
        if (!last_.is_in_point())
            last_.decrement(kStartOrLevel);
        if (!last_.valid())
            last_ = track_.get_start_ceh();
    }
    // Kept: up to its in point, so that the section after the stretch comes with no length.
    end_ = std::max(last_.get_edit_time(), end_);
}

void Cel::Extraction::settleEnd()
{
    if (evenZero_) {
        ce_handle later = last_;
        for (later.increment(out_point);
             later.valid() && later.get_edit_time() <= end_ + kTimeEpsilon;
             later.increment(out_point))
            last_ = later;
        if (last_.is_out_point())
            last_.decrement(in_point);
    }
    // At a cut without a section of no length the end is found in front of the start.
    if (last_ < first_)
        last_ = first_;
}

bool Cel::Extraction::wantsFreshIds() const
{
    return (flags_ & EXTRACT_KEEP_EFFECT_IDS) == 0 &&
           first_.getEffectGraph().getMagicType() == kTemporaryId;
}

ChannelEvent Cel::Extraction::firstEvent() const
{
    ChannelEvent event(start_, first_.get_strip_time(start_), first_.get_strip_cookie(),
                       first_.get_strip_level(start_), in_point,
                       wantsFreshIds() ? ChannelEvent::newId() : first_.getEffectGraph(),
                       first_.get_dmod_code());
    event.audioRamp_DurationQFrames(first_.audioRamp_DurationQFrames());
    event.audioRamp_CurveType(first_.audioRamp_CurveType());
    event.setActive(first_.isActive());
    return event;
}

ChannelEvent Cel::Extraction::lastEvent() const
{
    const double time = std::min(closing_.get_edit_time(), end_) + overshoot_;
    const double speed = cel::detail::effectiveSpeed(*last_.get_chan_evnt_ptr());
    // Kept: the level is that of the event the stretch ends with, not the one at its end.
    ChannelEvent event(time,
                       last_.get_strip_time(kUnsetTime) + speed * (time - last_.get_edit_time()),
                       last_.get_strip_cookie(), last_.get_strip_level(kUnsetTime), out_point,
                       wantsFreshIds() ? ChannelEvent::newId() : closing_.getEffectGraph(), 0);
    event.audioRamp_DurationQFrames(closing_.audioRamp_DurationQFrames());
    event.audioRamp_CurveType(closing_.audioRamp_CurveType());
    return event;
}

void Cel::Extraction::fill(Cel& result) const
{
    const int from = first_.get_index() + 1;
    const bool endsOnLevelChange = last_.is_level_change() && last_.on_time(end_);
    const int to = last_.get_index() - (endsOnLevelChange ? 1 : 0);
    result.events_.reserve(static_cast<std::size_t>(std::max(to - from + 1, 1)) + 2);

    if (!result.addEvent(firstEvent()))
        vond_printf("Cel::extract: failed to add first event\n");
    for (int i = from; i <= to; ++i)
        if (!result.addEvent(track_.events_[static_cast<std::size_t>(i)]))
            vond_printf("Cel::extract: failed to add event\n");
    if (!result.addEvent(lastEvent()))
        vond_printf("Cel::extract: failed to add last event\n");
}

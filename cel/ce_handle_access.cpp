// A handle's view of its event: what it asks of the track, and the event itself.

#include "cel/ce_handle.h"

#include "cel/Cel.h"

// ---- the track's accessors --------------------------------------------------------------------

double ce_handle::get_edit_time() const
{
    return track().get_edit_time(*this);
}

void ce_handle::set_edit_time(double t, bool moveStrip)
{
    track().set_edit_time(*this, t, moveStrip);
}

double ce_handle::get_strip_time(double t) const
{
    return track().get_strip_time(*this, t);
}

void ce_handle::set_strip_time(double t)
{
    track().set_strip_time(*this, t);
}

void ce_handle::set_start_strip_time(double t)
{
    track().set_start_strip_time(*this, t);
}

Cookie ce_handle::get_strip_cookie() const
{
    return track().get_strip_cookie(*this);
}

void ce_handle::set_strip_cookie(const Cookie& material)
{
    track().set_strip_cookie(*this, material);
}

CookieType ce_handle::get_cookie_type() const
{
    return track().get_cookie_type(*this);
}

float ce_handle::get_strip_level(double t) const
{
    return track().get_strip_level(*this, t);
}

void ce_handle::set_strip_level(float level)
{
    track().set_strip_level(*this, level);
}

float ce_handle::get_strip_velocity() const
{
    return track().get_strip_velocity(*this);
}

void ce_handle::set_strip_velocity(float velocity)
{
    track().set_strip_velocity(*this, velocity);
}

int ce_handle::get_dmod_code() const
{
    return track().get_dmod_code(*this);
}

void ce_handle::set_dmod_code(int modifier)
{
    track().set_dmod_code(*this, modifier);
}

unsigned ce_handle::audioRamp_DurationQFrames() const
{
    return track().audioRamp_DurationQFrames(*this);
}

void ce_handle::set_audioRamp_DurationQFrames(unsigned quarterFrames)
{
    track().set_audioRamp_DurationQFrames(*this, quarterFrames);
}

Aud::GainCurve::eCurveType ce_handle::audioRamp_CurveType() const
{
    return track().audioRamp_CurveType(*this);
}

void ce_handle::set_audioRamp_CurveType(int curve)
{
    track().set_audioRamp_CurveType(*this, curve);
}

ce_info ce_handle::get_ce_info() const
{
    return track().get_ce_info(*this);
}

int ce_handle::on_time(double t) const
{
    return track().on_time(*this, t);
}

int ce_handle::time_in_range(double t) const
{
    return track().time_in_range(t);
}

int ce_handle::time_in_range_exclusive(double t) const
{
    return track().time_in_range_exclusive(t);
}

ce_handle ce_handle::get_next_ceh(ce_info filter) const
{
    return track().get_next_ceh(*this, filter);
}

ce_handle ce_handle::get_prev_ceh(ce_info filter) const
{
    return track().get_prev_ceh(*this, filter);
}

void ce_handle::find_ceh(ce_handle& found, double t, ce_info filter) const
{
    found = *this;
    if (its_cel_)
        its_cel_->find_ceh_seeded(found, t, filter);
    else
        found.invalidate();
}

// ---- the event itself -------------------------------------------------------------------------

ChannelEvent* ce_handle::get_chan_evnt_ptr()
{
    return valid() ? its_cel_->getChanEventPtr(index_) : nullptr;
}

const ChannelEvent* ce_handle::get_chan_evnt_ptr() const
{
    return valid() ? its_cel_->getChanEventPtr(index_) : nullptr;
}

ChannelEvent ce_handle::get_channel_event() const
{
    return event("ce_handle::get_channel_event: invalid ce_handle");
}

trim_type ce_handle::get_trim_type() const
{
    return event("ce_handle::get_trim_type: invalid ce_handle").get_trim_type();
}

bool ce_handle::isActive() const
{
    return event("ce_handle::isActive: invalid ce_handle").isActive();
}

void ce_handle::setActive(bool active)
{
    event("ce_handle::setActive: invalid ce_handle").setActive(active);
    its_cel_->make_dirty();
}

IdStamp ce_handle::getEffectGraph() const
{
    return event("ce_handle::getEffectGraph: invalid ce_handle").editGraph();
}

void ce_handle::setEffectGraph(const IdStamp& id)
{
    event("ce_handle::setEffectGraph: invalid ce_handle").editGraph(id);
    its_cel_->make_dirty();
}

bool ce_handle::is_effect() const
{
    return event("ce_handle::is_effect: invalid ce_handle").strip_name().isEffect();
}

#include "cel/Cel.h"

#include "cel/detail/counts.h"
#include "cel/detail/event_array.h"
#include "cel/detail/faults.h"
#include "cel/detail/sections.h"

#include <cmath>

using cel::kTimeEpsilon;
using cel::kUnsetTime;
using cel::detail::fail;
using cel::detail::kCelModule;

const ChannelEvent& Cel::eventOf(const ce_handle& h, const char* message) const
{
    if (!check_ceh(h))
        fail(message, kCelModule, __LINE__);
    return events_[static_cast<std::size_t>(h.index_)];
}

ChannelEvent& Cel::changeEventOf(const ce_handle& h, const char* message)
{
    if (!check_ceh(h))
        fail(message, kCelModule, __LINE__);
    dirty_ = 1;
    return events_[static_cast<std::size_t>(h.index_)];
}

// ---- one event --------------------------------------------------------------------------------

ce_info Cel::get_ce_info(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_ce_info: invalid ce_handle").info();
}

double Cel::get_edit_time(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_edit_time: invalid ce_handle").edit_time();
}

void Cel::set_edit_time(const ce_handle& h, double t, bool moveStrip)
{
    ChannelEvent& event = changeEventOf(h, "Cel::set_edit_time: invalid ce_handle");
    if (moveStrip && cel::isRealTime(event.edit_time()))
        event.strip_time(event.strip_time() +
                         cel::detail::effectiveSpeed(event) * (t - event.edit_time()));
    event.edit_time(t);
}

double Cel::get_strip_time(const ce_handle& h, double t) const
{
    const ChannelEvent& event = eventOf(h, "Cel::get_strip_time: invalid ce_handle");
    if (t == kUnsetTime || std::fabs(t - event.edit_time()) < kTimeEpsilon)
        return event.strip_time();
    if (!isActiveInclusive(h, t) || event.strip_time() == kUnsetTime)
        return kUnsetTime;
    return event.strip_time() + cel::detail::effectiveSpeed(event) * (t - event.edit_time());
}

void Cel::set_strip_time(const ce_handle& h, double t)
{
    changeEventOf(h, "Cel::set_strip_time: invalid ce_handle").strip_time(t);
}

void Cel::set_start_strip_time(const ce_handle& h, double t)
{
    eventOf(h, "Cel::set_start_strip_time: invalid ce_handle");
    const int in = cel::detail::matchingIn(events_, h.index_);
    const int out = cel::detail::matchingOut(events_, h.index_);
    if (in < 0 || out == numEvents())
        return;
    const std::span section = std::span(events_).subspan(static_cast<std::size_t>(in),
                                                         static_cast<std::size_t>(out - in) + 1);
    section.front().strip_time(t);
    cel::detail::layOnStripLine(section, cel::detail::effectiveSpeed(section.front()));
    dirty_ = 1;
}

Cookie Cel::get_strip_cookie(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_strip_cookie: invalid ce_handle").strip_name();
}

void Cel::set_strip_cookie(const ce_handle& h, const Cookie& material)
{
    ChannelEvent& event = changeEventOf(h, "Cel::set_strip_cookie: invalid ce_handle");
    adjustEventCounts(event, false);
    event.strip_name(material);
    adjustEventCounts(event, true);
}

CookieType Cel::get_cookie_type(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_cookie_type: invalid ce_handle").strip_name().type();
}

float Cel::get_strip_velocity(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_strip_velocity: invalid ce_handle").velocity();
}

void Cel::set_strip_velocity(const ce_handle& h, float velocity)
{
    changeEventOf(h, "Cel::set_strip_velocity: invalid ce_handle").velocity(velocity);
}

int Cel::get_dmod_code(const ce_handle& h) const
{
    return eventOf(h, "Cel::get_dmod_code: invalid ce_handle").varispeed_display_modifier();
}

void Cel::set_dmod_code(const ce_handle& h, int modifier)
{
    changeEventOf(h, "Cel::set_dmod_code: invalid ce_handle").varispeed_display_modifier(modifier);
}

unsigned Cel::audioRamp_DurationQFrames(const ce_handle& h) const
{
    return eventOf(h, "Cel::audioRamp_DurationQFrames: invalid ce_handle")
        .audioRamp_DurationQFrames();
}

void Cel::set_audioRamp_DurationQFrames(const ce_handle& h, unsigned quarterFrames)
{
    changeEventOf(h, "Cel::audioRamp_DurationQFrames: invalid ce_handle")
        .audioRamp_DurationQFrames(quarterFrames);
}

Aud::GainCurve::eCurveType Cel::audioRamp_CurveType(const ce_handle& h) const
{
    return eventOf(h, "Cel::audioRamp_CurveType: invalid ce_handle").audioRamp_CurveType();
}

void Cel::set_audioRamp_CurveType(const ce_handle& h, int curve)
{
    changeEventOf(h, "Cel::audioRamp_CurveType: invalid ce_handle").audioRamp_CurveType(curve);
}

void Cel::set_strip_level(const ce_handle& h, float level)
{
    changeEventOf(h, "Cel::set_strip_level: invalid ce_handle").level_sc(level);
}

float Cel::get_strip_level(const ce_handle& h, double t) const
{
    const ChannelEvent& event = eventOf(h, "Cel::get_strip_level: invalid ce_handle");
    if (t == kUnsetTime || std::fabs(t - event.edit_time()) < kTimeEpsilon)
        return event.level_sc();
    if (!isActiveInclusive(h, t))
        return 0.0F;

    // The section is whole: isActiveInclusive has looked at both ends of it.
    const ChannelEvent& in =
        events_[static_cast<std::size_t>(cel::detail::matchingIn(events_, h.index_))];
    const ChannelEvent& out =
        events_[static_cast<std::size_t>(cel::detail::matchingOut(events_, h.index_))];
    if (t + kTimeEpsilon < in.edit_time() || out.edit_time() < t - kTimeEpsilon)
        fail("Cel::get_strip_level: internal error", kCelModule, __LINE__);
    const double length = out.edit_time() - in.edit_time();
    if (length < -kTimeEpsilon || length > cel::kEndlessTime)
        fail("Cel::get_strip_level: edit_times out of range", kCelModule, __LINE__);
    return cel::detail::levelAt(in, out, t);
}

// ---- queries by time --------------------------------------------------------------------------

int Cel::time_in_range(double t) const
{
    return !events_.empty() && t + kTimeEpsilon > get_start_time() &&
           get_end_time() > t - kTimeEpsilon;
}

int Cel::time_in_range_exclusive(double t) const
{
    return !events_.empty() && t + kTimeEpsilon > get_start_time() &&
           get_end_time() > t + kTimeEpsilon;
}

int Cel::isActive(const ce_handle& h, double t) const
{
    if (!check_ceh(h))
        fail("Cel::isActive: invalid ce_handle", kCelModule, __LINE__);
    const int in = cel::detail::matchingIn(events_, h.index_);
    const int out = cel::detail::matchingOut(events_, h.index_);
    if (in < 0 || out == numEvents())
        fail("Cel::get_edit_time: invalid ce_handle", kCelModule, __LINE__);
    return t > events_[static_cast<std::size_t>(in)].edit_time() - kTimeEpsilon &&
           events_[static_cast<std::size_t>(out)].edit_time() + kTimeEpsilon > t;
}

int Cel::isActiveInclusive(const ce_handle& h, double t) const
{
    // Kept: the same test and the same text.
    return isActive(h, t);
}

int Cel::on_time(const ce_handle& h, double t) const
{
    const ChannelEvent& event = eventOf(h, "Cel::on_time: invalid ce_handle");
    return std::fabs(event.edit_time() - t) < kTimeEpsilon;
}

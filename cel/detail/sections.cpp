#include "cel/detail/sections.h"

#include "cel/detail/faults.h"

#include <algorithm>
#include <cmath>

namespace cel::detail {

namespace {

constexpr double kLongestRampQFrames = 16383.0;
constexpr double kQFramesPerFrame = 4.0;

/// Length in quarter frames, of whole frames; what no ramp can hold counts as the longest.
unsigned wholeFrameQFrames(double seconds, double resolution)
{
    const double frames = seconds / resolution;
    const double rounded = std::trunc(frames + (frames > 0 ? 0.5 : -0.5)) * kQFramesPerFrame;
    return rounded >= 0.0 ? static_cast<unsigned>(std::min(rounded, kLongestRampQFrames)) : 0U;
}

} // namespace

void limitRamp(ChannelEvent& event, double seconds, double resolution)
{
    const unsigned ramp = event.audioRamp_DurationQFrames();
    if (ramp != 0)
        event.audioRamp_DurationQFrames(std::min(ramp, wholeFrameQFrames(seconds, resolution)));
}

float levelAt(const ChannelEvent& in, const ChannelEvent& out, double t)
{
    const double length = out.edit_time() - in.edit_time();
    if (!(length >= kTimeEpsilon))
        return in.level_sc();
    const double share = (t - in.edit_time()) / length;
    return static_cast<float>((1.0 - share) * double(in.level_sc()) +
                              share * double(out.level_sc()));
}

SectionCut cutSection(const ChannelEvent& in, const ChannelEvent& out, double t, double resolution)
{
    if (!(out.edit_time() - in.edit_time() <= kEndlessTime))
        fail("Cel::get_strip_level: edit_times out of range", kCelModule, __LINE__);
    const double strip = in.strip_time() + effectiveSpeed(in) * (t - in.edit_time());
    const float level = levelAt(in, out, t);
    SectionCut cut{
        ChannelEvent(in.edit_time(), in.strip_time(), in.strip_name(), in.level_sc(), in_point,
                     ChannelEvent::newId(), in.varispeed_display_modifier()),
        ChannelEvent(t, strip, in.strip_name(), level, out_point, ChannelEvent::newId(), 0), in,
        out};
    cut.firstIn.velocity(in.velocity());
    cut.firstIn.setActive(in.isActive());
    cut.firstIn.audioRampWord(in.audioRampWord());
    cut.firstOut.velocity(in.velocity());
    cut.secondIn.edit_time(t);
    cut.secondIn.strip_time(strip);
    cut.secondIn.level_sc(level);
    cut.secondIn.audioRampWord(0);
    limitRamp(cut.secondOut, out.edit_time() - t, resolution);
    limitRamp(cut.firstIn, t - in.edit_time(), resolution);
    return cut;
}

void replaceEvents(EventVector& events, std::size_t first, std::size_t removed, ConstEventSpan with)
{
    const std::size_t common = std::min(removed, with.size());
    std::copy_n(with.begin(), common, events.begin() + static_cast<std::ptrdiff_t>(first));
    const auto at = events.begin() + static_cast<std::ptrdiff_t>(first + common);
    if (with.size() > removed)
        events.insert(at, with.begin() + static_cast<std::ptrdiff_t>(common), with.end());
    else
        events.erase(at, at + static_cast<std::ptrdiff_t>(removed - common));
}

std::pair<ChannelEvent, ChannelEvent> blackSection(const Cookie& black, double start, double end)
{
    const IdStamp fresh(0, 0, 0);
    std::pair section(ChannelEvent(start, 0.0, black, 1.0F, in_point, fresh, 0),
                      ChannelEvent(end, end - start, black, 1.0F, out_point, fresh, 0));
    section.first.velocity(1.0F);
    section.second.velocity(1.0F);
    return section;
}

void appendBlack(EventVector& events, const Cookie& black, double start, double end)
{
    const auto [in, out] = blackSection(black, start, end);
    events.insert(events.end(), {in, out});
}

} // namespace cel::detail

#include "interchange/sections.h"

#include <cmath>

namespace cel {

double Section::speed() const
{
    return in.velocity() == kUnsetVelocity ? 1.0 : double(in.velocity());
}

bool Section::runsEvenly(double frame) const
{
    const double outSpeed = out.velocity() == kUnsetVelocity ? 1.0 : double(out.velocity());
    const double end = in.strip_time() + speed() * (out.edit_time() - in.edit_time());
    return outSpeed == speed() && std::fabs(end - out.strip_time()) <= frame / 2;
}

void walkSections(const Cel& track, const std::function<void(const Section&)>& each,
                  const std::function<void(const ChannelEvent&)>& stray)
{
    const auto events = track.events();
    const ChannelEvent* in = nullptr;
    bool levelChanges = false;
    for (const ChannelEvent& event : events) {
        if (in && event.info() == out_point) {
            each({*in, event, static_cast<std::size_t>(in - events.data()), levelChanges});
            in = nullptr;
        } else if (!in && event.info() == in_point) {
            in = &event;
            levelChanges = false;
        } else if (in && event.info() == level_change) {
            levelChanges = true;
        } else {
            stray(event);
        }
    }
    if (in)
        stray(*in);
}

std::vector<SectionLoss> lossesInText(const Section& section)
{
    const auto& [in, out, index, levelChanges] = section;
    std::vector<SectionLoss> losses;
    if (in.audioRamp_DurationQFrames() != 0 || out.audioRamp_DurationQFrames() != 0)
        losses.push_back({"ramp", "its fades are not kept"});
    if (!in.isActive())
        losses.push_back({"inactive", "it is switched off, which a list cannot say"});
    if (in.varispeed_display_modifier() != 0)
        losses.push_back({"modifier", "the mark of its speed display is not kept"});
    constexpr int kStoredEffect = 0;
    constexpr int kSharedEffect = 3;
    const int magic = in.editGraph().getMagicType();
    if (in.editGraph().valid() && (magic == kStoredEffect || magic == kSharedEffect))
        losses.push_back({"effect", "its effect is not kept"});
    return losses;
}

} // namespace cel

#include "cel/plays_same.h"

#include "cel/Cel.h"
#include "cel/detail/number_text.h"
#include "cel/detail/sections.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace cel {

namespace {

constexpr double kTolerance = 1e-6;
constexpr double kForEver = 2.0 * kEndlessTime;

/// What one stretch of a track plays. A hole is a stretch of black.
struct Stretch
{
    double start;
    double end;
    const ChannelEvent* in = nullptr; ///< null in a hole
    const ChannelEvent* out = nullptr;

    bool silent() const { return !in || in->strip_name().isBlack(); }
    double stripAt(double t) const
    {
        return in->strip_time() + detail::effectiveSpeed(*in) * (t - in->edit_time());
    }
    double levelAt(double t) const { return double(detail::levelAt(*in, *out, t)); }
    bool beginsAt(double t) const { return in && std::fabs(in->edit_time() - t) <= kTolerance; }
    bool endsAt(double t) const { return out && std::fabs(out->edit_time() - t) <= kTolerance; }
};

/// The stretches of a track from the beginning of time to its end, without holes between them.
class Playing
{
public:
    explicit Playing(const Cel& track)
    {
        const std::span events = track.events();
        double reached = -kForEver;
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (events[i].info() != in_point)
                continue;
            const auto out =
                static_cast<std::size_t>(detail::matchingOut(events, static_cast<int>(i)));
            if (out == events.size())
                break;
            add(events[i], events[out], reached);
            i = out;
        }
        stretches_.push_back({reached, kForEver});
    }

    const Stretch& operator[](std::size_t index) const { return stretches_[index]; }
    std::size_t size() const { return stretches_.size(); }

private:
    void add(const ChannelEvent& in, const ChannelEvent& out, double& reached)
    {
        const double start = std::max(in.edit_time(), reached);
        const double end = out.edit_time();
        if (!(end - start > kTolerance) || !isRealTime(start) || !isRealTime(end))
            return;
        if (start > reached)
            stretches_.push_back({reached, start});
        stretches_.push_back({start, end, &in, &out});
        reached = end;
    }

    std::vector<Stretch> stretches_;
};

std::string text(double value)
{
    LightweightString<char> number;
    detail::appendGeneral(number, value, 0, 9);
    return number.c_str();
}

std::string nameOf(const Stretch& stretch)
{
    return stretch.silent() ? "black" : stretch.in->strip_name().asString(true).c_str();
}

Difference differ(double time, const char* field, const std::string& a, const std::string& b)
{
    return {time, field, a + " against " + b};
}

/// The first time in the stretch at which two straight lines are further apart than the tolerance,
/// given their distances at both ends.
std::optional<double> whereApart(double from, double to, double apartFrom, double apartTo)
{
    if (!(std::fabs(apartFrom) <= kTolerance))
        return from;
    if (std::fabs(apartTo) <= kTolerance)
        return {};
    const double limit = std::copysign(kTolerance, apartTo);
    return from + (to - from) * (limit - apartFrom) / (apartTo - apartFrom);
}

std::optional<Difference> compareStretch(const Stretch& a, const Stretch& b, double from, double to)
{
    if (a.silent() && b.silent())
        return {};
    if (a.silent() != b.silent() || a.in->strip_name() != b.in->strip_name())
        return differ(from, "material", nameOf(a), nameOf(b));
    if (a.in->isActive() != b.in->isActive())
        return differ(from, "active", a.in->isActive() ? "active" : "inactive",
                      b.in->isActive() ? "active" : "inactive");
    if (a.in->varispeed_display_modifier() != b.in->varispeed_display_modifier())
        return differ(from, "display", std::to_string(a.in->varispeed_display_modifier()),
                      std::to_string(b.in->varispeed_display_modifier()));
    const double speedA = detail::effectiveSpeed(*a.in);
    const double speedB = detail::effectiveSpeed(*b.in);
    if (std::fabs(speedA - speedB) > kTolerance)
        return differ(from, "speed", text(speedA), text(speedB));
    if (const auto t =
            whereApart(from, to, a.stripAt(from) - b.stripAt(from), a.stripAt(to) - b.stripAt(to)))
        return differ(*t, "strip", text(a.stripAt(*t)), text(b.stripAt(*t)));
    if (const auto t =
            whereApart(from, to, a.levelAt(from) - b.levelAt(from), a.levelAt(to) - b.levelAt(to)))
        return differ(*t, "level", text(a.levelAt(*t)), text(b.levelAt(*t)));
    return {};
}

std::optional<Difference> compareRamps(double time, const ChannelEvent& a, const ChannelEvent& b)
{
    const auto describe = [](const ChannelEvent& event) {
        return std::to_string(event.audioRamp_DurationQFrames()) + " quarter frames, curve " +
               std::to_string(static_cast<int>(event.audioRamp_CurveType()));
    };
    const bool none = a.audioRamp_DurationQFrames() == 0 && b.audioRamp_DurationQFrames() == 0;
    if (none || a.audioRampWord() == b.audioRampWord())
        return {};
    return differ(time, "ramp", describe(a), describe(b));
}

/// Ramps where both tracks have a cut at the beginning or the end of what plays together.
std::optional<Difference> compareCuts(const Stretch& a, const Stretch& b, double from, double to)
{
    if (a.silent() || b.silent())
        return {};
    if (a.beginsAt(from) && b.beginsAt(from))
        if (auto difference = compareRamps(from, *a.in, *b.in))
            return difference;
    if (a.endsAt(to) && b.endsAt(to))
        return compareRamps(to, *a.out, *b.out);
    return {};
}

} // namespace

std::optional<Difference> explainDifference(const Cel& a, const Cel& b)
{
    const Playing first(a);
    const Playing second(b);
    double from = -kForEver;
    for (std::size_t i = 0, j = 0; i < first.size() && j < second.size();) {
        const Stretch& one = first[i];
        const Stretch& other = second[j];
        const double to = std::min(one.end, other.end);
        if (to - from > 2.0 * kTolerance) {
            if (auto difference = compareStretch(one, other, from, to))
                return difference;
            if (auto difference = compareCuts(one, other, from, to))
                return difference;
        }
        from = to;
        i += one.end <= to ? 1 : 0;
        j += other.end <= to ? 1 : 0;
    }
    return {};
}

bool playsSame(const Cel& a, const Cel& b)
{
    return !explainDifference(a, b);
}

} // namespace cel

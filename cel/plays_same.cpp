#include "cel/plays_same.h"

#include "cel/Cel.h"
#include "cel/detail/number_text.h"
#include "cel/detail/sections.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace cel {

namespace {

constexpr double kTolerance = 1e-6;
constexpr double kShortest = 2.0 * kTolerance; ///< shorter stretches are not compared
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

/// Two stretches that play at the same time, and what they are compared for.
class Comparison
{
public:
    Comparison(const Stretch& a, const Stretch& b, double from, double to)
        : a_(a)
        , b_(b)
        , from_(from)
        , to_(to)
    {
    }

    std::optional<DifferingStretch> run() const
    {
        if (a_.silent() && b_.silent())
            return {};
        if (auto difference = compareWhatPlays())
            return difference;
        return compareCuts();
    }

private:
    using Answer = std::optional<DifferingStretch>;

    Answer compareWhatPlays() const
    {
        if (a_.silent() != b_.silent() || a_.in->strip_name() != b_.in->strip_name())
            return throughout("material", nameOf(a_), nameOf(b_));
        if (a_.in->isActive() != b_.in->isActive())
            return throughout("active", a_.in->isActive() ? "active" : "inactive",
                              b_.in->isActive() ? "active" : "inactive");
        const int displayA = a_.in->varispeed_display_modifier();
        const int displayB = b_.in->varispeed_display_modifier();
        if (displayA != displayB)
            return throughout("display", std::to_string(displayA), std::to_string(displayB));
        const double speedA = detail::effectiveSpeed(*a_.in);
        const double speedB = detail::effectiveSpeed(*b_.in);
        if (std::fabs(speedA - speedB) > kTolerance)
            return throughout("speed", text(speedA), text(speedB));
        if (auto difference = compareLines("strip", &Stretch::stripAt))
            return difference;
        return compareLines("level", &Stretch::levelAt);
    }

    /// Compares two straight lines: they are apart from one end on, from the other, or throughout.
    Answer compareLines(const char* field, double (Stretch::*valueAt)(double) const) const
    {
        const double apartFrom = (a_.*valueAt)(from_) - (b_.*valueAt)(from_);
        const double apartTo = (a_.*valueAt)(to_) - (b_.*valueAt)(to_);
        const bool meetsFrom = std::fabs(apartFrom) <= kTolerance;
        const bool meetsTo = std::fabs(apartTo) <= kTolerance;
        if (meetsFrom && meetsTo)
            return {};
        double from = from_;
        double to = to_;
        if (meetsFrom != meetsTo) {
            const double limit = std::copysign(kTolerance, meetsFrom ? apartTo : apartFrom);
            const double border =
                from_ + (to_ - from_) * (limit - apartFrom) / (apartTo - apartFrom);
            (meetsFrom ? from : to) = border;
        }
        return differ(from, to, field, text((a_.*valueAt)(from)), text((b_.*valueAt)(from)));
    }

    /// Ramps where both tracks have a cut at the beginning or the end of what plays together.
    Answer compareCuts() const
    {
        if (a_.beginsAt(from_) && b_.beginsAt(from_))
            if (auto difference = compareRamps(from_, *a_.in, *b_.in))
                return difference;
        if (a_.endsAt(to_) && b_.endsAt(to_))
            return compareRamps(to_, *a_.out, *b_.out);
        return {};
    }

    Answer compareRamps(double time, const ChannelEvent& a, const ChannelEvent& b) const
    {
        const auto describe = [](const ChannelEvent& event) -> std::string {
            constexpr const char* kCurves[] = {"linear", "constant power", "constant gain",
                                               "S-curve"};
            const int length = event.audioRamp_DurationQFrames();
            if (length == 0)
                return "none";
            return std::to_string(length) + " quarter frames, " +
                   kCurves[event.audioRamp_CurveType()];
        };
        const bool none = a.audioRamp_DurationQFrames() == 0 && b.audioRamp_DurationQFrames() == 0;
        if (none || a.audioRampWord() == b.audioRampWord())
            return {};
        return differ(time, time, "ramp", describe(a), describe(b));
    }

    Answer throughout(const char* field, const std::string& a, const std::string& b) const
    {
        return differ(from_, to_, field, a, b);
    }

    Answer differ(double from, double to, const char* field, const std::string& a,
                  const std::string& b) const
    {
        return DifferingStretch{
            from, to, field, a + " against " + b, playedAt(a_, from), playedAt(b_, from)};
    }

    static DifferingStretch::Played playedAt(const Stretch& stretch, double time)
    {
        if (!stretch.in)
            return {};
        return {stretch.in->strip_name(), stretch.stripAt(time)};
    }

    const Stretch& a_;
    const Stretch& b_;
    double from_;
    double to_;
};

/// Hands each differing stretch to `take` until that answers false.
template <class Take>
void walkDifferences(const Cel& a, const Cel& b, const Take& take)
{
    const Playing first(a);
    const Playing second(b);
    double from = -kForEver;
    for (std::size_t i = 0, j = 0; i < first.size() && j < second.size();) {
        const Stretch& one = first[i];
        const Stretch& other = second[j];
        const double to = std::min(one.end, other.end);
        if (to - from > kShortest)
            if (auto difference = Comparison(one, other, from, to).run())
                if (!take(std::move(*difference)))
                    return;
        from = to;
        i += one.end <= to ? 1 : 0;
        j += other.end <= to ? 1 : 0;
    }
}

} // namespace

std::optional<Difference> explainDifference(const Cel& a, const Cel& b)
{
    std::optional<Difference> found;
    walkDifferences(a, b, [&found](DifferingStretch&& first) {
        found = Difference{first.from, first.field, std::move(first.text)};
        return false;
    });
    return found;
}

bool playsSame(const Cel& a, const Cel& b)
{
    return !explainDifference(a, b);
}

std::vector<DifferingStretch> listDifferences(const Cel& a, const Cel& b)
{
    std::vector<DifferingStretch> all;
    walkDifferences(a, b, [&all](DifferingStretch&& next) {
        if (!all.empty() && next.from - all.back().to <= kShortest)
            all.back().to = std::max(all.back().to, next.to);
        else
            all.push_back(std::move(next));
        return true;
    });
    return all;
}

} // namespace cel

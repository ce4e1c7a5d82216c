#include "tools/cel/cut_differences.h"

#include "interchange/cut_levels.h"
#include "tools/cel/adopt_material.h"
#include "tools/cel/commands.h"
#include "tools/cel/level_values.h"
#include "tools/cel/listed_sections.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;

/// The tracks of a cut by name, and in their order where they share one.
using TracksByName = std::map<std::string, std::vector<Kt::Ptr<Cel>>>;

TracksByName tracksByName(const Cut& cut)
{
    TracksByName tracks;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i)
        tracks[nameOfTrack(cut, i)].push_back(cut.tracks[i]);
    return tracks;
}

/// The tracks of a cut with their material named as in `table`.
TracksByName adoptedTracks(const Cut& cut, MaterialTable& table)
{
    Cut adopted = cut;
    for (Kt::Ptr<Cel>& track : adopted.tracks) {
        track = copyOfTrack(*track);
        adoptForComparison(*track, cut.materials, table);
    }
    return tracksByName(adopted);
}

bool differAt(const Store& a, const Store& b, double t)
{
    const double one = std::max(double{a.getLevelAtTime(t)}, kSilentLevel);
    const double other = std::max(double{b.getLevelAtTime(t)}, kSilentLevel);
    return !(std::fabs(decibelsOf(one / other)) <= kSameDecibels);
}

/// From when on two envelopes differ that are farthest apart at `worst`: the node of either from
/// which on they part, or 0 where they differ from the start.
double firstDifference(const Store& a, const Store& b, double worst)
{
    std::vector<double> times;
    for (const Store* levels : {&a, &b})
        for (const Store::Node& node : levels->nodes())
            if (isRealTime(node.getRawTime()))
                times.push_back(node.getRawTime());
    std::sort(times.begin(), times.end());
    double from = 0.0;
    for (const double t : times) {
        if (t > worst || differAt(a, b, std::nextafter(t, -kEndlessTime)))
            return from;
        if (differAt(a, b, t))
            return t;
        from = t;
    }
    return from;
}

void compareLevels(const AudLevelsCel& first, const AudLevelsCel& second, TrackComparison& track)
{
    const Store a = first.snapshot();
    const Store b = second.snapshot();
    track.levels = worstLevelError(a, b);
    if (track.levels.decibels > kSameDecibels)
        track.levelsDifferFrom = firstDifference(a, b, track.levels.time);
}

/// All names, the first cut's in its order, then those that only the second has.
std::vector<std::string> allNames(const Cut& first, const Cut& second)
{
    std::vector<std::string> names;
    for (const Cut* cut : {&first, &second})
        for (std::size_t i = 0; i < cut->tracks.size(); ++i)
            if (const std::string name = nameOfTrack(*cut, i);
                std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
    return names;
}

void compareTracks(const Cut& first, const Cel& a, const Cut& second, const Cel& b,
                   TrackComparison& track)
{
    track.stretches = listDifferences(a, b);
    compareLevels(levelsOf(first, a), levelsOf(second, b), track);
}

} // namespace

bool CutComparison::playsSame() const
{
    return std::all_of(tracks.begin(), tracks.end(),
                       [](const TrackComparison& track) { return track.playsSame(); });
}

CutComparison compareCuts(const Cut& first, const Cut& second,
                          const std::vector<std::string>& names)
{
    CutComparison comparison;
    TracksByName ours = adoptedTracks(first, comparison.materials);
    TracksByName theirs = adoptedTracks(second, comparison.materials);
    for (const std::string& name : names.empty() ? allNames(first, second) : names) {
        const std::vector<Kt::Ptr<Cel>>& a = ours[name];
        const std::vector<Kt::Ptr<Cel>>& b = theirs[name];
        if (a.empty() && b.empty())
            throw Failure(kUsage, "no track is called " + name + " in either cut");
        for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
            TrackComparison track;
            track.name = name;
            if (i >= b.size())
                track.where = TrackComparison::onlyInFirst;
            else if (i >= a.size())
                track.where = TrackComparison::onlyInSecond;
            else
                compareTracks(first, *a[i], second, *b[i], track);
            comparison.tracks.push_back(std::move(track));
        }
    }
    return comparison;
}

} // namespace cel::tool

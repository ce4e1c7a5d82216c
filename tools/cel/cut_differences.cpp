#include "tools/cel/cut_differences.h"

#include "tools/cel/adopt_material.h"
#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"

#include <algorithm>
#include <map>

namespace cel::tool {

namespace {

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
                track.stretches = listDifferences(*a[i], *b[i]);
            comparison.tracks.push_back(std::move(track));
        }
    }
    return comparison;
}

} // namespace cel::tool

#include "tools/cel/edit_report.h"

#include "tools/cel/envelope_edit.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"
#include "tools/cel/timeline_drawing.h"

#include <algorithm>
#include <cstring>

namespace cel::tool {

namespace {

/// The stretch that shows an edit in its surroundings.
TimeRange neighbourhood(const std::vector<EditedTrack>& tracks)
{
    constexpr double kLeastAround = 8.0;
    TimeRange edit = tracks.front().markBefore;
    double end = 0.0;
    for (const EditedTrack& track : tracks) {
        for (const TimeRange& mark : {track.markBefore, track.markAfter}) {
            edit.from = std::min(edit.from, mark.from);
            edit.to = std::max(edit.to, mark.to);
        }
        for (const Kt::Ptr<Cel>& cel : {track.before, track.after})
            end = std::max(end, cel->numEvents() == 0 ? 0.0 : cel->get_end_time());
    }
    const double around = std::max(kLeastAround, (edit.to - edit.from) / 2);
    return {std::min(edit.from, std::max(0.0, edit.from - around)),
            std::max(edit.to, std::min(end, edit.to + around))};
}

/// One of the two pictures: the cut with these tracks in the place of its own.
std::string drawState(Cut cut, const std::vector<EditedTrack>& tracks,
                      Kt::Ptr<Cel> EditedTrack::*state, AudLevelsCel EditedTrack::*levels,
                      TimeRange EditedTrack::*mark, bool withRolls, const TimeRange& stretch,
                      const Terminal& terminal)
{
    std::vector<TimeRange> marks;
    std::vector<std::size_t> drawn;
    for (const EditedTrack& track : tracks) {
        cut.tracks[track.index] = track.*state;
        if ((track.*levels).valid())
            setLevels(cut, *cut.tracks[track.index], track.*levels);
        marks.push_back(track.*mark);
        drawn.push_back(track.index);
        for (const Kt::Ptr<Cel>& roll : withRolls ? track.rolls : std::vector<Kt::Ptr<Cel>>()) {
            drawn.push_back(cut.tracks.size());
            cut.tracks.push_back(roll);
        }
    }
    std::vector<std::size_t> order = tracksFromTop(cut);
    std::erase_if(order, [&drawn](std::size_t i) {
        return std::find(drawn.begin(), drawn.end(), i) == drawn.end();
    });
    return drawTimeline(cut, order, stretch, terminal, marks);
}

double lengthOf(const Cel& track)
{
    return track.numEvents() == 0 ? 0.0 : track.get_end_time() - track.get_start_time();
}

std::size_t sectionCount(const Cel& track)
{
    return sectionsOf(track, MaterialTable()).size();
}

/// "length 00:00:10:00 (250 frames), now 00:00:08:00 (200 frames)", or one when nothing changed.
std::string changeOf(const std::string& before, const std::string& after)
{
    return before == after ? before : before + ", now " + after;
}

std::string nodeCount(const AudLevelsCel& levels)
{
    return counted(static_cast<long long>(levels.snapshot().size()), "node");
}

std::string describeLevels(const EditedTrack& track)
{
    if (!track.levelsBefore.valid())
        return "it has a level envelope now, " + nodeCount(track.levelsAfter);
    return "its level envelope went along, " +
           changeOf(nodeCount(track.levelsBefore), nodeCount(track.levelsAfter));
}

std::string rollNames(const EditedTrack& track)
{
    std::string names;
    for (const Kt::Ptr<Cel>& roll : track.rolls)
        names += (names.empty() ? "" : " and ") + printable(roll->editChannelName().view());
    return names;
}

Json stateAsJson(const Cel& track)
{
    Json json = Json::object();
    json.set("seconds", lengthOf(track)).set("sections", sectionCount(track));
    return json;
}

} // namespace

bool sameEvents(const Cel& a, const Cel& b)
{
    const auto first = std::as_bytes(a.events());
    const auto second = std::as_bytes(b.events());
    return first.size() == second.size() &&
           (first.empty() || std::memcmp(first.data(), second.data(), first.size()) == 0);
}

bool levelsChanged(const EditedTrack& track)
{
    return !track.taken && !sameNodes(track.levelsBefore.snapshot(), track.levelsAfter.snapshot());
}

std::string drawEdit(const Cut& cut, const std::vector<EditedTrack>& tracks,
                     const Terminal& terminal)
{
    const TimeRange stretch = neighbourhood(tracks);
    return "before\n" +
           drawState(cut, tracks, &EditedTrack::before, &EditedTrack::levelsBefore,
                     &EditedTrack::markBefore, false, stretch, terminal) +
           "after\n" +
           drawState(cut, tracks, &EditedTrack::after, &EditedTrack::levelsAfter,
                     &EditedTrack::markAfter, true, stretch, terminal);
}

std::string describeEdit(const Cut& cut, const std::vector<EditedTrack>& tracks)
{
    std::string text;
    for (const EditedTrack& track : tracks) {
        const auto count = [](const Cel& cel) {
            return counted(static_cast<long long>(sectionCount(cel)), "section");
        };
        text += padded(nameOfTrack(cut, track.index), 4) + "  " + track.done + "\n";
        if (!track.rolls.empty()) {
            text += std::string(6, ' ') + "new tracks " + rollNames(track) +
                    "; the track itself stays as it is\n";
            continue;
        }
        if (track.taken) {
            text +=
                std::string(6, ' ') + count(*track.after) + "; the track itself stays as it is\n";
            continue;
        }
        text += std::string(6, ' ') + "length " +
                changeOf(describeDuration(cut, lengthOf(*track.before)),
                         describeDuration(cut, lengthOf(*track.after))) +
                "; " + changeOf(count(*track.before), count(*track.after)) + "\n";
        if (levelsChanged(track))
            text += std::string(6, ' ') + describeLevels(track) + "\n";
        if (track.attached > 0 && track.changed)
            text += std::string(6, ' ') +
                    "what belongs to it besides its sections stays as it was, " +
                    counted(static_cast<long long>(track.attached), "object") + "\n";
        if (track.newlyOffFrames > 0)
            text += std::string(6, ' ') +
                    counted(static_cast<long long>(track.newlyOffFrames), "event") +
                    " more between two frames; quantise lays them on frames\n";
    }
    return text;
}

Json editAsJson(const Cut& cut, const std::vector<EditedTrack>& tracks)
{
    Json list = Json::array();
    for (const EditedTrack& track : tracks) {
        Json json = Json::object();
        json.set("track", nameOfTrack(cut, track.index))
            .set("done", track.done)
            .set("changed", track.changed)
            .set("levelsChanged", levelsChanged(track))
            .set("attachedObjects", track.attached)
            .set("newlyOffFrames", track.newlyOffFrames)
            .set("before", stateAsJson(*track.before))
            .set("after", stateAsJson(*track.after));
        if (!track.rolls.empty()) {
            Json rolls = Json::array();
            for (const Kt::Ptr<Cel>& roll : track.rolls)
                rolls.push(std::move(
                    stateAsJson(*roll).set("track", std::string(roll->editChannelName().view()))));
            json.set("rolls", std::move(rolls));
        }
        list.push(std::move(json));
    }
    return list;
}

} // namespace cel::tool

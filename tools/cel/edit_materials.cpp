// Operations that lay material of another track on a track.

#include "tools/cel/edit_operation.h"
#include "tools/cel/track_edit.h"

#include "cel/Cel.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace cel::tool {

namespace {

/// Opens the envelope for the material's levels, as the track is opened for the material.
void insertLevels(TrackEdit& edit, double at)
{
    const MaterialStretch& material = edit.material();
    if (material.track)
        edit.envelope().insert(material.levels, material.stretch(), at);
    else
        edit.envelope().insertBlack(at, material.length());
}

std::string insert(TrackEdit& edit)
{
    const double at = edit.place(0, edit.start(), kLongestCut);
    const MaterialStretch& material = edit.material();
    if (at > edit.end())
        edit.envelope().insertBlack(edit.end(), at - edit.end());
    if (edit.track().numEvents() == 0) {
        edit.become(*edit.materialAt(at));
        edit.fillWithBlack(0.0, 0.0, {});
    } else {
        edit.track().insert(material.track.get(), material.range, at, {});
    }
    insertLevels(edit, at);
    edit.mark({at, at}, {at, at + material.length()});
    return "inserted " + material.text + " at " + edit.at(at) + ", " +
           edit.lasting(material.length());
}

std::string replace(TrackEdit& edit)
{
    const double at = edit.placeOnTrack(0);
    const MaterialStretch& material = edit.material();
    if (edit.track().numEvents() == 0)
        edit.refuse("there is nothing to replace");
    edit.track().replace(material.track.get(), material.range, at, {}, Editable::kReplacePlain);
    if (material.track)
        edit.envelope().replace(material.levels, material.stretch(), at);
    else
        edit.envelope().replaceByBlack(at, material.length());
    edit.mark({at, at + material.length()}, {at, at + material.length()});
    return "replaced " + edit.from({at, at + material.length()}) + " by " + material.text;
}

std::string append(TrackEdit& edit)
{
    const double at = edit.end();
    const MaterialStretch& material = edit.material();
    edit.become(*edit.track().appendCel(edit.materialAt(at)));
    insertLevels(edit, at);
    edit.mark({at, at}, {at, at + material.length()});
    return "appended " + material.text + " at " + edit.at(at) + ", " +
           edit.lasting(material.length());
}

std::string weld(TrackEdit& edit)
{
    const double pause = edit.has(0) ? edit.length(0, 0.0, kLongestCut) : 0.0;
    const MaterialStretch& material = edit.material();
    const double start = edit.start();
    const double end = edit.end();
    // The track moves what it is given by its length: from its start on that leads to its end.
    const Kt::Ptr<Cel> behind = edit.materialAt(start);
    edit.track().weld(behind.get(), pause);
    edit.become(edit.track()); // the list takes events alone, not their texts
    edit.fillWithBlack(start, end, {end, end + pause});
    if (pause > 0.0)
        edit.envelope().insertBlack(end, pause);
    insertLevels(edit, end + pause);
    edit.mark({end, end}, {end + pause, end + pause + material.length()});
    return "welded " + material.text + " at " + edit.at(end + pause) + ", " +
           edit.lasting(material.length()) +
           (pause > 0.0 ? ", behind " + edit.lasting(pause) + " of black" : "");
}

// ---- overlay ----------------------------------------------------------------------------------

/// Two lists of stretches in the order of time, asked one after the other what meets what.
class Meeting
{
public:
    explicit Meeting(std::vector<TimeRange> stretches)
        : stretches_(std::move(stretches))
    {
    }

    /// The first stretch that has some time in common with this one; ask in the order of time.
    const TimeRange* of(double from, double to)
    {
        while (next_ < stretches_.size() && stretches_[next_].to <= from + kTimeEpsilon)
            ++next_;
        const bool meets = next_ < stretches_.size() && stretches_[next_].from < to - kTimeEpsilon;
        return meets ? &stretches_[next_] : nullptr;
    }

private:
    std::vector<TimeRange> stretches_;
    std::size_t next_ = 0;
};

/// Calls `each` with the in and the out point of every section of a track in pairs.
template <class Each>
void eachPair(const Cel& track, const Each& each)
{
    const auto events = track.events();
    for (std::size_t i = 0; i + 1 < events.size(); i += 2)
        each(events[i], events[i + 1]);
}

std::vector<TimeRange> materialOf(const Cel& track)
{
    std::vector<TimeRange> stretches;
    eachPair(track, [&](const ChannelEvent& in, const ChannelEvent& out) {
        if (!in.strip_name().isBlack())
            stretches.push_back({in.edit_time(), out.edit_time()});
    });
    return stretches;
}

/// The track without the black that lies where `other` has material, which leaves holes.
/// @param holes  grows by the black that was there.
Kt::Ptr<Cel> openedFor(const TrackEdit& edit, const Cel& track, const Cel& other, TimeRange& holes)
{
    Meeting meeting(materialOf(other));
    const Kt::Ptr<Cel> opened(new Cel(track.numEvents(), track.get_resolution()));
    eachPair(track, [&](const ChannelEvent& in, const ChannelEvent& out) {
        const TimeRange* met = meeting.of(in.edit_time(), out.edit_time());
        if (met && !in.strip_name().isBlack())
            edit.refuse("material plays at " + edit.at(std::max(met->from, in.edit_time())) +
                        " already, and an overlay fills black only; replace overwrites");
        if (met) {
            holes.from = std::min(holes.from, in.edit_time());
            holes.to = std::max(holes.to, out.edit_time());
            return;
        }
        opened->addEvent(in);
        opened->addEvent(out);
    });
    return opened;
}

/// The sections of a track that are not black.
Kt::Ptr<Cel> withoutBlack(const Cel& track)
{
    const Kt::Ptr<Cel> bare(new Cel(track.numEvents(), track.get_resolution()));
    eachPair(track, [&](const ChannelEvent& in, const ChannelEvent& out) {
        if (in.strip_name().isBlack())
            return;
        bare->addEvent(in);
        bare->addEvent(out);
    });
    return bare;
}

/// Where both tracks have a cut, which the library cannot merge.
std::optional<double> commonCut(const Cel& a, const Cel& b)
{
    const auto theirs = b.events();
    for (const ChannelEvent& event : a.events()) {
        const auto near =
            std::lower_bound(theirs.begin(), theirs.end(), event.edit_time() - kTimeEpsilon,
                             [](const ChannelEvent& e, double t) { return e.edit_time() < t; });
        if (near != theirs.end() && near->edit_time() <= event.edit_time() + kTimeEpsilon)
            return event.edit_time();
    }
    return std::nullopt;
}

std::string overlay(TrackEdit& edit)
{
    edit.requirePairs();
    const MaterialStretch& material = edit.material();
    const double at = edit.has(0) ? edit.place(0, 0.0, kLongestCut) : material.range.start();
    const Kt::Ptr<Cel> above = withoutBlack(*edit.materialAt(at));
    if (above->numEvents() == 0)
        edit.refuse(material.text + " has nothing but black there");
    const TimeRange placed = {above->get_start_time(), above->get_end_time()};
    const double start = edit.start();
    const double end = edit.end();

    TimeRange holes = placed;
    const Kt::Ptr<Cel> below = openedFor(edit, edit.track(), *above, holes);
    if (const auto both = commonCut(*below, *above))
        edit.refuse("both tracks have a cut at " + edit.at(*both) +
                    ", where an overlay cannot tell them apart; replace can");
    const Kt::Ptr<Cel> merged = below->overlay(above, false);
    if (!merged)
        edit.refuse("the two tracks cannot be merged");
    edit.become(*merged);
    edit.fillWithBlack(start, end, holes);
    const double shift = material.range.start() - at;
    for (const TimeRange& section : materialOf(*above))
        edit.envelope().replace(material.levels, {section.from + shift, section.to + shift},
                                section.from);
    edit.mark(placed, placed);
    return "laid " + material.text + " over the black from " + edit.from(placed);
}

const EditOperation kOperations[] = {
    {"insert",
     "Opens the track at a place and puts material or black in; what follows moves",
     {{"AT", "Where; behind the track's end, black fills the way there"}},
     kTakesMaterial | kTakesBlack,
     "V1 insert 10 --from other.cel V1 --range 3 5.5",
     insert},
    {"replace",
     "Overwrites from a place on, as long as the material or black lasts",
     {{"AT", "From here on"}},
     kTakesMaterial | kTakesBlack,
     "V1 replace 10:00:10:00 --from V2 --range 10:00:03:00 10:00:05:00",
     replace},
    {"overlay",
     "Lays the material of another track over the black of this one; nothing moves",
     {{"[AT]", "Where the stretch begins; at its own time without"}},
     kTakesMaterial,
     "V2 overlay 10:00:08:12 --from V1 --range 10:00:11:00 10:00:13:00",
     overlay},
    {"append",
     "Puts material or black at the end",
     {},
     kTakesMaterial | kTakesBlack,
     "V1,A1 append --from other.cel V1,A1",
     append},
    {"weld",
     "Joins another track on behind this one, after a pause if wanted",
     {{"[PAUSE]", "Black between the two; none without"}},
     kTakesMaterial,
     "V1 weld 2 --from other.cel V1",
     weld},
};

} // namespace

std::span<const EditOperation> materialOperations()
{
    return kOperations;
}

} // namespace cel::tool

// Operations on a stretch of a track, or a place on it.

#include "tools/cel/edit_operation.h"
#include "tools/cel/track_edit.h"

#include "cel/Cel.h"
#include "interchange/subtitle_tracks.h"

#include <array>

namespace cel::tool {

namespace {

TimeRange rangeOf(const Cel::Range& range)
{
    return {range.start(), range.end()};
}

std::string cut(TrackEdit& edit)
{
    const double at = edit.placeOnTrack(0);
    const int before = edit.track().numEvents();
    const ce_handle section = edit.track().makeCutAt(at);
    edit.mark({at, at}, {at, at});
    if (!section.valid() || edit.track().numEvents() == before)
        return "has a cut at " + edit.at(at) + " already";
    return "cut at " + edit.at(at);
}

std::string remove(TrackEdit& edit)
{
    const Cel::Range range = edit.stretch(0);
    edit.track().remove(range);
    edit.envelope().remove(rangeOf(range));
    edit.mark(rangeOf(range), {range.start(), range.start()});
    return "removed " + edit.from(rangeOf(range)) + ", " + edit.lasting(range.length());
}

std::string extract(TrackEdit& edit)
{
    const Cel::Range range = edit.stretch(0);
    edit.produce(stretchOf(Kt::Ptr<Cel>(&edit.track()), range),
                 edit.envelope().taken(rangeOf(range), range.start()));
    edit.mark(rangeOf(range), rangeOf(range));
    return "extracted " + edit.from(rangeOf(range)) + ", " + edit.lasting(range.length());
}

std::string rescale(TrackEdit& edit)
{
    const Cel::Range range = edit.stretch(0);
    const double length = edit.length(2, -kLongestCut, kLongestCut);
    const bool backwards = length < 0.0;
    const double lasts = backwards ? -length : length;
    if (lasts < edit.frame() - kTimeEpsilon)
        edit.reject(2, "is shorter than a frame, " + edit.lasting(edit.frame()));

    // The library turns the stretch together with its levels.
    const std::array<double, 2> levels = edit.levels();
    const double levelIn = levels[backwards ? 1 : 0];
    const double levelOut = levels[backwards ? 0 : 1];
    const double from = edit.start() + (backwards ? lasts : 0.0);
    const double to = edit.start() + (backwards ? 0.0 : lasts);
    constexpr unsigned kFlags = Cel::EXTRACT_CLAMP_END | Cel::EXTRACT_KEEP_EFFECT_IDS;
    const Kt::Ptr<Cel> scaled = edit.withTexts(edit.track().rescale(
        range.start(), range.end(), from, to, levelIn, levelOut, 0.0, static_cast<int>(kFlags)));
    const double start = edit.start();
    edit.track().remove(range);
    if (edit.track().numEvents() == 0)
        edit.become(*scaled);
    else
        edit.track().insert(scaled.get(), {start, scaled->get_end_time()}, range.start(), {});
    edit.envelope().rescale(rangeOf(range), lasts, backwards);
    edit.mark(rangeOf(range), {range.start(), range.start() + lasts});
    return "rescaled " + edit.from(rangeOf(range)) + " from " + edit.lasting(range.length()) +
           " to " + edit.lasting(lasts) + (backwards ? ", backwards" : "");
}

const EditOperation kOperations[] = {
    {"cut",
     "Cuts a section in two that play on as the one did",
     {{"AT", "Where"}},
     kTakesNothing,
     "V1,A1 cut 12.48",
     cut},
    {"remove",
     "Takes a stretch out; what follows moves up",
     {{"A", "From here"}, {"B", "to here"}},
     kTakesNothing,
     "V1 remove 10:00:10:00 10:00:12:12",
     remove},
    {"extract",
     "Copies a stretch to tracks or a file of their own",
     {{"A", "From here"}, {"B", "to here"}},
     kMakesTrack,
     "V1 extract 10 12.48 --to taken.cel",
     extract},
    {"rescale",
     "Plays a stretch faster or slower so that it lasts a given time; what follows moves",
     {{"A", "From here"},
      {"B", "to here"},
      {"LENGTH", "What it lasts afterwards; it plays backwards when negative"}},
     kTakesLevels,
     "V1 rescale 10 12 4",
     rescale},
};

} // namespace

std::span<const EditOperation> rangeOperations()
{
    return kOperations;
}

} // namespace cel::tool

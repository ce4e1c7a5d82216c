// Operations on a track as a whole.

#include "tools/cel/edit_operation.h"
#include "tools/cel/text.h"
#include "tools/cel/track_edit.h"

#include "cel/Cel.h"

#include <iterator>
#include <vector>

namespace cel::tool {

namespace {

void markAll(TrackEdit& edit, const TimeRange& before)
{
    edit.mark(before, {edit.start(), edit.end()});
}

std::string slide(TrackEdit& edit)
{
    const TimeRange before = {edit.start(), edit.end()};
    if (edit.start() <= kTimeEpsilon && edit.text(0).starts_with('-'))
        edit.reject(0, "would move " + edit.name() +
                           " to before the start of the cut, where it begins");
    const double by = edit.length(0, -edit.start(), kLongestCut);
    edit.track().slide(by);
    edit.envelope().move(by);
    markAll(edit, before);
    return "moved by " + edit.lasting(by);
}

std::string reverse(TrackEdit& edit)
{
    // A speed that is set stays what it is when a section is turned; without one the section is
    // laid from its new start to its new end, which is backwards.
    Cel& track = edit.track();
    for (int i = 0; i < track.numEvents(); ++i)
        if (ChannelEvent& event = *track.getChanEventPtr(i); !event.strip_name().isBlack())
            event.velocity(kUnsetVelocity);
    edit.become(*track.reverse());
    edit.envelope().mirror(edit.start(), edit.end());
    markAll(edit, {edit.start(), edit.end()});
    return "turned to play backwards, " + edit.lasting(edit.end() - edit.start());
}

std::string quantise(TrackEdit& edit)
{
    const TimeRange before = {edit.start(), edit.end()};
    const bool onlyEnd = edit.choice(0, {"all", "end"}) == 1;
    if (onlyEnd)
        edit.track().quantiseCelEnd();
    else
        edit.become(*edit.track().quantise());
    markAll(edit, before);
    return onlyEnd ? "laid its end on a frame" : "laid on its frames";
}

std::string simplify(TrackEdit& edit)
{
    static const std::vector<std::string> kKinds = {"all",  "zero-length", "black",
                                                    "cuts", "frames",      "holes"};
    const TimeRange before = {edit.start(), edit.end()};
    const int events = edit.track().numEvents();
    const Cel::Range range = edit.rangeOption();
    const std::size_t kind = edit.choice(0, kKinds);
    static constexpr Simplification::eType kTypes[] = {
        Simplification::kAll, Simplification::kZeroLength, Simplification::kBlack,
        Simplification::kMatchFrameCuts, Simplification::kQuantiseInPlace};
    if (kind < std::size(kTypes))
        edit.track().simplify(kTypes[kind], range);
    else
        edit.track().simplifyTidy(range);
    if (range == Editable::invalidRange())
        markAll(edit, before);
    else
        edit.mark({range.start(), range.end()}, {range.start(), range.end()});
    const int fewer = (events - edit.track().numEvents()) / 2;
    const std::string what = "simplified (" + kKinds[kind] + ")";
    if (fewer < 0)
        return what + ", " + counted(-fewer, "section") + " of black put in";
    return what + (fewer > 0 ? ", " + counted(fewer, "section") + " fewer" : ", no section fewer");
}

std::string black(TrackEdit& edit)
{
    const std::size_t where = edit.choice(0, {"start", "end", "both"});
    const int ends = where == 0   ? Cel::kBlackAtStart
                     : where == 1 ? Cel::kBlackAtEnd
                                  : Cel::kBlackAtStart | Cel::kBlackAtEnd;
    const double length = edit.has(1) ? edit.length(1, 0.0, kLongestCut) : 0.0;
    const TimeRange before = {edit.start(), edit.end()};
    if (edit.track().numEvents() == 0)
        edit.refuse("an empty track has no ends");
    const bool isSound = kindOf(edit.track()) == kAudioCookie;
    edit.become(*edit.track().add_black_to_ends(ends, isSound ? 'S' : 'V'));
    if (length > 0.0 && (ends & Cel::kBlackAtEnd)) {
        ce_handle section = edit.track().get_end_ceh();
        edit.track().trim(section, length, trim_end);
        edit.envelope().insertBlack(before.to, length);
    }
    if (length > 0.0 && (ends & Cel::kBlackAtStart)) {
        ce_handle section = edit.track().get_start_ceh();
        edit.track().trim(section, length, trim_end);
        edit.envelope().insertBlack(before.from, length);
    }
    markAll(edit, before);
    return (length > 0.0 ? "put black of " + edit.lasting(length) : "put a mark of black") +
           " at " +
           (where == 2   ? "both ends"
            : where == 1 ? "its end"
                         : "its start");
}

const EditOperation kOperations[] = {
    {"slide",
     "Moves the whole track",
     {{"BY", "How far; earlier when negative, down to the start of the cut"}},
     kTakesNothing,
     "A1 slide 00:00:00:02",
     slide},
    {"reverse", "Plays the whole track backwards", {}, kTakesNothing, "V2 reverse", reverse},
    {"quantise",
     "Lays cuts that lie between two frames on the nearest frame",
     {{"[WHAT]", "all (also without), or end: only the end of the track"}},
     kTakesNothing,
     "A1 quantise",
     quantise},
    {"simplify",
     "Takes cuts away that carry no information",
     {{"[KIND]", "What to simplify; all without"}},
     kTakesRange,
     "V1 simplify cuts --range 10:00:10:00 10:00:40:00",
     simplify,
     "  all          everything below\n"
     "  zero-length  sections of no length go\n"
     "  black        black that meets black becomes one, holes become black\n"
     "  cuts         cuts after which the same material plays on go\n"
     "  frames       cuts between two frames move onto the nearest\n"
     "  holes        holes become black\n"},
    {"black",
     "Puts black at the ends",
     {{"WHERE", "start, end or both"}, {"[LENGTH]", "How long; a mark of no length without"}},
     kTakesNothing,
     "V1,A1 black start 2",
     black},
};

} // namespace

std::span<const EditOperation> wholeTrackOperations()
{
    return kOperations;
}

} // namespace cel::tool

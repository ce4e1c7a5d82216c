// Operations that lay a track out on two rolls, and crossfades at its cuts.

#include "tools/cel/edit_operation.h"
#include "tools/cel/text.h"
#include "tools/cel/track_edit.h"

#include "cel/Cel.h"
#include "platform/foundation/Exception.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <vector>

namespace cel::tool {

namespace {

// ---- two rolls --------------------------------------------------------------------------------

void requireShots(TrackEdit& edit)
{
    if (kindOf(edit.track()) == kSubtitleCookie)
        edit.refuse("rolls are for picture and sound, not for subtitles");
}

void markAll(TrackEdit& edit)
{
    edit.mark({edit.start(), edit.end()}, {edit.start(), edit.end()});
}

std::string shotsOf(const Cel& track)
{
    long long shots = 0;
    for (const ChannelEvent& event : track.events())
        shots += event.info() == in_point && !event.strip_name().isBlack();
    return counted(shots, "shot");
}

std::string chequerboard(TrackEdit& edit)
{
    requireShots(edit);
    const Cel::Rolls rolls = edit.track().chequerboard();
    edit.produceRolls({rolls.a, rolls.b});
    markAll(edit);
    return "laid out on two rolls, " + shotsOf(*rolls.a) + " and " + shotsOf(*rolls.b);
}

/// Whether a roll plays what a section of the merged track plays.
bool plays(const Cel& roll, const ce_handle& in)
{
    const double middle = (in.get_edit_time() + in.matching_out_ceh().get_edit_time()) / 2.0;
    const ce_handle there = roll.find_ceh(middle, in_point);
    return there.valid() && there.matching_out_ceh().get_edit_time() > middle &&
           there.get_strip_cookie() == in.get_strip_cookie() &&
           std::fabs(there.get_strip_time(middle) - in.get_strip_time(middle)) < kTimeEpsilon;
}

/// Each shot of the second roll brings its levels along.
void mergeLevels(TrackEdit& edit, const Cel& first, const Cel& second)
{
    const AudLevelsCel& levels = edit.material().levels;
    const AudLevelsCel& own = edit.envelope().levels();
    if (kindOf(edit.track()) != kAudioCookie || (!levels.valid() && !own.valid()) ||
        (levels.valid() && own.valid() && sameNodes(levels.snapshot(), own.snapshot())))
        return;
    for (ce_handle in = edit.track().get_start_ceh(); in.valid(); in.increment(in_point)) {
        if (in.get_strip_cookie().isBlack() || !plays(second, in) || plays(first, in))
            continue;
        const double start = in.get_edit_time();
        edit.envelope().replace(levels, {start, in.matching_out_ceh().get_edit_time()}, start);
    }
}

std::string merge(TrackEdit& edit)
{
    requireShots(edit);
    const MaterialStretch& material = edit.material();
    const Kt::Ptr<Cel> first(new Cel(edit.track()));
    const Kt::Ptr<Cel> second = edit.materialAt(material.range.start());
    Kt::Ptr<Cel> merged;
    try {
        merged = Cel::cheq_merge(*first, *second);
    } catch (const Kt::Exception::RuntimeError& fault) {
        if (std::string_view(fault.what()).find("lies within another") == std::string_view::npos)
            throw;
        edit.refuse("a shot of one roll plays while one of the other begins and ends, so that "
                    "they have no order");
    }
    edit.become(*merged);
    mergeLevels(edit, *first, *second);
    markAll(edit);
    return "merged with " + material.text + ", " + shotsOf(edit.track());
}

/// A number of frames as it was typed.
double frames(const TrackEdit& edit, std::size_t argument)
{
    const std::string& text = edit.text(argument);
    int count = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (fault != std::errc() || end != text.data() + text.size() || count < 1)
        edit.reject(argument, "is no number of frames from 1 on");
    return count;
}

std::string widen(TrackEdit& edit)
{
    requireShots(edit);
    const double handle = frames(edit, 0) * edit.frame();
    static constexpr std::array kEnds = {Cel::kWidenHeads | Cel::kWidenTails, int{Cel::kWidenHeads},
                                         int{Cel::kWidenTails}};
    const std::size_t which = edit.choice(1, {"both", "heads", "tails"});
    const int grown = edit.track().cheq_widen_cel(handle, handle, kEnds[which]);
    markAll(edit);
    return grown == 0
               ? "has no shot that can get a handle"
               : "widened " + counted(grown, "end") + " of shots by up to " + edit.lasting(handle);
}

// ---- crossfades -------------------------------------------------------------------------------

void requireSound(TrackEdit& edit)
{
    if (kindOf(edit.track()) != kAudioCookie)
        edit.refuse("crossfades are ramps of sound, and this is a track of " +
                    std::string(describeKind(kindOf(edit.track()))));
}

/// Whether the first argument means every cut.
bool isWhole(const TrackEdit& edit)
{
    return !edit.has(0) || edit.text(0) == "all";
}

[[noreturn]] void rejectPlace(const TrackEdit& edit)
{
    edit.reject(0, "is no cut between two shots of " + edit.name() +
                       ", or one of them is shorter than a quarter frame");
}

std::string crossfade(TrackEdit& edit)
{
    requireSound(edit);
    static const std::vector<std::string> kNames = {"constant-power", "linear", "constant-gain",
                                                    "s-curve"};
    static constexpr std::array kCurves = {Aud::GainCurve::kConstantPower, Aud::GainCurve::kLinear,
                                           Aud::GainCurve::kConstantGain, Aud::GainCurve::kSCurve};
    const double length = edit.length(1, edit.frame() / 4.0, kLongestCut);
    const std::size_t curve = edit.choice(2, kNames);
    if (isWhole(edit)) {
        const int cuts = edit.track().crossfade_whole(length, kCurves[curve]);
        markAll(edit);
        return cuts == 0 ? "has no cut between two shots that are long enough"
                         : "crossfaded " + counted(cuts, "cut") + " by up to " +
                               edit.lasting(length) + ", " + kNames[curve];
    }
    const double at = edit.placeOnTrack(0);
    const unsigned quarterFrames = edit.track().cfade(at, length, kCurves[curve]);
    if (quarterFrames == 0)
        rejectPlace(edit);
    edit.mark({at, at}, {at, at});
    const double set = quarterFrames * edit.frame() / 4.0;
    return "crossfaded the cut at " + edit.at(at) + " by " + edit.lasting(set) + ", " +
           kNames[curve];
}

std::string uncrossfade(TrackEdit& edit)
{
    requireSound(edit);
    if (isWhole(edit)) {
        const int cuts = edit.track().crossfade_removal_whole();
        markAll(edit);
        return cuts == 0 ? "has no crossfades"
                         : "took the crossfades of " + counted(cuts, "cut") + " away";
    }
    const double at = edit.placeOnTrack(0);
    if (!edit.track().cfade_removal(at))
        edit.reject(0, "is no cut with a crossfade on " + edit.name());
    edit.mark({at, at}, {at, at});
    return "took the crossfade at " + edit.at(at) + " away";
}

const EditOperation kOperations[] = {
    {"chequerboard",
     "Lays the shots in turn on two new tracks, black opposite",
     {},
     kMakesRolls,
     "V1 chequerboard",
     chequerboard,
     "  V1    |  1  |  2  |black| 3 |       the track stays as it is\n"
     "  V1.A  |  1  |   black   | 3 |\n"
     "  V1.B  |black|  2  |  black  |\n"},
    {"merge",
     "Puts the shots of a second roll between those of this one",
     {},
     kTakesMaterial,
     "V1.A merge --from V1.B",
     merge,
     "Shots that overlap meet in the middle of the overlap, so the cuts come back where both\n"
     "handles are equally long. The shots of the second roll bring their levels along.\n"},
    {"widen",
     "Gives shots handles into the black around them",
     {{"FRAMES", "How many frames, as far as there are room and material"},
      {"[ENDS]", "both (also without), heads or tails"}},
     kTakesNothing,
     "V1.A,V1.B widen 12",
     widen,
     "Two shots share the black between them, half each. Fades go along with the ends.\n"},
    {"crossfade",
     "Fades one shot down while the next one fades up",
     {{"AT", "The cut between them, or all"},
      {"LENGTH", "How long; no longer than either shot"},
      {"[CURVE]", "constant-power (also without), linear, constant-gain or s-curve"}},
     kTakesNothing,
     "A1 crossfade all 00:00:00:10 linear",
     crossfade},
    {"uncrossfade",
     "Takes crossfades away; fades from and to black stay",
     {{"[AT]", "The cut, or all (also without)"}},
     kTakesNothing,
     "A1 uncrossfade",
     uncrossfade},
};

} // namespace

std::span<const EditOperation> crossfadeOperations()
{
    return kOperations;
}

} // namespace cel::tool

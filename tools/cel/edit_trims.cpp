// Trimming: the ends of one section, and black that is fed in front of it.

#include "tools/cel/edit_operation.h"
#include "tools/cel/track_edit.h"

#include "cel/Cel.h"

namespace cel::tool {

namespace {

double lengthOfSection(const ce_handle& section)
{
    return section.matching_out_ceh().get_edit_time() - section.get_edit_time();
}

/// Ripple trim of the head or the tail.
std::string trimEnds(TrackEdit& edit, trim_type type, const char* what)
{
    ce_handle section = edit.sectionAt(1);
    const double in = section.get_edit_time();
    const double length = lengthOfSection(section);
    const double by = edit.length(2, edit.frame() - length, kLongestCut);
    edit.track().trim(section, by, type);
    edit.envelope().lengthen({in, in + length}, by,
                             type == trim_end ? EnvelopeEdit::End::tail : EnvelopeEdit::End::head);
    edit.mark({in, in + length}, {in, in + length + by});
    return std::string("trimmed the ") + what + " of the section from " +
           edit.from({in, in + length}) + " by " + edit.lasting(by);
}

/// Takes the black in front of a section away, which leaves a hole that the section may move into.
/// @return the index of the section afterwards.
int openBlackBefore(Cel& track, int section)
{
    if (section < 2 || !track.getChanEventPtr(section - 1)->strip_name().isBlack())
        return section;
    track.removeEventPair(section - 2, false);
    return section - 2;
}

/// Feeds black in front of a section: the section and all behind it move, or its head gives way.
std::string trimBlack(TrackEdit& edit, trim_type type)
{
    edit.requirePairs();
    const ce_handle asked = edit.sectionAt(1);
    const double in = asked.get_edit_time();
    const double length = lengthOfSection(asked);
    const double start = edit.start();
    const double end = edit.end();
    const int index = openBlackBefore(edit.track(), asked.get_index());
    const double before = index == 0 ? start : edit.track().getChanEventPtr(index - 1)->edit_time();
    const bool rolls = type == trim_roll_black;
    const double by = edit.length(2, before - in, rolls ? length - edit.frame() : kLongestCut);

    edit.track().deselect_all_trims();
    ce_handle section = edit.track().find_ceh(in, in_point);
    const double strip = section.get_strip_time();
    const float velocity = section.get_strip_velocity();
    const double speed = velocity == kUnsetVelocity ? 1.0 : double{velocity};
    section.select_trim(type);
    const double applied = edit.track().do_trim(by);
    // The track rolls at normal speed; at any other, what is left of the section would play other
    // material than before.
    if (rolls)
        section.set_strip_time(strip + speed * applied);
    edit.track().deselect_all_trims();
    edit.fillWithBlack(start, rolls ? end : 0.0, {in + applied, in + applied});
    if (!rolls && applied < 0.0)
        edit.envelope().remove({in + applied, in});
    else if (!rolls)
        edit.envelope().insertBlack(in, applied);
    edit.mark({in, in}, applied < 0.0 ? TimeRange{in + applied, in} : TimeRange{in, in + applied});
    const std::string amount = edit.lasting(applied);
    return rolls ? "moved the head of the section at " + edit.at(in) + " by " + amount +
                       ", black in front of it"
                 : "moved the section at " + edit.at(in) + " and what follows by " + amount +
                       ", black in front of it";
}

std::string trim(TrackEdit& edit)
{
    switch (edit.choice(0, {"start", "end", "black", "roll"})) {
    case 0:
        return trimEnds(edit, trim_start, "start");
    case 1:
        return trimEnds(edit, trim_end, "end");
    case 2:
        return trimBlack(edit, trim_black);
    default:
        return trimBlack(edit, trim_roll_black);
    }
}

const EditOperation kOperations[] = {
    {"trim",
     "Makes a section longer or shorter, or feeds black in front of it",
     {{"KIND", "start, end, black or roll"},
      {"AT", "A time in the section"},
      {"BY", "How far; negative for shorter, or earlier where black lies in front"}},
     kTakesNothing,
     "V1 trim end 10:00:08:00 -00:00:00:12",
     trim,
     "  start  the section gets longer or shorter at its start, and what follows moves\n"
     "  end    the same at its end\n"
     "  black  the section and what follows move, with black in front of it\n"
     "  roll   only the section's start moves, with black in front of it\n"},
};

} // namespace

std::span<const EditOperation> trimOperations()
{
    return kOperations;
}

} // namespace cel::tool

#include "tools/cel/edit.h"

#include "cel/audit.h"
#include "platform/foundation/Exception.h"
#include "tools/cel/adopt_material.h"
#include "tools/cel/commands.h"
#include "tools/cel/material_source.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace cel::tool {

Edit::Edit(const EditOperation& operation, const EditRequest& request)
    : operation_(operation)
    , request_(request)
    , opened_(openCut(request.file))
    , cut_(opened_.cut)
{
    if (opened_.kind == FileKind::editList || opened_.kind == FileKind::textList)
        throw Failure(kUsage, request.file + " is " + describe(opened_.kind) +
                                  ", which cannot hold every edit; bring it in first: cel import " +
                                  request.file + " cut.cel");
    checkOptions();
}

void Edit::checkOptions() const
{
    const auto demand = [](bool holds, const std::string& text) {
        if (!holds)
            throw Failure(kUsage, text);
    };
    const std::string name = operation_.name;
    const bool hasFrom = !request_.from.empty();
    const bool hasBlack = !request_.texts.black.empty();
    if (operation_.options & kTakesBlack)
        demand(hasFrom != hasBlack, name + " needs either --from [FILE] TRACK or --black LENGTH");
    else if (operation_.options & kTakesMaterial)
        demand(hasFrom, name + " needs --from [FILE] TRACK");
    demand(hasFrom || request_.texts.range.empty() || !(operation_.options & kTakesMaterial),
           "--range is for material that --from names");
    if (operation_.options & kMakesTrack)
        demand(!request_.to.empty(), name + " needs --to FILE.cel or --to TRACK");
    demand(!(operation_.options & kMakesRolls) || !makesFile(),
           "--to " + request_.to + " is a file; " + name + " makes tracks of the same cut");
    demand(!makesFile() || !samePath(request_.to, request_.file),
           "--to " + request_.to + " would put the stretch in place of the whole cut");
    demand(!makesFile() || request_.output.empty(),
           "-o is for an edit of the cut; the stretch goes to " + request_.to);
    for (const std::string& path : {target(), request_.output})
        demand(path.empty() || path == request_.file || holdsEverything(kindOfName(path)),
               path + kWrongResult);
}

void Edit::run()
{
    const std::vector<std::size_t> chosen = tracksOfList(cut_, request_.tracks);
    std::vector<MaterialStretch> material;
    if (operation_.options & (kTakesMaterial | kTakesBlack))
        material = collectMaterial(opened_, cut_, chosen,
                                   {request_.from, request_.texts.range, request_.texts.black});
    for (std::size_t i = 0; i < chosen.size(); ++i)
        tracks_.push_back(
            editTrack(chosen[i], material.empty() ? std::nullopt : std::optional(material[i])));
    if (operation_.options & kMakesTrack && !makesFile())
        placeProduced();
    if (operation_.options & kMakesRolls)
        placeRolls();
}

EditedTrack Edit::editTrack(std::size_t index, std::optional<MaterialStretch> material)
{
    const Kt::Ptr<Cel> before = opened_.cut.tracks[index];
    cut_.tracks[index] = copyOfTrack(*before);
    std::vector<std::string> names;
    for (const EditArgument& argument : operation_.arguments)
        names.push_back(operation_.name + (" " + plainName(argument)));
    TrackEdit edit(cut_, index, std::move(names), request_.texts, std::move(material));
    EditedTrack edited;
    try {
        edited.done = operation_.run(edit);
        if (edit.rolls().empty() && !edit.produced())
            edit.layOnLines();
    } catch (const Kt::Exception::Base& fault) {
        edit.refuse(fault.what());
    }
    edited.index = index;
    edited.markBefore = edit.markBefore();
    edited.markAfter = edit.markAfter();
    edited.before = before;
    edited.levelsBefore = levelsOf(opened_.cut, *before);
    edited.levelsAfter = edit.produced() ? edit.producedLevels() : edit.envelope().levels();
    if (!edit.produced() && edited.levelsAfter.valid())
        setLevels(cut_, *cut_.tracks[index], edited.levelsAfter);
    for (const auto& [place, object] : cut_.objects.names())
        edited.attached += place.owner == before->editChannelId() &&
                           before->editChannelId().valid() &&
                           !(place.role == kLevelsRole && edited.levelsBefore.valid());
    edited.after = edit.produced() ? edit.produced() : cut_.tracks[index];
    edited.rolls = edit.rolls();
    edited.taken = static_cast<bool>(edit.produced());
    edited.changed = !sameEvents(*before, *cut_.tracks[index]) || levelsChanged(edited);
    checkOutcome(edited);
    return edited;
}

/// An edit may leave faults that were there, and must not add any.
void Edit::checkOutcome(EditedTrack& edited) const
{
    const auto count = [](const std::vector<Finding>& findings, const auto& test) {
        return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(), test));
    };
    const auto isFault = [](const Finding& f) { return f.severity == Severity::fault; };
    const auto isOffFrames = [](const Finding& f) {
        return f.invariant == std::string_view("off-grid");
    };
    const std::vector<Finding> before = audit(*edited.before);
    const std::vector<Finding> after = audit(*edited.after);
    if (count(after, isFault) > count(before, isFault)) {
        const Finding& first = *std::find_if(after.begin(), after.end(), isFault);
        throw Failure(kUnwritable, nameOfTrack(cut_, edited.index) +
                                       ": the edit would break the track: " + first.text + " (" +
                                       first.invariant + ", at " +
                                       recordTimecode(cut_, first.time) + "); nothing was changed");
    }
    const std::size_t offFrames = count(after, isOffFrames);
    edited.newlyOffFrames = offFrames - std::min(offFrames, count(before, isOffFrames));
}

/// Adds what was taken out as tracks of the same cut, at their own times.
void Edit::placeProduced()
{
    const std::vector<std::string> names = splitNames(request_.to);
    if (names.size() != tracks_.size())
        throw Failure(kUsage, "--to " + printable(request_.to) + ": name a new track for each of " +
                                  counted(static_cast<long long>(tracks_.size()), "track"));
    for (std::size_t i = 0; i < names.size(); ++i)
        addTrack(names[i], tracks_[i].after, kindOf(*tracks_[i].before), tracks_[i].levelsAfter);
}

/// Adds the rolls of each track, which sound as it does.
void Edit::placeRolls()
{
    std::vector<std::string> names = splitNames(request_.to);
    if (request_.to.empty()) {
        names.clear();
        for (const EditedTrack& edited : tracks_)
            for (const char* roll : {".A", ".B"})
                names.push_back(nameOfTrack(cut_, edited.index) + roll);
    }
    if (names.size() != 2 * tracks_.size())
        throw Failure(kUsage, "--to " + printable(request_.to) + ": name two new tracks for each");
    auto name = names.begin();
    for (const EditedTrack& edited : tracks_)
        for (const Kt::Ptr<Cel>& roll : edited.rolls)
            addTrack(*name++, roll, kindOf(*edited.before),
                     edited.levelsAfter.valid() ? edited.levelsAfter.clone() : edited.levelsAfter);
}

/// @param levels  its envelope; an invalid one for none.
void Edit::addTrack(const std::string& name, const Kt::Ptr<Cel>& made, CookieType kind,
                    const AudLevelsCel& levels)
{
    if (name.empty() || cut_.track(name))
        throw Failure(kUsage,
                      (request_.to.empty() ? "" : "--to " + printable(request_.to) + ": ") +
                          (name.empty() ? "a track needs a name"
                                        : "there is a track " + printable(name) + " already"));
    const Kt::Ptr<Cel> added = cut_.addTrack(kind);
    made->editChannelInfo(LightweightString<char>(name), added->editChannelId(),
                          added->editChannelSubType(), {});
    cut_.tracks.back() = made;
    if (levels.valid())
        setLevels(cut_, *made, levels);
}

bool Edit::changesCut() const
{
    return std::any_of(tracks_.begin(), tracks_.end(),
                       [](const EditedTrack& track) { return track.changed; }) ||
           cut_.tracks.size() != opened_.cut.tracks.size();
}

std::string Edit::target() const
{
    return makesFile() ? request_.to : request_.output.empty() ? request_.file : request_.output;
}

Cut Edit::result() const
{
    if (!makesFile())
        return cut_;
    // A cut of its own begins at 0; its timecode goes on saying where the stretch was.
    Cut taken;
    taken.title = cut_.title;
    taken.rate = cut_.rate;
    double first = kEndlessTime;
    for (const EditedTrack& edited : tracks_)
        first = std::min(first, edited.after->get_start_time());
    taken.startFrame = cut_.startFrame + nearestFrame(first, cut_.rate);
    for (const EditedTrack& edited : tracks_) {
        const Cel& source = *edited.before;
        const Kt::Ptr<Cel> track = copyOfTrack(*edited.after);
        track->editChannelInfo(source.editChannelName(), source.editChannelId(),
                               source.editChannelSubType(), source.editChannelMaterialInfo());
        adoptNamedMaterial(*track, cut_.materials, taken.materials, printable(request_.file));
        track->slide(-first);
        taken.tracks.push_back(track);
        EnvelopeEdit levels(edited.levelsAfter.clone(), flatLevels(*track));
        levels.move(-first);
        setLevels(taken, *track, levels.levels());
    }
    return taken;
}

std::string plainName(const EditArgument& argument)
{
    std::string name = argument.name;
    std::erase_if(name, [](char c) { return c == '[' || c == ']'; });
    return name;
}

} // namespace cel::tool

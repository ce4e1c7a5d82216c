#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/edit.h"
#include "tools/cel/envelope_drawing.h"
#include "tools/cel/level_values.h"
#include "tools/cel/levels_operation.h"
#include "tools/cel/levels_show.h"
#include "tools/cel/material_source.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

namespace cel::tool {

namespace {

struct LevelsRequest
{
    std::string file;
    std::string track;
    std::vector<std::string> unknown;
    EditTexts texts;
    LevelsOptions options;
    std::vector<std::string> range; ///< --range of show
    std::vector<std::string> from;
    std::string output;
    std::string svg;
    std::size_t width = 0; ///< 0 for the terminal's
    bool all = false;
    bool dryRun = false;
    bool picture = false;
    bool force = false;
    bool json = false;
};

/// The track of the request, which must be one of sound.
std::size_t trackOf(const LevelsRequest& request, const OpenedCut& opened)
{
    requireReadTracks(opened, request.file);
    const Cut& cut = opened.cut;
    const std::size_t track = chosenTracks(cut, {request.track}).front();
    if (kindOf(*cut.tracks[track]) != kAudioCookie)
        throw Failure(kUsage, nameOfTrack(cut, track) + " is " +
                                  describeKind(kindOf(*cut.tracks[track])) +
                                  "; level envelopes belong to sound");
    return track;
}

void requireNames(const LevelsRequest& request, const char* operation)
{
    if (request.file.empty() || request.track.empty())
        throw Failure(kUsage, std::string(request.file.empty() ? "FILE.cel" : "TRACK") +
                                  " is missing: cel levels FILE.cel TRACK " + operation);
}

/// What there is to see of an envelope: the asked stretch, else the track and all nodes.
ShownLevels shownLevels(const Cut& cut, std::size_t track, const std::vector<std::string>& range)
{
    const AudLevelsCel levels = levelsOf(cut, *cut.tracks[track]);
    ShownLevels shown{cut, track, levels.snapshot(), {0.0, cut.duration()}, levels.valid()};
    for (const auto& node : shown.nodes.nodes())
        if (isRealTime(node.getRawTime())) {
            shown.stretch.from = std::min(shown.stretch.from, node.getRawTime());
            shown.stretch.to = std::max(shown.stretch.to, node.getRawTime());
        }
    const double end = shown.stretch.to;
    if (!range.empty())
        shown.stretch = {positionOf("--range A", range[0], cut),
                         positionOf("--range B", range[1], cut)};
    if (!range.empty() && !(shown.stretch.to > shown.stretch.from + kTimeEpsilon))
        throw Failure(kUsage, "--range must end after it begins");
    if (!range.empty() && shown.stretch.from > end + kTimeEpsilon)
        throw Failure(kUsage, "--range A " + printable(range[0]) + " lies behind the end of " +
                                  nameOfTrack(cut, track) + ", " + describePosition(cut, end));
    // An empty cut has nothing to see, and yet a scale.
    shown.stretch.to = std::max(shown.stretch.to, shown.stretch.from + 1.0);
    return shown;
}

Terminal terminalFor(const LevelsRequest& request)
{
    Terminal terminal = terminalOfOutput();
    if (request.width > 0)
        terminal.width = request.width;
    return terminal;
}

void saveSvg(const LevelsRequest& request, const ShownLevels& shown)
{
    if (kindOfName(request.svg) || samePath(request.svg, request.file))
        throw Failure(kUsage, "--svg " + printable(request.svg) + " is the name of a cut");
    const std::string title = nameOfTrack(shown.cut, shown.track) +
                              (shown.cut.title.empty() ? "" : ", " + printable(shown.cut.title));
    const std::string picture = envelopeAsSvg(shown.cut, title, shown.nodes, shown.stretch);
    const SaveResult saved = saveFile(utf8ToPath(request.svg), std::as_bytes(std::span(picture)));
    if (!saved)
        throw Failure(kUnwritable, saved.error);
}

int runShow(const LevelsRequest& request)
{
    requireNames(request, "show");
    const OpenedCut opened = openCut(request.file);
    const ShownLevels shown = shownLevels(opened.cut, trackOf(request, opened), request.range);
    if (!request.svg.empty())
        saveSvg(request, shown);
    std::string text = request.json ? levelsAsJson(shown).text()
                                    : describeLevels(shown, terminalFor(request), request.all);
    if (!request.svg.empty() && !request.json)
        text += "Picture written to " + printable(request.svg) + ".\n";
    return answer(text, opened, request.file);
}

// ---- operations that change an envelope ---------------------------------------------------------

/// An operation from its request to its result in memory.
class LevelsEdit
{
public:
    LevelsEdit(const LevelsOperation& operation, const LevelsRequest& request)
        : request_(request)
        , opened_(openCut(request.file))
        , cut_(opened_.cut)
        , track_(trackOf(request, opened_))
    {
        if (!holdsEverything(opened_.kind))
            throw Failure(kUsage, request.file + " is " + describe(opened_.kind) +
                                      ", which has no level envelopes; bring it in first: cel "
                                      "import " +
                                      request.file + " cut.cel");
        if (!request.output.empty() && request.output != request.file &&
            !holdsEverything(kindOfName(request.output)))
            throw Failure(kUsage, request.output + kWrongResult);
        run(operation);
    }

    const OpenedCut& opened() const { return opened_; }
    const Cut& cut() const { return cut_; }
    std::size_t track() const { return track_; }
    const std::string& done() const { return done_; }
    const std::optional<Thinning>& thinning() const { return thinning_; }

    std::size_t nodesBefore() const { return before_.size(); }
    std::size_t nodesAfter() const { return after_.size(); }
    bool changed() const { return !sameNodes(before_, after_); }

    std::string target() const { return request_.output.empty() ? request_.file : request_.output; }

private:
    std::optional<MaterialStretch> material(const LevelsOperation& operation) const
    {
        if (!(operation.options & kTakesMaterial))
            return std::nullopt;
        if (request_.from.empty() == request_.texts.black.empty())
            throw Failure(kUsage, "insert needs either --from [FILE] TRACK or --black LENGTH");
        if (request_.from.empty() && !request_.texts.range.empty())
            throw Failure(kUsage, "--range is for levels that --from names");
        // The clips of another cut are of no use here, so its names go to a copy.
        Cut named = cut_;
        return collectMaterial(opened_, named, {track_},
                               {request_.from, request_.texts.range, request_.texts.black})
            .front();
    }

    void run(const LevelsOperation& operation)
    {
        std::vector<std::string> names;
        for (const EditArgument& argument : operation.arguments)
            names.push_back(operation.name + (" " + plainName(argument)));
        cut_.tracks[track_] = copyOfTrack(*opened_.cut.tracks[track_]);
        TrackEdit edit(cut_, track_, std::move(names), request_.texts, material(operation));
        EnvelopeEdit& envelope = edit.envelope();
        before_ = envelope.levels().snapshot();
        done_ = operation.run(edit, envelope, request_.options, thinning_);
        after_ = envelope.levels().snapshot();
        if (envelope.levels().valid())
            setLevels(cut_, *cut_.tracks[track_], envelope.levels());
    }

    const LevelsRequest& request_;
    OpenedCut opened_;
    Cut cut_;
    std::size_t track_;
    AudLevelsCel::Store before_;
    AudLevelsCel::Store after_;
    std::string done_;
    std::optional<Thinning> thinning_;
};

void save(const LevelsEdit& edit, const LevelsRequest& request)
{
    saveCutBack(edit.opened(), edit.cut(), request.file, edit.target(),
                request.force ? SaveGuard::force : SaveGuard::refuse);
}

std::string describeThinning(const Cut& cut, const Thinning& thinning)
{
    return "      " + counted(static_cast<long long>(thinning.gone), "node") + " went" +
           (thinning.worst.decibels > 0.0
                ? "; the worst error is " + describeDecibels(thinning.worst.decibels) + ", at " +
                      describePosition(cut, thinning.worst.time)
                : "; it sounds the same") +
           "\n";
}

Json reportAsJson(const LevelsOperation& operation, const LevelsRequest& request,
                  const LevelsEdit& edit, bool saves)
{
    Json json = Json::object();
    json.set("file", request.file)
        .set("track", nameOfTrack(edit.cut(), edit.track()))
        .set("operation", operation.name)
        .set("done", edit.done())
        .set("changed", edit.changed())
        .set("dryRun", request.dryRun);
    if (saves)
        json.set("output", edit.target());
    else
        json.setNull("output");
    json.set("nodesBefore", edit.nodesBefore()).set("nodesAfter", edit.nodesAfter());
    if (edit.thinning())
        json.set("gone", edit.thinning()->gone)
            .set("worst", errorAsJson(edit.cut(), edit.thinning()->worst));
    return json;
}

std::string reportAsText(const LevelsRequest& request, const LevelsEdit& edit, bool saves)
{
    std::string text;
    if (request.picture || request.dryRun) {
        const Terminal terminal = terminalFor(request);
        const ShownLevels after = shownLevels(edit.cut(), edit.track(), {});
        ShownLevels before = shownLevels(edit.opened().cut, edit.track(), {});
        before.stretch = after.stretch;
        text += "before\n" + drawEnvelope(before.cut, before.nodes, before.stretch, terminal) +
                "after\n" + drawEnvelope(after.cut, after.nodes, after.stretch, terminal) + "\n";
    }
    text += padded(nameOfTrack(edit.cut(), edit.track()), 4) + "  " + edit.done() + "\n";
    if (edit.thinning())
        text += describeThinning(edit.cut(), *edit.thinning());
    text += "      " + counted(static_cast<long long>(edit.nodesBefore()), "node") + ", now " +
            std::to_string(edit.nodesAfter()) + "\n";
    return text + (request.dryRun ? "Nothing was written (--dry-run).\n"
                   : saves        ? "Saved " + printable(edit.target()) + ".\n"
                                  : "Nothing changed.\n");
}

int runOperation(const LevelsOperation& operation, const LevelsRequest& request)
{
    requireNames(request, operation.name);
    const LevelsEdit edit(operation, request);
    const bool saves =
        !request.dryRun && (edit.changed() || !samePath(edit.target(), request.file));
    if (saves)
        save(edit, request);
    return answer(request.json ? reportAsJson(operation, request, edit, saves).text()
                               : reportAsText(request, edit, saves),
                  edit.opened(), request.file);
}

// ---- the command line -------------------------------------------------------------------------

void describeOptions(Command& command, unsigned options, LevelsRequest& request)
{
    if (options & kTakesMaterial) {
        command.option("--from", request.from,
                       "A track of sound whose levels go in, of this cut or of another file",
                       "[FILE] TRACK", 1, 2);
        command.option("--range", request.texts.range,
                       "The stretch of that track, in its cut's times; all of it without", "A B", 2,
                       2);
        command.option("--black", request.texts.black, "Black of this length instead");
    }
    if (options & kTakesThinning) {
        command.option("--within", request.options.within,
                       "Thin to the fewest nodes within this many decibels");
        command.option("--area", request.options.area,
                       "Largest area between curve and chord, in seconds times level; 0.015 "
                       "without");
    }
    command.option("-o,--output", request.output,
                   "Save as this .cel or .celdb file; without it in place");
    command.flag("--dry-run", request.dryRun, "Show before and after, and write nothing");
    command.flag("--picture", request.picture, "Show before and after, and save");
    command.option("--width", request.width, "Columns of the pictures", 40, 10000);
    command.flag("--force", request.force, "Write tracks that the form would damage");
    command.flag("--json", request.json, "Print what was done as JSON");
}

std::string usageOf(const LevelsOperation& operation)
{
    std::string usage = std::string("cel levels FILE.cel TRACK ") + operation.name;
    for (const EditArgument& argument : operation.arguments)
        usage += std::string(" ") + argument.name;
    if (operation.options & kTakesMaterial)
        usage += " (--from [FILE] TRACK [--range A B] | --black LENGTH)";
    return usage + " [OPTIONS]";
}

void addShow(Command& levels, const std::shared_ptr<LevelsRequest>& request, int& exitCode)
{
    Command command(levels, "show", "Draws the envelope and lists its nodes", "Looking",
                    "cel levels FILE.cel TRACK show [OPTIONS]");
    command.option("--range", request->range, "From A to B; the whole cut without", "A B", 2, 2);
    command.option("--svg", request->svg, "Write the picture to this file, too");
    command.option("--width", request->width,
                   "Columns of the drawing; the terminal's, or 100, without", 40, 10000);
    command.flag("--all", request->all, "List all nodes, not only the first 40");
    command.flag("--json", request->json, "Print the nodes as JSON");
    command.footer("Example:\n  cel levels cut.cel A1 show --svg A1.svg");
    command.runs([request] { return runShow(*request); }, exitCode);
}

void addOperation(Command& levels, const LevelsOperation& operation,
                  const std::shared_ptr<LevelsRequest>& request, int& exitCode)
{
    Command command(levels, operation.name, operation.help, "Changing", usageOf(operation));
    for (std::size_t i = 0; i < operation.arguments.size(); ++i) {
        const EditArgument& argument = operation.arguments[i];
        command.argument(plainName(argument).c_str(), request->texts.arguments[i], argument.help,
                         argument.name[0] != '[');
    }
    describeOptions(command, operation.options, *request);
    const std::string notes = operation.notes;
    command.footer(notes + (notes.empty() ? "" : "\n") + "Example:\n  cel levels cut.cel " +
                   operation.example);
    command.runs([&operation, request] { return runOperation(operation, *request); }, exitCode);
}

[[noreturn]] void refuseOperation(const std::vector<std::string>& typed)
{
    std::string known = "show";
    for (const LevelsOperation& operation : levelsOperations())
        known += std::string(", ") + operation.name;
    throw Failure(kUsage, (typed.empty() ? "no operation is named"
                                         : "no operation is called " + printable(typed.front())) +
                              "; there are: " + known);
}

} // namespace

void addLevelsCommand(CLI::App& program, int& exitCode)
{
    auto request = std::make_shared<LevelsRequest>();
    Command command(program, "levels", "Shows and changes the level envelope of a sound track");
    command.usage("cel levels FILE.cel TRACK OPERATION [ARGUMENTS] [OPTIONS]");
    command.argument("FILE.cel", request->file, "The cut", false);
    command.argument("TRACK", request->track, "Name of a track: A1", false);
    command.arguments("OPERATION", request->unknown, "One of those below, and its arguments",
                      false);
    command.otherwise([request] { refuseOperation(request->unknown); });
    addShow(command, request, exitCode);
    for (const LevelsOperation& operation : levelsOperations())
        addOperation(command, operation, request, exitCode);
    command.footer("Times are seconds (12.48) or timecode as the cut counts. An operation changes\n"
                   "the envelope alone; cel edit takes it along with its track.\n\n"
                   "Example:\n  cel levels cut.cel A1 thin --within 0.5dB");
}

} // namespace cel::tool

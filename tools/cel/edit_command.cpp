#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/edit.h"
#include "tools/cel/losses.h"
#include "tools/cel/text.h"

#include <memory>

namespace cel::tool {

std::vector<EditFamily> editFamilies()
{
    return {
        {"Places and stretches", rangeOperations()},
        {"Material from elsewhere", materialOperations()},
        {"Trimming", trimOperations()},
        {"The whole track", wholeTrackOperations()},
        {"Rolls and crossfades", crossfadeOperations()},
    };
}

namespace {

/// @return what the form of the result could not hold.
LossLedger save(const Edit& edit, const EditRequest& request)
{
    return saveCutBack(edit.opened(), edit.result(), request.file, edit.target(),
                       request.force ? SaveGuard::force : SaveGuard::refuse);
}

Json reportAsJson(const EditOperation& operation, const EditRequest& request, const Edit& edit,
                  bool saves, const LossLedger& losses)
{
    Json json = Json::object();
    json.set("file", request.file).set("operation", operation.name).set("dryRun", request.dryRun);
    if (saves)
        json.set("output", edit.target());
    else
        json.setNull("output");
    json.set("losses", lossesAsJson(losses));
    json.set("tracks", editAsJson(edit.before(), edit.tracks()));
    return json;
}

int runEdit(const EditOperation& operation, const EditRequest& request)
{
    if (request.file.empty() || request.tracks.empty())
        throw Failure(kUsage, std::string(request.file.empty() ? "FILE.cel" : "TRACK") +
                                  " is missing: cel edit FILE.cel TRACK[,TRACK...] " +
                                  operation.name);
    Edit edit(operation, request);
    requireReadTracks(edit.opened(), request.file);
    edit.run();
    // A file that would become what it is stays untouched, its time too.
    const bool saves =
        !request.dryRun && (edit.changesCut() || !samePath(edit.target(), request.file));
    LossLedger losses;
    if (saves)
        losses = save(edit, request);

    std::string text;
    if (request.json) {
        text = reportAsJson(operation, request, edit, saves, losses).text();
    } else {
        Terminal terminal = terminalOfOutput();
        if (request.width > 0)
            terminal.width = request.width;
        if (request.picture || request.dryRun)
            text = drawEdit(edit.before(), edit.tracks(), terminal) + "\n";
        text += describeEdit(edit.before(), edit.tracks());
        text += describeLosses(losses, "did not fit into " + printable(edit.target()));
        text += request.dryRun ? "Nothing was written (--dry-run).\n"
                : saves        ? "Saved " + printable(edit.target()) + ".\n"
                               : "Nothing changed.\n";
    }
    return answer(text, edit.opened(), request.file);
}

// ---- the command line -------------------------------------------------------------------------

void describeOptions(Command& command, unsigned options, EditRequest& request)
{
    if (options & kTakesMaterial)
        command.option("--from", request.from,
                       "Where the material comes from: a track of this cut, or of another file; "
                       "as many tracks as are edited, separated by commas",
                       "[FILE] TRACK", 1, 2);
    if (options & kTakesMaterial)
        command.option("--range", request.texts.range,
                       "The stretch of that track, in its cut's times; all of it without", "A B", 2,
                       2);
    if (options & kTakesBlack)
        command.option("--black", request.texts.black, "Black of this length in place of material");
    if (options & kTakesRange)
        command.option("--range", request.texts.range, "Only from A to B; the whole track without",
                       "A B", 2, 2);
    if (options & kTakesLevels)
        command.option("--level", request.texts.levels,
                       "Factor for the levels; from the first to the second when there are two",
                       "FACTOR [FACTOR]", 1, 2);
    if (options & kMakesTrack)
        command.option(
            "--to", request.to,
            "A new file, .cel or .celdb, or new tracks of this cut, separated by commas");
    if (options & kMakesRolls)
        command.option("--to", request.to,
                       "Names of the new tracks, two for each, separated by commas; V1.A,V1.B "
                       "for V1 without");
    command.option("-o,--output", request.output,
                   "Save as this .cel or .celdb file; without it in place");
    command.flag("--dry-run", request.dryRun, "Show before and after, and write nothing");
    command.flag("--picture", request.picture, "Show before and after, and save");
    command.option("--width", request.width, "Columns of the pictures", 40, 10000);
    command.flag("--force", request.force, "Write tracks that the form would damage");
    command.flag("--json", request.json, "Print what was done as JSON");
}

/// Says which operations there are.
[[noreturn]] void refuseOperation(const std::vector<std::string>& typed)
{
    std::string known;
    for (const EditFamily& family : editFamilies())
        for (const EditOperation& operation : family.operations)
            known += (known.empty() ? "" : ", ") + std::string(operation.name);
    throw Failure(kUsage, (typed.empty() ? "no operation is named"
                                         : "no operation is called " + printable(typed.front())) +
                              "; there are: " + known);
}

std::string usageOf(const EditOperation& operation)
{
    std::string usage = std::string("cel edit FILE.cel TRACK[,TRACK...] ") + operation.name;
    for (const EditArgument& argument : operation.arguments)
        usage += std::string(" ") + argument.name;
    if ((operation.options & kTakesBlack) != 0)
        usage += " (--from [FILE] TRACK [--range A B] | --black LENGTH)";
    else if ((operation.options & kTakesMaterial) != 0)
        usage += " --from [FILE] TRACK [--range A B]";
    if ((operation.options & kMakesTrack) != 0)
        usage += " --to FILE.cel|TRACK";
    if ((operation.options & kMakesRolls) != 0)
        usage += " [--to TRACK,TRACK]";
    return usage + " [OPTIONS]";
}

void addOperation(Command& edit, const EditFamily& family, const EditOperation& operation,
                  const std::shared_ptr<EditRequest>& request, int& exitCode)
{
    Command command(edit, operation.name, operation.help, family.name, usageOf(operation));
    for (std::size_t i = 0; i < operation.arguments.size(); ++i) {
        const EditArgument& argument = operation.arguments[i];
        command.argument(plainName(argument).c_str(), request->texts.arguments[i], argument.help,
                         argument.name[0] != '[');
    }
    describeOptions(command, operation.options, *request);
    const std::string notes = operation.notes;
    command.footer(notes + (notes.empty() ? "" : "\n") + "Example:\n  cel edit cut.cel " +
                   operation.example);
    command.runs([&operation, request] { return runEdit(operation, *request); }, exitCode);
}

} // namespace

void addEditCommand(CLI::App& program, int& exitCode)
{
    auto request = std::make_shared<EditRequest>();
    Command command(program, "edit", "Edits tracks of a cut: all of those named, or none");
    command.usage("cel edit FILE.cel TRACK[,TRACK...] OPERATION [ARGUMENTS] [OPTIONS]");
    // Not required here, so that an operation may be asked for help without them.
    command.argument("FILE.cel", request->file, "The cut", false);
    command.argument("TRACK", request->tracks, "Names of tracks, separated by commas: V1,A1",
                     false);
    command.arguments("OPERATION", request->unknown, "One of those below, and its arguments",
                      false);
    command.otherwise([request] { refuseOperation(request->unknown); });
    for (const EditFamily& family : editFamilies())
        for (const EditOperation& operation : family.operations)
            addOperation(command, family, operation, request, exitCode);
    command.footer(
        "Every operation takes -o NEW.cel (save there instead of in place), --dry-run "
        "(show before\nand after, write nothing), --picture (show and save) and --json.\n"
        "Times are seconds (12.48) from the start of the cut or timecode as the cut "
        "counts.\n\n"
        "Example:\n"
        "  cel edit cut.cel V1,A1 remove 10:00:10:00 10:00:12:12 --dry-run\n"
        "cel edit OPERATION --help explains one with an example.");
}

} // namespace cel::tool

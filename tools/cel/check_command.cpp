#include "cel/inspect.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_checks.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
#include "tools/cel/mending.h"
#include "tools/cel/subtitle_limits.h"
#include "tools/cel/terminal.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace cel::tool {

namespace {

struct CheckOptions
{
    std::string file;
    std::string least = "note";
    std::string output;
    SubtitleLimitOptions subtitles;
    bool fix = false;
    bool json = false;
};

Json findingAsJson(const Cut& cut, const CutFinding& finding)
{
    Json json = Json::object();
    json.set("severity", describe(finding.severity))
        .set("invariant", finding.invariant)
        .set("text", finding.text);
    if (finding.offset)
        json.set("byte", *finding.offset);
    if (finding.trackNumber > 0)
        json.set("track", finding.track);
    if (!finding.place.empty())
        json.set("place", finding.place);
    if (finding.index >= 0)
        json.set("event", finding.index)
            .set("seconds", finding.time)
            .set("timecode", recordTimecode(cut, finding.time));
    return json;
}

std::string describePlace(const Cut& cut, const CutFinding& finding)
{
    if (finding.offset)
        return "byte " + std::to_string(*finding.offset);
    if (!finding.place.empty())
        return finding.place;
    if (finding.index < 0)
        return finding.trackNumber == 0 ? "the whole file" : "the whole track";
    std::string place = "event " + std::to_string(finding.index);
    if (isRealTime(finding.time))
        place += " at " + recordTimecode(cut, finding.time) + " (" + number(finding.time) + " s)";
    return place;
}

std::string describeFinding(const Cut& cut, const CutFinding& finding, bool colour)
{
    const Style style = finding.severity == Severity::fault     ? Style::fault
                        : finding.severity == Severity::warning ? Style::warning
                                                                : Style::plain;
    return "  " + styled(padded(describe(finding.severity), 7), style, colour) + "  " +
           padded(finding.invariant, 16) + "  " + describePlace(cut, finding) + ": " +
           finding.text + "\n";
}

/// The first findings of each kind under the name of each track, then how many more there are.
std::string describeFindings(const Cut& cut, const std::vector<CutFinding>& findings, bool colour)
{
    std::string text;
    std::optional<std::size_t> track;
    FirstOfEachKind first;
    for (const CutFinding& finding : findings) {
        if (finding.trackNumber != track) {
            text += first.rest("  ");
            text += finding.trackNumber == 0 ? "file\n" : "track " + finding.track + "\n";
            track = finding.trackNumber;
            first = FirstOfEachKind();
        }
        if (first.admits(finding.invariant))
            text += describeFinding(cut, finding, colour);
    }
    return text + first.rest("  ");
}

Severity severityOf(const std::string& name)
{
    for (const Severity severity : {Severity::warning, Severity::fault})
        if (name == describe(severity))
            return severity;
    return Severity::note;
}

std::string reportAsText(const CheckOptions& options, const Cut& cut,
                         const std::vector<CutFinding>& findings)
{
    if (findings.empty())
        return printable(options.file) + ": all is well, " +
               counted(static_cast<long long>(cut.tracks.size()), "track") + " checked.\n";
    return printable(options.file) + ": " +
           counted(static_cast<long long>(findings.size()), "finding") + "\n" +
           describeFindings(cut, findings, terminalOfOutput().colour);
}

Json reportAsJson(const CheckOptions& options, const Cut& cut,
                  const std::vector<CutFinding>& findings)
{
    Json list = Json::array();
    for (const CutFinding& finding : findings)
        list.push(findingAsJson(cut, finding));
    Json json = Json::object();
    json.set("file", options.file).set("findings", std::move(list));
    return json;
}

std::vector<CutFinding> findingsOf(const CheckOptions& options, const OpenedCut& opened,
                                   const Cut& cut)
{
    const Progress progress("checking " + options.file);
    std::vector<CutFinding> findings =
        checkCut(cut, opened.findings, limitsOf(options.subtitles, cut.rate));
    if (holdsSubtitles(opened.kind)) {
        const std::vector<CutFinding> overlaps = overlapsOf(cut, opened.losses);
        findings.insert(findings.begin(), overlaps.begin(), overlaps.end());
    }
    const Severity least = severityOf(options.least);
    std::erase_if(findings, [least](const CutFinding& f) { return f.severity < least; });
    return findings;
}

// ---- mending ----------------------------------------------------------------------------------

std::string describeSteps(const std::vector<MendingStep>& steps)
{
    std::string text;
    std::size_t track = 0;
    for (const MendingStep& step : steps) {
        if (step.trackNumber != track)
            text += "track " + step.track + "\n";
        track = step.trackNumber;
        text += "  mended   " + padded(step.mended, 16) + "  " + step.done + "\n";
    }
    return text;
}

Json stepsAsJson(const std::vector<MendingStep>& steps)
{
    Json list = Json::array();
    for (const MendingStep& step : steps) {
        Json json = Json::object();
        json.set("track", step.track).set("done", step.done).set("mended", step.mended);
        list.push(std::move(json));
    }
    return list;
}

/// Saves what was mended. @return what the form of the result cannot hold.
LossLedger saveMended(const CheckOptions& options, const OpenedCut& opened, const MendedCut& mended,
                      const std::string& output)
{
    if (samePath(output, options.file) && !holdsEverything(opened.kind))
        throw Failure(kUsage, options.file + " is " + describe(opened.kind) +
                                  "; name a result with -o NEW.cel");
    return saveCutBack(opened, mended.cut, options.file, output, SaveGuard::refuse);
}

int runFix(const CheckOptions& options, const OpenedCut& opened)
{
    const MendedCut mended = mend(opened.cut);
    // What is missing in the file is not mended by writing the rest anew.
    const std::vector<CutFinding> remaining = findingsOf(options, opened, mended.cut);
    const bool saves = !mended.steps.empty() || !options.output.empty();
    const std::string output = options.output.empty() ? options.file : options.output;
    const LossLedger losses = saves ? saveMended(options, opened, mended, output) : LossLedger();

    std::string text;
    if (options.json) {
        Json json = reportAsJson(options, mended.cut, remaining);
        if (saves)
            json.set("output", output);
        else
            json.setNull("output");
        json.set("mended", stepsAsJson(mended.steps)).set("losses", lossesAsJson(losses));
        text = json.text();
    } else {
        text = describeSteps(mended.steps);
        if (mended.steps.empty() && !remaining.empty())
            text = "Nothing can be mended without changing what plays.\n";
        else if (!mended.steps.empty())
            text += "It plays as before. " + std::string(remaining.empty() ? "" : "What remains:") +
                    "\n";
        text += reportAsText(options, mended.cut, remaining);
        text += describeLosses(losses, "did not fit into " + printable(output));
        if (saves)
            text += "Saved " + printable(output) + ".\n";
    }
    std::fputs(text.c_str(), stdout);
    return remaining.empty() ? kFine : kFindings;
}

int runCheck(const CheckOptions& options)
{
    if (!options.fix && !options.output.empty())
        throw Failure(kUsage, "-o is for --fix");
    if (!options.output.empty() && !holdsEverything(kindOfName(options.output)))
        throw Failure(kUsage, options.output + kWrongResult);
    // What is judged is what the file holds, not what reading it would repair.
    setOrderRepair(false);
    const OpenedCut opened = openCut(options.file, std::nullopt, StoreCheck::structure);
    if (options.fix)
        return runFix(options, opened);
    const std::vector<CutFinding> findings = findingsOf(options, opened, opened.cut);
    const std::string text = options.json ? reportAsJson(options, opened.cut, findings).text()
                                          : reportAsText(options, opened.cut, findings);
    std::fputs(text.c_str(), stdout);
    return findings.empty() ? kFine : kFindings;
}

std::string listOfInvariants()
{
    std::string text = "What is checked of each track:\n";
    for (const InvariantInfo& invariant : auditedInvariants())
        text += "  " + padded(invariant.name, 16) + "  " + invariant.demand + "\n";
    text += "of subtitles:\n" + listOfSubtitleChecks();
    return text + "and of the cut:\n"
                  "  file              No layer of the file is damaged or unknown.\n"
                  "  level-time        Nodes of a level envelope lie at times of their own.\n"
                  "  level-type        Every node is an ordinary one or a guard of the two kinds.\n"
                  "  level-value       Every node has a level of 0 or more.\n"
                  "  levels-kind       Level envelopes belong to tracks of sound.\n"
                  "  missing-material  Every recorded clip has an entry in the table of material.\n"
                  "  resolution        A track's frames last as long as the cut's.\n"
                  "  section-kind      Sections of a subtitle track are subtitles or their black.\n"
                  "  track-name        Every track has a name of its own.\n";
}

} // namespace

void addCheckCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<CheckOptions>();
    Command command(program, "check",
                    "Lists everything that is wrong with a cut (exit code 1 when something is)");
    command.argument("FILE.cel", options->file, "The cut; an edit list or subtitles will do too");
    command.option("--least", options->least, "What to report: note (all), warning or fault",
                   {"note", "warning", "fault"});
    describeLimits(command, options->subtitles);
    command.flag("--fix", options->fix,
                 "Mend what can be mended without changing what plays, and say what remains");
    command.option("-o,--output", options->output,
                   "With --fix: save as this .cel or .celdb file; without it in place");
    command.flag("--json", options->json, "Print the findings as JSON");
    command.footer(
        listOfInvariants() +
        "\nExamples:\n  cel check cut.cel --json\n  cel check cut.cel --fix -o mended.cel\n"
        "  cel check film.srt --reading-speed 20 --shortest 1 --gap 0");
    command.runs([options] { return runCheck(*options); }, exitCode);
}

} // namespace cel::tool

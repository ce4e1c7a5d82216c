#include "cel/inspect.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_checks.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
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
    if (finding.index < 0)
        return "the whole track";
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

int runCheck(const CheckOptions& options)
{
    // What is judged is what the file holds, not what reading it would repair.
    setOrderRepair(false);
    const OpenedCut opened = openCut(options.file);
    std::vector<CutFinding> findings;
    {
        const Progress progress("checking " + options.file);
        findings = checkCut(opened.cut, opened.findings);
    }
    const Severity least = severityOf(options.least);
    std::erase_if(findings, [least](const CutFinding& f) { return f.severity < least; });

    const auto count = static_cast<long long>(findings.size());
    std::string text;
    if (options.json) {
        Json list = Json::array();
        for (const CutFinding& finding : findings)
            list.push(findingAsJson(opened.cut, finding));
        Json json = Json::object();
        text = json.set("file", options.file).set("findings", std::move(list)).text();
    } else if (findings.empty()) {
        text = printable(options.file) + ": all is well, " +
               counted(static_cast<long long>(opened.cut.tracks.size()), "track") + " checked.\n";
    } else {
        text = printable(options.file) + ": " + counted(count, "finding") + "\n" +
               describeFindings(opened.cut, findings, terminalOfOutput().colour);
    }
    std::fputs(text.c_str(), stdout);
    return findings.empty() ? kFine : kFindings;
}

std::string listOfInvariants()
{
    std::string text = "What is checked of each track:\n";
    for (const InvariantInfo& invariant : auditedInvariants())
        text += "  " + padded(invariant.name, 16) + "  " + invariant.demand + "\n";
    return text + "and of the cut:\n"
                  "  file              No layer of the file is damaged or unknown.\n"
                  "  missing-material  Every recorded clip has an entry in the table of material.\n"
                  "  resolution        A track's frames last as long as the cut's.\n"
                  "  track-name        Every track has a name of its own.\n";
}

} // namespace

void addCheckCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<CheckOptions>();
    Command command(program, "check",
                    "Lists everything that is wrong with a cut (exit code 1 when something is)");
    command.argument("FILE.cel", options->file, "The cut; an edit list will do too");
    command.option("--least", options->least, "What to report: note (all), warning or fault",
                   {"note", "warning", "fault"});
    command.flag("--json", options->json, "Print the findings as JSON");
    command.footer(listOfInvariants() + "\nExample:\n  cel check cut.cel --json");
    command.runs([options] { return runCheck(*options); }, exitCode);
}

} // namespace cel::tool

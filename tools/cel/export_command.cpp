#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
#include "tools/cel/text.h"

#include <cstdio>
#include <map>
#include <memory>

namespace cel::tool {

namespace {

struct ExportOptions
{
    std::vector<std::string> files; ///< the cut, names of tracks, the result
    std::string standard;
    bool strict = false;
    bool force = false;
    bool json = false;
};

const std::map<std::string, Kt::Ed2Support::TVStd>& standards()
{
    static const std::map<std::string, Kt::Ed2Support::TVStd> all = {
        {"film", Kt::Ed2Support::kFilm},
        {"pal", Kt::Ed2Support::kPal},
        {"ntsc", Kt::Ed2Support::kNtsc},
        {"film_ntsc", Kt::Ed2Support::kFilmNtsc},
    };
    return all;
}

std::string describeExport(const ExportOptions& options, const OpenedCut& opened,
                           const WrittenCut& written, bool refused)
{
    const std::string input = printable(options.files.front());
    std::string report = describeLosses(opened.losses, "could not be read from " + input);
    if (!opened.findings.empty())
        report += damageNotice(input);
    report +=
        describeLosses(written.losses, std::string("did not fit into ") + describe(written.kind));
    if (refused)
        return report + "Nothing was written (--strict).\n";
    return report + "Wrote " + counted(static_cast<long long>(written.tracks), "track") + " to " +
           printable(options.files.back()) + ".\n";
}

std::string reportAsJson(const ExportOptions& options, const OpenedCut& opened,
                         const WrittenCut& written, bool refused)
{
    Json report = Json::object();
    report.set("input", options.files.front());
    if (refused)
        report.setNull("output");
    else
        report.set("output", options.files.back());
    report.set("tracks", written.tracks)
        .set("damage", opened.findings.size())
        .set("inputLosses", lossesAsJson(opened.losses))
        .set("losses", lossesAsJson(written.losses));
    return report.text();
}

/// A file that is written over itself may not lose what it holds and the result does not.
void refuseOverInput(const OpenedCut& opened, const std::string& path, bool namesTracks)
{
    if (namesTracks)
        throw Failure(kUsage, path + " would keep the named tracks alone; give the result another "
                                     "name");
    if (!opened.findings.empty())
        throw Failure(kUnwritable, path + kStaysDamaged);
}

int runExport(const ExportOptions& options)
{
    const std::string& input = options.files.front();
    const std::string& output = options.files.back();
    const std::optional<FileKind> kind = kindOfName(output);
    if (options.files.size() < 2 || !kind)
        throw Failure(kUsage, "the last argument names the result: OUT.edl, OUT.txt, OUT.srt, "
                              "OUT.vtt, OUT.cel or OUT.celdb");
    if (!options.standard.empty() && kind != FileKind::textList)
        throw Failure(kUsage, "--standard is for a text edit list (OUT.txt)");

    OpenedCut opened = openCut(input);
    requireReadTracks(opened, input);
    if (samePath(input, output))
        refuseOverInput(opened, output, options.files.size() > 2);
    std::vector<Kt::Ptr<Cel>> tracks;
    const std::vector<std::string> names(options.files.begin() + 1, options.files.end() - 1);
    for (const std::size_t i : chosenTracks(opened.cut, names))
        tracks.push_back(opened.cut.tracks[i]);
    opened.cut.tracks = std::move(tracks);

    std::optional<Kt::Ed2Support::TVStd> standard;
    if (!options.standard.empty())
        standard = standards().at(options.standard);
    WrittenCut written = writeAs(*kind, opened.cut, standard);
    const bool clean = opened.losses.empty() && opened.findings.empty() && written.losses.empty();
    const bool refused = options.strict && !clean;
    if (!refused)
        saveWritten(written, output, options.force ? SaveGuard::force : SaveGuard::refuse);
    const std::string report = options.json ? reportAsJson(options, opened, written, refused)
                                            : describeExport(options, opened, written, refused);
    std::fputs(report.c_str(), stdout);
    return refused || !opened.findings.empty() ? kFindings : kFine;
}

} // namespace

void addExportCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<ExportOptions>();
    Command command(program, "export",
                    "Writes a cut as edit list, text edit list, subtitles, track stream or store");
    command.arguments("FILE.cel [TRACK...] OUT", options->files,
                      "The cut, the tracks to take (all without names), and the result, whose name "
                      "ends in .edl, .txt, .srt, .vtt, .cel or .celdb",
                      true);
    command.option("--standard", options->standard,
                   "Frame units of a text edit list; the nearest to the cut's rate without it",
                   {"film", "pal", "ntsc", "film_ntsc"});
    command.flag("--strict", options->strict,
                 "Write nothing when something does not fit (exit code 1)");
    command.flag("--force", options->force, "Write tracks that the form would damage");
    command.flag("--json", options->json, "Print what did not fit as JSON");
    command.footer("Examples:\n  cel export cut.cel V1 picture.edl\n"
                   "  cel export cut.cel S1 film.srt");
    command.runs([options] { return runExport(*options); }, exitCode);
}

} // namespace cel::tool

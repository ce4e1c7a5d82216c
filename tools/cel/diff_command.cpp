#include "tools/cel/adopt_material.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_differences.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/level_values.h"
#include "tools/cel/levels_show.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
#include "tools/cel/positions.h"
#include "tools/cel/terminal.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>

namespace cel::tool {

namespace {

struct DiffOptions
{
    std::string first;
    std::string second;
    std::vector<std::string> tracks;
    bool quiet = false;
    bool json = false;
};

/// What differs, in words for a person.
std::string describeField(std::string_view field)
{
    if (field == "display")
        return "mark of the speed display";
    return field == "ramp" ? "fade" : std::string(field);
}

std::string describeStretch(const Cut& cut, const MaterialTable& materials,
                            const DifferingStretch& stretch)
{
    std::string text = describePosition(cut, stretch.from);
    if (stretch.to > stretch.from)
        text += " to " + describePosition(cut, stretch.to);
    const std::string first = describeMaterial(stretch.first.material, materials);
    const std::string second = describeMaterial(stretch.second.material, materials);
    if (stretch.field == std::string_view("strip")) {
        std::string one = sourceTimecode(cut, stretch.first.strip);
        std::string other = sourceTimecode(cut, stretch.second.strip);
        if (one == other) { // less than a frame apart
            one = number(stretch.first.strip) + " s";
            other = number(stretch.second.strip) + " s";
        }
        return text + ": " + first + " at " + one + " against " + other + " of the clip";
    }
    // Clips of one name are told apart by their reel or file, which only their number stands for.
    if (first != second)
        return text + ": " + first + " against " + second;
    return text + ": " + first + ", " + describeField(stretch.field) + " " + stretch.text;
}

std::string describeTrack(const DiffOptions& options, const Cut& cut,
                          const MaterialTable& materials, const TrackComparison& track)
{
    const std::string name = padded(track.name, 4) + "  ";
    if (track.where != TrackComparison::inBoth)
        return name + "only in " +
               printable(track.where == TrackComparison::onlyInFirst ? options.first
                                                                     : options.second) +
               "\n";
    if (track.playsSame())
        return name + "plays the same\n";
    constexpr std::size_t kShown = 20;
    std::string text;
    for (std::size_t i = 0; i < std::min(kShown, track.stretches.size()); ++i)
        text += name + describeStretch(cut, materials, track.stretches[i]) + "\n";
    if (track.stretches.size() > kShown)
        text += name + "and " + std::to_string(track.stretches.size() - kShown) +
                " more (--json lists all)\n";
    if (track.levels.decibels > kSameDecibels)
        text += name + describePosition(cut, track.levelsDifferFrom) +
                ": level envelopes differ from here on, most by " +
                describeDecibels(track.levels.decibels) + " at " +
                describePosition(cut, track.levels.time) + "\n";
    return text;
}

/// What does not play and yet differs: a line each.
std::string describeFrames(const Cut& first, const Cut& second)
{
    std::string text;
    if (!(first.rate == second.rate))
        text += "The first has " + describeRate(first.rate) + ", the second " +
                describeRate(second.rate) + ".\n";
    if (const std::string a = recordTimecode(first, 0), b = recordTimecode(second, 0); a != b)
        text += "The timecode of the first starts at " + a + ", of the second at " + b + ".\n";
    return text;
}

std::string describeComparison(const DiffOptions& options, const Cut& first, const Cut& second,
                               const CutComparison& comparison, std::size_t damage)
{
    const auto all = static_cast<long long>(comparison.tracks.size());
    const auto same = std::count_if(comparison.tracks.begin(), comparison.tracks.end(),
                                    [](const TrackComparison& track) { return track.playsSame(); });
    const std::string files = (damage > 0 ? "As far as they can be read, " : "") +
                              printable(options.first) + " and " + printable(options.second);
    if (same == all)
        return files + " play the same, " + counted(all, "track") + " compared.\n" +
               describeFrames(first, second);
    std::string text = files + " differ on " + std::to_string(all - same) + " of " +
                       counted(all, "track") + ":\n" + describeFrames(first, second);
    for (const TrackComparison& track : comparison.tracks)
        text += describeTrack(options, first, comparison.materials, track);
    return text;
}

Json stretchAsJson(const Cut& cut, const MaterialTable& materials, const DifferingStretch& stretch)
{
    Json json = Json::object();
    json.set("seconds", stretch.from, stretch.to)
        .set("from", recordTimecode(cut, stretch.from))
        .set("to", recordTimecode(cut, stretch.to))
        .set("field", stretch.field)
        .set("text", stretch.text)
        .set("first", describeMaterial(stretch.first.material, materials))
        .set("second", describeMaterial(stretch.second.material, materials))
        .set("clipSeconds", stretch.first.strip, stretch.second.strip);
    return json;
}

Json comparisonAsJson(const DiffOptions& options, const Cut& cut, const CutComparison& comparison,
                      std::size_t damage)
{
    static constexpr const char* kWhere[] = {"both", "first", "second"};
    Json tracks = Json::array();
    for (const TrackComparison& track : comparison.tracks) {
        Json stretches = Json::array();
        for (const DifferingStretch& stretch : track.stretches)
            stretches.push(stretchAsJson(cut, comparison.materials, stretch));
        Json json = Json::object();
        json.set("track", track.name)
            .set("in", kWhere[track.where])
            .set("differences", std::move(stretches));
        if (track.levels.decibels > kSameDecibels) {
            Json levels = Json::object();
            levels.set("from", recordTimecode(cut, track.levelsDifferFrom))
                .set("seconds", track.levelsDifferFrom)
                .set("worst", errorAsJson(cut, track.levels));
            json.set("levels", std::move(levels));
        }
        tracks.push(std::move(json));
    }
    Json json = Json::object();
    json.set("first", options.first)
        .set("second", options.second)
        .set("same", comparison.playsSame())
        .set("damage", damage)
        .set("tracks", std::move(tracks));
    return json;
}

int runDiff(const DiffOptions& options)
{
    OpenedCut first = openCut(options.first);
    const OpenedCut second = openBeside(first, options.second);
    if (first.kind == FileKind::editList && second.kind != FileKind::editList)
        first = openBeside(second, options.first);
    requireReadTracks(first, options.first);
    requireReadTracks(second, options.second);
    const std::size_t damage = first.findings.size() + second.findings.size();
    CutComparison comparison;
    {
        const Progress progress("comparing");
        comparison = compareCuts(first.cut, second.cut, options.tracks);
    }
    if (options.json)
        std::fputs(comparisonAsJson(options, first.cut, comparison, damage).text().c_str(), stdout);
    else if (!options.quiet)
        std::fputs(describeComparison(options, first.cut, second.cut, comparison, damage).c_str(),
                   stdout);
    if (!first.findings.empty())
        std::fputs(damageNotice(printable(options.first)).c_str(), stderr);
    if (!second.findings.empty())
        std::fputs(damageNotice(printable(options.second)).c_str(), stderr);
    return comparison.playsSame() && damage == 0 ? kFine : kFindings;
}

} // namespace

void addDiffCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<DiffOptions>();
    Command command(program, "diff",
                    "Tells where two cuts do not play the same (exit code 1 when they do not)");
    command.argument("A", options->first, "A cut; an edit list will do too");
    command.argument("B", options->second, "The cut to compare it with");
    command.arguments("TRACK", options->tracks, "Names of tracks; all without", false);
    command.flag("--quiet", options->quiet, "Say nothing, answer with the exit code alone");
    command.flag("--json", options->json, "Print the differences as JSON");
    command.footer("How a track is cut does not matter, what plays at each moment does: material,\n"
                   "its time, speed and level, and fades at cuts that both have.\n\n"
                   "Example:\n  cel diff before.cel after.cel V1");
    command.runs([options] { return runDiff(*options); }, exitCode);
}

} // namespace cel::tool

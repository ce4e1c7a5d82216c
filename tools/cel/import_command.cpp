#include "interchange/cut_levels.h"
#include "interchange/subtitle_tracks.h"
#include "platform/support/utf8.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace cel::tool {

namespace {

struct ImportOptions
{
    std::string input;
    std::string output;
    std::string rate;
    std::string into;
    std::string offset;
    bool strict = false;
    bool force = false;
    bool json = false;
};

std::optional<FrameRate> rateOf(const ImportOptions& options)
{
    if (options.rate.empty())
        return std::nullopt;
    if (auto rate = parseFrameRate(options.rate))
        return rate;
    throw Failure(kUsage, "--rate " + printable(options.rate) +
                              " is no frame rate; 24, 29.97, 29.97df or 30000/1001 are");
}

std::string describeTracks(const Cut& cut)
{
    std::string text;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const auto sections = sectionsOf(*cut.tracks[i], cut.materials);
        text += "  " + padded(i ? "" : "tracks", 11) + padded(nameOfTrack(cut, i), 4) + "  " +
                padded(describeKind(kindOf(*cut.tracks[i])), 9) + " " +
                counted(static_cast<long long>(sections.size()), "section") + "\n";
    }
    return text;
}

std::string describeArrival(const OpenedCut& opened)
{
    const Cut& cut = opened.cut;
    const auto line = [](std::string_view name, const std::string& value) {
        return "  " + padded(name, 11) + value + "\n";
    };
    return line("title", cut.title.empty() ? "(none)" : printable(cut.title)) +
           line("rate", describeRate(cut.rate) + ", " + printable(opened.rateReason)) +
           describeTracks(cut) + line("duration", describeDuration(cut, cut.duration())) +
           line("timecode", recordTimecode(cut, 0) + " to " + recordTimecode(cut, cut.duration())) +
           line("material",
                counted(static_cast<long long>(cut.materials.materials().size()), "clip"));
}

Json arrivalAsJson(const ImportOptions& options, const OpenedCut& opened, bool written)
{
    const Cut& cut = opened.cut;
    Json tracks = Json::array();
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        Json track = Json::object();
        track.set("name", nameOfTrack(cut, i))
            .set("kind", describeKind(kindOf(*cut.tracks[i])))
            .set("sections", sectionsOf(*cut.tracks[i], cut.materials).size());
        tracks.push(std::move(track));
    }
    Json json = Json::object();
    json.set("input", options.input);
    if (written)
        json.set("output", options.output);
    else
        json.setNull("output");
    json.set("title", cut.title)
        .set("rate", describe(cut.rate))
        .set("rateReason", opened.rateReason)
        .set("start", recordTimecode(cut, 0))
        .set("end", recordTimecode(cut, cut.duration()))
        .set("seconds", cut.duration())
        .set("tracks", std::move(tracks))
        .set("damage", opened.findings.size())
        .set("losses", lossesAsJson(opened.losses));
    return json;
}

// ---- subtitles beside a cut -------------------------------------------------------------------

/// Where the times of a subtitle file begin on a cut.
struct Zero
{
    double shift = 0.0; ///< seconds to add
    std::string reason;
};

/// Seconds that a timecode shows, as a clock counts them.
double clockOf(const Cut& cut)
{
    return cut.rate.dropFrame ? secondsOfFrames(cut.startFrame, cut.rate)
                              : static_cast<double>(cut.startFrame) / cut.rate.timecodeBase();
}

Zero zeroOf(const ImportOptions& options, const Cut& cut, const SubtitleCues& file)
{
    if (!options.offset.empty()) {
        const double by = lengthOf("--offset", options.offset, cut.rate);
        if (!(std::fabs(by) <= kLongestCut))
            throw Failure(kUsage, "--offset " + printable(options.offset) + " is more than " +
                                      describeLength(cut.rate, kLongestCut));
        return {by, "moved by " + describeLength(cut.rate, by)};
    }
    double first = kEndlessTime;
    for (const SubtitleCue& cue : file.cues)
        first = std::min(first, cue.start);
    const double clock = clockOf(cut);
    if (clock > 0.0 && first >= clock && !file.cues.empty())
        return {-clock, "taken for timecode, as the first lies behind " + recordTimecode(cut, 0)};
    return {0.0, "counted from the start of the cut"};
}

/// Subtitles on their new track, and where they go.
struct SubtitleArrival
{
    FileKind kind = FileKind::subRip;
    std::string output;
    std::string track;
    std::size_t count = 0;
    std::size_t behindEnd = 0; ///< of those, how many start behind the end of the other tracks
    std::string endOfCut;
    Zero zero;
    LossLedger losses;
    std::size_t damage = 0; ///< of the cut that they come to
    bool saved = false;
};

Json arrivalAsJson(const ImportOptions& options, const SubtitleArrival& arrival)
{
    Json json = Json::object();
    json.set("input", options.input).set("into", options.into);
    if (arrival.saved)
        json.set("output", arrival.output);
    else
        json.setNull("output");
    json.set("track", arrival.track)
        .set("subtitles", arrival.count)
        .set("behindEnd", arrival.behindEnd)
        .set("offset", arrival.zero.shift)
        .set("damage", arrival.damage)
        .set("losses", lossesAsJson(arrival.losses));
    return json;
}

std::string describeArrival(const ImportOptions& options, const SubtitleArrival& arrival)
{
    std::string text = printable(options.input) + ", " + describe(arrival.kind) + ", arrived as " +
                       arrival.track + " of " + printable(options.into) + ":\n  " +
                       counted(static_cast<long long>(arrival.count), "subtitle") + ", times " +
                       arrival.zero.reason + "\n";
    if (arrival.behindEnd > 0)
        text += "  behind the end of the cut, " + arrival.endOfCut + ": " +
                (arrival.behindEnd == arrival.count ? "all" : std::to_string(arrival.behindEnd)) +
                " of them\n";
    text += describeLosses(arrival.losses, "could not be carried over");
    if (arrival.damage > 0)
        text += damageNotice(printable(options.into));
    if (arrival.saved)
        return text + "Saved " + printable(arrival.output) + ".\n";
    return text + "Nothing was written" +
           (arrival.count == 0 ? ": there is no subtitle to add.\n" : " (--strict).\n");
}

int runImportInto(const ImportOptions& options)
{
    SubtitleArrival arrival;
    arrival.output = options.output.empty() ? options.into : options.output;
    if (!options.rate.empty())
        throw Failure(kUsage, "--rate is not for --into: subtitles go on the frames of the cut");
    OpenedCut opened = openCut(options.into);
    requireReadTracks(opened, options.into);
    if (!holdsEverything(options.output.empty() ? opened.kind : kindOfName(arrival.output)))
        throw Failure(kUsage, arrival.output + kWrongResult);
    OpenedSubtitles subtitles = openSubtitles(options.input);
    Cut& cut = opened.cut;
    const double length = cut.duration();
    arrival.kind = subtitles.kind;
    arrival.damage = opened.findings.size();
    arrival.endOfCut = recordTimecode(cut, length);
    arrival.zero = zeroOf(options, cut, subtitles.import.file);

    Cel& track = *cut.addTrack(kSubtitleCookie);
    arrival.track = nameOfTrack(cut, cut.tracks.size() - 1);
    arrival.losses = std::move(subtitles.import.losses);
    arrival.losses.append(laySubtitles(std::move(subtitles.import.file), cut.rate, track,
                                       arrival.zero.shift, length));
    arrival.losses.sortByLine();
    for (const PlacedSubtitle& subtitle : subtitlesOf(track)) {
        ++arrival.count;
        arrival.behindEnd += length > 0.0 && subtitle.start >= length - kTimeEpsilon;
    }
    arrival.saved = arrival.count > 0 && !(options.strict && !arrival.losses.empty());
    if (arrival.saved)
        arrival.losses.append(saveCutBack(opened, cut, options.into, arrival.output,
                                          options.force ? SaveGuard::force : SaveGuard::refuse));
    std::fputs(
        (options.json ? arrivalAsJson(options, arrival).text() : describeArrival(options, arrival))
            .c_str(),
        stdout);
    return arrival.saved && arrival.damage == 0 ? kFine : kFindings;
}

/// A cut that is there already is rarely to give way to subtitles: they were to go beside it.
void refuseOverCut(const ImportOptions& options)
{
    const std::string& path = options.output;
    std::error_code fault;
    if (!std::filesystem::is_regular_file(utf8ToPath(path), fault))
        return;
    std::string tracks;
    try {
        const OpenedCut old = openCut(path);
        if (!holdsEverything(old.kind))
            return;
        for (std::size_t i = 0; i < old.cut.tracks.size(); ++i)
            if (kindOf(*old.cut.tracks[i]) != kSubtitleCookie)
                tracks += (tracks.empty() ? "" : ", ") + nameOfTrack(old.cut, i);
    } catch (const Failure&) {
        return; // what is no cut is replaced, as every other import would
    }
    if (!tracks.empty())
        throw Failure(kUnwritable, path + " is a cut with the tracks " + tracks + "; --into " +
                                       path + " adds the subtitles to it, --force replaces it");
}

int runImport(const ImportOptions& options)
{
    if (!options.into.empty())
        return runImportInto(options);
    if (options.output.empty())
        throw Failure(kUsage, "OUT is required: the .cel or .celdb file to write");
    if (!options.offset.empty())
        throw Failure(kUsage, "--offset is for subtitles beside a cut (--into)");
    const std::optional<FileKind> kind = kindOfName(options.output);
    if (!holdsEverything(kind))
        throw Failure(kUsage, options.output + kWrongResult);
    OpenedCut opened = openCut(options.input, rateOf(options));
    requireReadTracks(opened, options.input);
    if (!opened.findings.empty() && samePath(options.input, options.output))
        throw Failure(kUnwritable, options.output + kStaysDamaged);
    if (holdsSubtitles(opened.kind) && !options.force)
        refuseOverCut(options);
    for (const Kt::Ptr<Cel>& track : opened.cut.tracks)
        if (kindOf(*track) == kAudioCookie && !levelsOf(opened.cut, *track).valid())
            setLevels(opened.cut, *track, flatLevels(*track));
    WrittenCut written = writeAs(*kind, opened.cut);
    opened.losses.append(written.losses);
    const bool refused = options.strict && !(opened.losses.empty() && opened.findings.empty());
    if (!refused)
        saveWritten(written, options.output, options.force ? SaveGuard::force : SaveGuard::refuse);

    std::string report;
    if (options.json) {
        report = arrivalAsJson(options, opened, !refused).text();
    } else {
        report = printable(options.input) + ", " + describe(opened.kind) + ", arrived:\n" +
                 describeArrival(opened) +
                 describeLosses(opened.losses, "could not be carried over");
        if (!opened.findings.empty())
            report +=
                "The file is damaged; cel check " + printable(options.input) + " says where.\n";
        report += refused ? "Nothing was written (--strict).\n"
                          : "Written to " + printable(options.output) + ".\n";
    }
    std::fputs(report.c_str(), stdout);
    return refused || !opened.findings.empty() ? kFindings : kFine;
}

} // namespace

void addImportCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<ImportOptions>();
    Command command(
        program, "import",
        "Brings an edit list, a text edit list, subtitles or a track stream into a .cel or .celdb "
        "file");
    command.argument("IN", options->input, "What to read; its content tells the kind");
    command.argument("OUT", options->output,
                     "The .cel or .celdb file to write; an old one is replaced. With --into, the "
                     "cut itself without",
                     false);
    command.option("--rate", options->rate,
                   "Frames a second of an edit list or subtitles: 24, 29.97, 29.97df, 30000/1001; "
                   "without it guessed from the list, and milliseconds for subtitles");
    command.option("--into", options->into,
                   "The cut to which subtitles (.srt, .vtt) are added as a track: S1, S2, ...");
    command.option("--offset", options->offset,
                   "With --into: add this to all times of the subtitles, seconds or timecode");
    command.flag("--strict", options->strict,
                 "Write nothing when something cannot be carried over (exit code 1)");
    command.flag("--force", options->force,
                 "Write tracks that the form would damage; let subtitles take the place of a cut");
    command.flag("--json", options->json, "Print what arrived as JSON");
    command.footer("Examples:\n  cel import cut.edl cut.cel --rate 25\n"
                   "  cel import cut.srt --into cut.cel");
    command.runs([options] { return runImport(*options); }, exitCode);
}

} // namespace cel::tool

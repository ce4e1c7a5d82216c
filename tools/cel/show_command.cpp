#include "interchange/audio_tracks.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/positions.h"
#include "tools/cel/section_table.h"
#include "tools/cel/terminal.h"
#include "tools/cel/text.h"
#include "tools/cel/timeline_drawing.h"

#include <algorithm>
#include <memory>

namespace cel::tool {

namespace {

struct ShowOptions
{
    std::string file;
    std::vector<std::string> tracks;
    std::size_t width = 0; ///< 0 for the terminal's
    std::string from;
    std::string to;
    bool table = false;
    bool json = false;
};

/// What the options ask for, else everything that the tracks hold.
TimeRange stretchOf(const ShowOptions& options, const Cut& cut,
                    const std::vector<std::size_t>& tracks)
{
    TimeRange stretch;
    for (const std::size_t track : tracks)
        for (const ChannelEvent& event : cut.tracks[track]->events())
            if (isRealTime(event.edit_time())) {
                stretch.from = std::min(stretch.from, event.edit_time());
                stretch.to = std::max(stretch.to, event.edit_time());
            }
    if (!options.from.empty())
        stretch.from = positionOf("--from", options.from, cut);
    if (!options.to.empty())
        stretch.to = positionOf("--to", options.to, cut);
    if (options.to.empty() && stretch.to < stretch.from)
        throw Failure(kUsage, "--from " + printable(options.from) + " lies behind the end, " +
                                  describePosition(cut, stretch.to));
    if (stretch.to < stretch.from)
        throw Failure(kUsage, "the stretch to show ends before it starts");
    return stretch;
}

Json sectionAsJson(const Cut& cut, const ListedSection& section)
{
    Json json = Json::object();
    json.set("number", section.number)
        .set("recordIn", recordTimecode(cut, section.record.from))
        .set("recordOut", recordTimecode(cut, section.record.to))
        .set("seconds", section.record.from, section.record.to)
        .set("black", section.black);
    if (section.black)
        return json;
    if (section.cookie.type() == kSubtitleCookie) {
        json.set("text", section.text).set("style", section.style);
        return json;
    }
    const Material material = section.material ? *section.material : Material();
    json.set("sourceIn", sourceTimecode(cut, section.source.from))
        .set("sourceOut", sourceTimecode(cut, section.source.to))
        .set("sourceSeconds", section.source.from, section.source.to)
        .set("speed", section.speed)
        .set("level", section.levelIn, section.levelOut)
        .set("fade", section.fadeIn, section.fadeOut)
        .set("reel", material.reel)
        .set("clip", material.name)
        .set("file", material.file);
    return json;
}

/// Whether a track of sound is not heard; an edit list does not say so.
bool isSilenced(const OpenedCut& opened, std::size_t track)
{
    const Kt::Ptr<Cel>& cel = opened.cut.tracks[track];
    return holdsEverything(opened.kind) && kindOf(*cel) == kAudioCookie &&
           !audioTrack(opened.cut, cel).getSoundOutputEnabled();
}

Json cutAsJson(const OpenedCut& opened, const std::vector<std::size_t>& tracks,
               const TimeRange& stretch)
{
    const Cut& cut = opened.cut;
    Json list = Json::array();
    for (const std::size_t track : tracks) {
        Json sections = Json::array();
        for (const ListedSection& section : sectionsOf(*cut.tracks[track], cut.materials))
            if (shows(section, stretch))
                sections.push(sectionAsJson(cut, section));
        Json json = Json::object();
        json.set("name", nameOfTrack(cut, track))
            .set("kind", describeKind(kindOf(*cut.tracks[track])));
        if (kindOf(*cut.tracks[track]) == kAudioCookie && holdsEverything(opened.kind))
            json.set("sound", !isSilenced(opened, track));
        json.set("sections", std::move(sections));
        list.push(std::move(json));
    }
    Json json = Json::object();
    json.set("title", cut.title)
        .set("rate", describe(cut.rate))
        .set("start", recordTimecode(cut, 0))
        .set("seconds", cut.duration())
        .set("damage", opened.findings.size())
        .set("tracks", std::move(list));
    return json;
}

std::string describeTrack(const OpenedCut& opened, std::size_t track)
{
    const Cut& cut = opened.cut;
    const auto sections = sectionsOf(*cut.tracks[track], cut.materials);
    const auto countOf = [&sections](auto test) {
        return static_cast<long long>(std::count_if(sections.begin(), sections.end(), test));
    };
    std::string text = padded(nameOfTrack(cut, track), 4) + "  " +
                       counted(static_cast<long long>(sections.size()), "section");
    if (const auto black = countOf([](const ListedSection& s) { return s.black; }))
        text += ", " + std::to_string(black) + " black";
    if (const auto speeds = countOf([](const ListedSection& s) { return s.changesSpeed(); }))
        text += ", " + counted(speeds, "speed change");
    if (isSilenced(opened, track))
        text += ", sound off";
    return text + "\n";
}

std::string pictureOf(const OpenedCut& opened, const std::vector<std::size_t>& tracks,
                      const TimeRange& stretch, const Terminal& terminal)
{
    std::string text = drawTimeline(opened.cut, tracks, stretch, terminal) + "\n";
    for (const std::size_t track : tracks)
        text += describeTrack(opened, track);
    return text;
}

std::string tablesOf(const OpenedCut& opened, const std::vector<std::size_t>& tracks,
                     const TimeRange& stretch)
{
    std::string text;
    for (const std::size_t track : tracks)
        text += (text.empty() ? "" : "\n") + describeTrack(opened, track) +
                sectionTable(opened.cut, track, stretch);
    return text;
}

int runShow(const ShowOptions& options)
{
    const OpenedCut opened = openCut(options.file);
    const Cut& cut = opened.cut;
    if (!options.tracks.empty())
        requireReadTracks(opened, options.file);
    const std::vector<std::size_t> tracks =
        options.tracks.empty() ? tracksFromTop(cut) : chosenTracks(cut, options.tracks);
    const TimeRange stretch = stretchOf(options, cut, tracks);
    Terminal terminal = terminalOfOutput();
    if (options.width > 0)
        terminal.width = options.width;

    std::string text;
    if (options.json) {
        text = cutAsJson(opened, tracks, stretch).text();
    } else {
        const std::string title = cut.title.empty() ? options.file : cut.title;
        text = printable(title) + ", " + describeRate(cut.rate) + ", " +
               recordTimecode(cut, stretch.from) + " to " + recordTimecode(cut, stretch.to) + ", " +
               describeDuration(cut, stretch.to - stretch.from) + "\n\n" +
               (options.table ? tablesOf(opened, tracks, stretch)
                              : pictureOf(opened, tracks, stretch, terminal));
        if (stretch.from > cut.duration() + kTimeEpsilon)
            text += "Nothing lies there; the cut ends at " + describePosition(cut, cut.duration()) +
                    ".\n";
    }
    return answer(text, opened, options.file);
}

} // namespace

void addShowCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<ShowOptions>();
    Command command(program, "show", "Draws a cut as a timeline, or lists it");
    command.argument("FILE.cel", options->file, "The cut; an edit list will do too");
    command.arguments("TRACK", options->tracks, "Names of tracks; all without", false);
    command.flag("--table", options->table, "List the sections instead of drawing them");
    command.option("--width", options->width,
                   "Columns of the drawing; the terminal's, or 100, without", 40, 10000);
    command.option("--from", options->from, "Show from here on: seconds or timecode");
    command.option("--to", options->to, "Show up to here");
    command.flag("--json", options->json, "Print the sections as JSON");
    command.footer("Example:\n  cel show cut.cel V1 --from 01:00:10:00 --to 01:00:30:00");
    command.runs([options] { return runShow(*options); }, exitCode);
}

} // namespace cel::tool

#include "interchange/audio_tracks.h"
#include "interchange/cut_levels.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/text.h"

#include <memory>

namespace cel::tool {

namespace {

struct AudioOptions
{
    std::string file;
    std::vector<std::string> tracks;
    std::string sound;
    std::string crossfades;
    std::string output;
    bool force = false;
    bool json = false;

    bool changes() const { return !sound.empty() || !crossfades.empty(); }
};

/// The sound tracks of these names, or all when there are none.
std::vector<std::size_t> soundTracks(const Cut& cut, const std::vector<std::string>& names)
{
    std::vector<std::size_t> tracks;
    for (const std::size_t index : chosenTracks(cut, names)) {
        const CookieType kind = kindOf(*cut.tracks[index]);
        if (kind == kAudioCookie)
            tracks.push_back(index);
        else if (!names.empty())
            throw Failure(kUsage, nameOfTrack(cut, index) + " is " + describeKind(kind) +
                                      " and no sound track");
    }
    return tracks;
}

const char* onOrOff(bool on)
{
    return on ? "on" : "off";
}

std::string describeSwitches(const Cut& cut, const std::vector<std::size_t>& tracks, bool asJson)
{
    std::string text;
    Json list = Json::array();
    for (const std::size_t index : tracks) {
        const AudCel track = audioTrack(cut, cut.tracks[index]);
        const std::size_t nodes = levelsOf(cut, *cut.tracks[index]).snapshot().nodes().size();
        text += "  " + padded(nameOfTrack(cut, index), 4) + "  sound " +
                padded(onOrOff(track.getSoundOutputEnabled()), 3) + "  crossfades " +
                padded(onOrOff(track.getXFadesEnabled()), 3) + "  " +
                counted(static_cast<long long>(nodes), "level node") + "\n";
        Json json = Json::object();
        json.set("name", nameOfTrack(cut, index))
            .set("sound", track.getSoundOutputEnabled())
            .set("crossfades", track.getXFadesEnabled())
            .set("levelNodes", nodes);
        list.push(std::move(json));
    }
    return asJson ? list.text() : text;
}

void setSwitches(Cut& cut, std::size_t index, const AudioOptions& options)
{
    AudCel track = audioTrack(cut, cut.tracks[index]);
    if (!options.sound.empty())
        track.setSoundOutputEnabled(options.sound == "on");
    if (!options.crossfades.empty())
        track.setXFadesEnabled(options.crossfades == "on");
    keepSwitches(cut, track);
    cut.tracks[index]->make_dirty();
}

int runAudio(const AudioOptions& options)
{
    OpenedCut opened = openCut(options.file);
    requireReadTracks(opened, options.file);
    const std::vector<std::size_t> tracks = soundTracks(opened.cut, options.tracks);
    if (!options.changes() && !options.output.empty())
        throw Failure(kUsage, "nothing is to change: name --sound or --crossfades");
    std::string saved;
    if (options.changes()) {
        for (const std::size_t index : tracks)
            setSwitches(opened.cut, index, options);
        saved = saveChanges(opened, options.file, options.output,
                            options.force ? SaveGuard::force : SaveGuard::refuse);
    }
    const std::string text = describeSwitches(opened.cut, tracks, options.json);
    return answer(options.json ? text : text + saved, opened, options.file);
}

} // namespace

void addAudioCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<AudioOptions>();
    Command command(program, "audio", "Shows and sets the switches of sound tracks");
    command.argument("FILE.cel", options->file, "The cut");
    command.arguments("TRACK", options->tracks, "Names of sound tracks; all without", false);
    command.option("--sound", options->sound, "Whether the track is heard", {"on", "off"});
    command.option("--crossfades", options->crossfades, "Whether a host works out its crossfades",
                   {"on", "off"});
    command.option("-o,--output", options->output,
                   "Save as this .cel or .celdb file; without it in place");
    command.flag("--force", options->force, "Write tracks that the form would damage");
    command.flag("--json", options->json, "Print the switches as JSON");
    command.footer("A new track is not heard until a host, or this command, switches it on.\n\n"
                   "Example:\n  cel audio cut.cel A1 --sound on");
    command.runs([options] { return runAudio(*options); }, exitCode);
}

} // namespace cel::tool

#include "interchange/text_lines.h"
#include "interchange/webvtt.h"
#include "interchange/webvtt_text.h"

namespace cel {

namespace {

/// A name of a cue stands on a line of its own and must not be taken for anything else.
bool canStand(std::string_view identifier)
{
    return identifier.find('\n') == identifier.npos && identifier.find("-->") == identifier.npos;
}

void writeCue(const SubtitleCue& cue, std::string& text, CountedLosses& losses)
{
    if (!canStand(cue.identifier))
        losses.add(cue.line, "identifier", "left out: " + quoted(asOneLine(cue.identifier, 200)));
    else if (!cue.identifier.empty())
        text += cue.identifier + "\n";
    text += cueTime(cue.start, '.') + " --> " + cueTime(cue.end, '.');
    const std::string_view settings =
        cue.settings.empty() ? settingsOfPlacement(cue.placement) : cue.settings;
    if (!settings.empty())
        text.append(" ").append(settings);
    text += '\n';
    if (!cue.text.empty())
        text += toWebVttText(cue.text, cue.line, losses) + "\n";
    text += '\n';
}

} // namespace

SubtitleExport writeWebVtt(const SubtitleCues& file)
{
    SubtitleExport result;
    CountedLosses losses;
    result.text = "WEBVTT" + file.header + "\n\n";
    std::size_t block = 0;
    const auto writeBlocksBefore = [&](std::size_t cue) {
        for (; block < file.blocks.size() && file.blocks[block].beforeCue <= cue; ++block)
            result.text += file.blocks[block].text + "\n\n";
    };
    for (std::size_t i = 0; i < file.cues.size(); ++i) {
        writeBlocksBefore(i);
        writeCue(file.cues[i], result.text, losses);
    }
    writeBlocksBefore(file.cues.size());
    result.losses = losses.finished();
    return result;
}

} // namespace cel

#include "interchange/subrip.h"

#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"
#include "interchange/webvtt.h"

namespace cel {

namespace {

/// "{\an8}": the places of a numeric keypad.
std::string placementMark(CuePlacement placement)
{
    const int key = columnOf(placement) + 1 + 3 * (2 - rowOf(placement));
    return "{\\an" + std::to_string(key) + "}";
}

/// Braces have no way to be written as what they are.
void noteMarks(std::string_view line, const SubtitleCue& cue, CountedLosses& losses)
{
    for (std::size_t at = line.find('{'); at != line.npos; at = line.find('{', at + 1))
        if (const std::size_t bytes = subRipMarkBytes(line.substr(at)))
            losses.add(cue.line, "tag",
                       "subtitle " + quoted(cue.identifier) + ": the words " +
                           quoted(line.substr(at, bytes)) + " will be read as a tag");
}

/// The text of a cue, none of whose lines may be taken for the times of another one.
std::string safeText(const SubtitleCue& cue, CountedLosses& losses)
{
    std::string text;
    for (DecodedLines lines(cue.text); const auto line = lines.next();) {
        if (isBlankLine(*line))
            continue;
        if (parseCueTimes(*line)) {
            losses.add(cue.line, "text", "a line that reads as times got a point in front of it");
            text += ". ";
        }
        noteMarks(*line, cue, losses);
        text.append(*line).append("\n");
    }
    return text;
}

} // namespace

SubtitleExport writeSubRip(const SubtitleCues& file)
{
    SubtitleExport result;
    CountedLosses losses;
    if (!trimmed(file.header).empty())
        losses.add(0, "header", "the header is left out: " + quoted(asOneLine(file.header, 200)));
    for (const SubtitleBlock& block : file.blocks)
        losses.add(block.line, "block", "left out: " + quoted(asOneLine(block.text, 200)));
    std::size_t counter = 0;
    for (const SubtitleCue& cue : file.cues) {
        if (!hasOnlyDigits(cue.identifier))
            losses.add(cue.line, "identifier",
                       "a counter stands in place of " + quoted(cue.identifier));
        if (!saysNoMoreThan(cue.settings, cue.placement))
            losses.add(cue.line, "setting",
                       "of " + quoted(cue.settings) + " only the nearest of nine places is kept");
        result.text += std::to_string(++counter) + "\n";
        result.text += cueTime(cue.start, ',') + " --> " + cueTime(cue.end, ',') + "\n";
        const std::string text = safeText(cue, losses);
        const bool isPlaced = cue.placement != CuePlacement::bottom;
        if (isPlaced && text.empty())
            losses.add(cue.line, "empty", "the place of a subtitle without a text is left out");
        else if (isPlaced)
            result.text += placementMark(cue.placement);
        result.text += text + "\n";
    }
    result.losses = losses.finished();
    return result;
}

} // namespace cel

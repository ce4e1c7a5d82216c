#include "fuzz/subtitle_files.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace cel::fuzz {

namespace {

/// Brackets that are text can become a tag, or a place, when something between them goes; a colour
/// may come back under its name.
bool isPlain(const SubtitleCue& cue)
{
    const std::string_view text = cue.text;
    constexpr std::string_view kTags[] = {"<i>", "</i>", "<b>", "</b>", "<u>", "</u>"};
    for (auto at = text.find_first_of("<{"); at != text.npos; at = text.find_first_of("<{", at + 1))
        if (std::none_of(std::begin(kTags), std::end(kTags), [text, at](std::string_view tag) {
                return text.substr(at).starts_with(tag);
            }))
            return false;
    return true;
}

/// Whether text was met that reads as a tag.
bool hasTagsOfText(const LossLedger& losses)
{
    return std::any_of(losses.entries().begin(), losses.entries().end(),
                       [](const LossLedger::Entry& entry) { return entry.kind == "tag"; });
}

/// What both forms hold of a cue.
bool same(const SubtitleCue& a, const SubtitleCue& b)
{
    return a.start == b.start && a.end == b.end && a.text == b.text && a.placement == b.placement;
}

void requireSame(const SubtitleCues& before, const std::optional<SubtitleImport>& after)
{
    require(after.has_value(), "what was written can be read");
    require(after->file.cues.size() == before.cues.size(), "as many cues come back");
    require(std::equal(before.cues.begin(), before.cues.end(), after->file.cues.begin(), same),
            "the cues come back as they were");
}

} // namespace

void examine(const SubtitleImport& read)
{
    const SubtitleCues& file = read.file;
    for (const SubtitleCue& cue : file.cues) {
        require(cue.start >= 0.0 && cue.end >= 0.0 && cue.end < 4e9, "times are times");
        require(cue.text.find("\n\n") == std::string::npos, "no line is empty");
        require(placementAt(columnOf(cue.placement), rowOf(cue.placement)) == cue.placement,
                "a placement is on the grid");
    }
    std::string error;
    const bool plain =
        std::all_of(file.cues.begin(), file.cues.end(), isPlain) && !hasTagsOfText(read.losses);
    const auto webVtt = readWebVtt(writeWebVtt(file).text, error);
    const auto subRip = readSubRip(writeSubRip(file).text, error);
    require(webVtt.has_value(), "WebVTT that was written can be read");
    if (plain && writeWebVtt(file).losses.empty())
        requireSame(file, webVtt);
    if (plain && !file.cues.empty() && writeSubRip(file).losses.empty())
        requireSame(file, subRip);
}

} // namespace cel::fuzz

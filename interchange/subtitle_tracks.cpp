#include "interchange/subtitle_tracks.h"

#include "interchange/sections.h"
#include "interchange/subrip.h"
#include "interchange/subtitle_layout.h"
#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"
#include "interchange/webvtt.h"
#include "platform/support/utf8.h"
#include "subtitles/SubtitleCel.h"
#include "subtitles/SubtitleStyleManager.h"

#include <algorithm>
#include <map>
#include <utility>

namespace cel {

namespace {

using SubtitleCel = SubtitleTrack::SubtitleCel;

SubtitleTrack::RangedElement elementOf(const LaidCue& cue, const FrameRate& rate)
{
    SubtitleTrack::RangedElement element;
    element.start = secondsOfFrames(cue.start, rate);
    element.end = secondsOfFrames(cue.end, rate);
    element.style = styleOfPlacement(cue.placement);
    for (DecodedLines lines(cue.text); const auto line = lines.next();)
        element.lines.emplace_back(toWide(*line));
    return element;
}

} // namespace

std::string PlacedSubtitle::text() const
{
    std::string all;
    for (const std::string& line : lines)
        all.append(all.empty() ? "" : "\n").append(line);
    return all;
}

std::vector<PlacedSubtitle> subtitlesOf(const Cel& track)
{
    std::vector<PlacedSubtitle> subtitles;
    const auto* const texts = dynamic_cast<const SubtitleCel*>(&track);
    if (!texts)
        return subtitles;
    const auto take = [&](const Section& section) {
        if (section.isBlack())
            return;
        PlacedSubtitle subtitle;
        subtitle.start = section.in.edit_time();
        subtitle.end = section.out.edit_time();
        subtitle.event = static_cast<int>(section.index);
        subtitle.id = section.in.editGraph();
        const auto found = texts->elements().find(subtitle.id);
        if (found != texts->elements().end()) {
            for (const auto& line : found->second.lines)
                subtitle.lines.push_back(toUtf8(line.view()));
            subtitle.style = found->second.style.view();
        }
        subtitles.push_back(std::move(subtitle));
    };
    walkSections(track, take, [](const ChannelEvent&) {});
    return subtitles;
}

std::string_view styleOfPlacement(CuePlacement placement)
{
    constexpr std::string_view kStyles[] = {"LT", "LM", "LB", "L", "C", "", "RT", "RM", "RB"};
    return kStyles[static_cast<std::size_t>(placement) - 1];
}

CuePlacement placementOfStyle(const std::string& style)
{
    const SubtitleStyleManager& registry = SubtitleStyleManager::instance();
    const SubtitleStyle known = registry.getStyle(style);
    const bool isKnown = known.id.view() == style;
    const SubtitleStyle::ePosition place =
        isKnown ? known.pos : SubtitleStyle::posFromString(style);
    return place >= SubtitleStyle::kLeftTop && place <= SubtitleStyle::kRightBottom
               ? static_cast<CuePlacement>(place)
               : CuePlacement::bottom;
}

LossLedger laySubtitles(SubtitleCues file, const FrameRate& rate, Cel& track, double shift,
                        double end)
{
    LossLedger losses;
    auto* const texts = dynamic_cast<SubtitleCel*>(&track);
    if (!texts) {
        losses.add(0, "track", "the track cannot hold subtitles");
        return losses;
    }
    const CueLayout layout = layCues(std::move(file), rate, shift);
    losses = layout.losses;
    std::vector<SubtitleTrack::RangedElement> elements;
    elements.reserve(layout.cues.size());
    for (const LaidCue& cue : layout.cues)
        elements.push_back(elementOf(cue, rate));
    SubtitleTrack handle = SubtitleTrack::createFromCel(Kt::Ptr<Cel>(&track));
    for (const std::size_t left : handle.setElementsOnGrid(elements, end))
        losses.add(layout.cues[left].line, "time", "lies where no track reaches and is left out");
    return losses;
}

namespace {

/// Makes the cues of a file out of the subtitles of a track, one after the other.
class CueMaker
{
public:
    explicit CueMaker(double shift)
        : shift_(shift)
    {
    }

    void add(const PlacedSubtitle& subtitle)
    {
        ++number_;
        SubtitleCue cue;
        cue.start = std::max(subtitle.start + shift_, 0.0);
        cue.end = subtitle.end + shift_;
        cue.text = textOf(subtitle);
        if (cue.text.empty())
            lose("empty", "has no text and is left out");
        else if (!isRealTime(cue.start) || !isRealTime(cue.end))
            lose("time", "lies where no file reaches and is left out");
        else if (!(cue.end > 0.0))
            lose("before", "lies before the start of the file and is left out");
        else
            take(std::move(cue), subtitle);
    }

    SubtitleImport finished()
    {
        result_.losses = losses_.finished();
        return std::move(result_);
    }

private:
    void take(SubtitleCue cue, const PlacedSubtitle& subtitle)
    {
        if (subtitle.start + shift_ < -kTimeEpsilon)
            lose("before", "starts before the file and is cut off there");
        std::vector<SubtitleCue>& cues = result_.file.cues;
        cue.placement = placementOf(subtitle.style);
        cue.identifier = std::to_string(cues.size() + 1);
        cues.push_back(std::move(cue));
    }

    /// The registry is asked once for each style.
    CuePlacement placementOf(const std::string& style)
    {
        auto known = placements_.find(style);
        if (known == placements_.end())
            known = placements_.emplace(style, placementOfStyle(style)).first;
        return known->second;
    }

    std::string textOf(const PlacedSubtitle& subtitle)
    {
        std::string text;
        bool hadControls = false;
        for (const std::string& line : subtitle.lines) {
            CleanText clean = cleanText(line);
            std::replace(clean.text.begin(), clean.text.end(), '\r', '\n');
            text.append(text.empty() ? "" : "\n").append(clean.text);
            hadControls |= clean.hadControls;
        }
        CleanCueText clean = cleanCueText(text);
        if (hadControls)
            lose("text", "has control characters, which became blanks");
        if (clean.emptyLines > 0)
            lose("blank", "has empty lines within, which are left out");
        return std::move(clean.text);
    }

    void lose(const char* kind, const char* what)
    {
        losses_.add(0, kind, "subtitle " + std::to_string(number_) + " " + what);
    }

    double shift_;
    std::size_t number_ = 0;
    std::map<std::string, CuePlacement> placements_;
    SubtitleImport result_;
    CountedLosses losses_;
};

} // namespace

SubtitleImport cuesOf(const Cel& track, double shift)
{
    CueMaker maker(shift);
    for (const PlacedSubtitle& subtitle : subtitlesOf(track))
        maker.add(subtitle);
    return maker.finished();
}

Kt::Ptr<Cel> stretchOf(const Kt::Ptr<Cel>& track, const Cel::Range& range)
{
    const SubtitleTrack source = SubtitleTrack::createFromCel(track);
    if (!source.valid())
        return track->extract(range.start(), range.end(), Cel::EXTRACT_CLAMP_END);
    // An extract of the list has new identifiers at its ends; an insertion takes the texts along.
    SubtitleTrack taken(track->get_resolution());
    taken.insert(source, range, 0.0, {});
    taken.getCel()->slide(range.start());
    return taken.getCel();
}

std::optional<SubtitleImport> readSubtitles(SubtitleForm form, std::string_view bytes,
                                            std::string& error)
{
    return form == SubtitleForm::webVtt ? readWebVtt(bytes, error) : readSubRip(bytes, error);
}

SubtitleExport writeSubtitles(SubtitleForm form, const SubtitleCues& file)
{
    return form == SubtitleForm::webVtt ? writeWebVtt(file) : writeSubRip(file);
}

} // namespace cel

#include "tools/cel/subtitle_work.h"

#include "platform/support/utf8.h"
#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <charconv>

namespace cel::tool {

SubtitleWork::SubtitleWork(const SubtitleOptions& options)
    : options_(options)
    , opened_(openCut(options.file))
{
    requireReadTracks(opened_, options.file);
    const std::size_t index = chosenTracks(opened_.cut, {options.track}).front();
    name_ = nameOfTrack(opened_.cut, index);
    cel_ = opened_.cut.tracks[index];
    if (kindOf(*cel_) != kSubtitleCookie)
        throw Failure(kUsage,
                      name_ + " is " + describeKind(kindOf(*cel_)) + " and no subtitle track");
    track_ = SubtitleTrack::createFromCel(cel_);
    subtitles_ = subtitlesOf(*cel_);
}

std::size_t SubtitleWork::indexAt(const std::string& at) const
{
    if (at.starts_with('#'))
        return indexOfNumber(at);
    const double seconds = positionOf("AT", at, opened_.cut);
    for (std::size_t i = 0; i < subtitles_.size(); ++i)
        if (seconds >= subtitles_[i].start - kTimeEpsilon &&
            seconds < subtitles_[i].end - kTimeEpsilon)
            return i;
    throw Failure(kUsage, "no subtitle of " + name_ + " is shown at " +
                              describePosition(opened_.cut, seconds));
}

std::size_t SubtitleWork::indexOfNumber(const std::string& at) const
{
    std::size_t number = 0;
    const char* const last = at.data() + at.size();
    const auto [end, fault] = std::from_chars(at.data() + 1, last, number);
    if (fault != std::errc() || end != last || number == 0 || number > subtitles_.size())
        throw Failure(kUsage, printable(at) + ": " + name_ + " has " +
                                  counted(static_cast<long long>(subtitles_.size()), "subtitle"));
    return number - 1;
}

std::string SubtitleWork::line(std::size_t index) const
{
    const PlacedSubtitle& subtitle = subtitles_[index];
    std::string text;
    for (const std::string& words : subtitle.lines)
        text += (text.empty() ? "" : " | ") + printable(words);
    return "  " + padded("#" + std::to_string(index + 1), 6) + "  " +
           recordTimecode(opened_.cut, subtitle.start) + "  " +
           recordTimecode(opened_.cut, subtitle.end) + "  " + text + "\n";
}

Json SubtitleWork::json(std::size_t index) const
{
    const PlacedSubtitle& subtitle = subtitles_[index];
    Json json = Json::object();
    json.set("number", index + 1)
        .set("recordIn", recordTimecode(opened_.cut, subtitle.start))
        .set("recordOut", recordTimecode(opened_.cut, subtitle.end))
        .set("seconds", subtitle.start, subtitle.end)
        .set("text", subtitle.text())
        .set("style", subtitle.style);
    return json;
}

void SubtitleWork::set(std::size_t index, const std::vector<std::string>& lines,
                       const std::string& style)
{
    SubtitleTrack::Element element;
    for (const std::string& line : lines)
        element.lines.push_back(toWide(line));
    element.style = style;
    track_.setElement(subtitles_[index].id, element);
    subtitles_[index].lines = lines;
    subtitles_[index].style = style;
}

std::string SubtitleWork::save()
{
    cel_->make_dirty();
    return saveChanges(opened_, options_.file, options_.output,
                       options_.force ? SaveGuard::force : SaveGuard::refuse);
}

} // namespace cel::tool

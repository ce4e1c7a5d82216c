#include "tools/cel/listed_sections.h"

#include "interchange/sections.h"
#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_tracks.h"
#include "tools/cel/text.h"

#include <cmath>
#include <utility>

namespace cel::tool {

std::string ListedSection::label() const
{
    if (!text.empty())
        return printable(text);
    if (material && !material->name.empty())
        return printable(material->name);
    if (material && !material->reel.empty())
        return printable(material->reel);
    return black ? "black" : printable(cookie.asString(false).view());
}

namespace {

void addTexts(const Cel& track, std::vector<ListedSection>& list)
{
    auto section = list.begin();
    for (const PlacedSubtitle& subtitle : subtitlesOf(track)) {
        while (section->event != subtitle.event)
            ++section;
        for (const std::string& line : subtitle.lines)
            section->text.append(section->text.empty() ? "" : " | ").append(withoutCueTags(line));
        section->style = subtitle.style;
    }
}

} // namespace

std::vector<ListedSection> sectionsOf(const Cel& track, const MaterialTable& materials)
{
    std::vector<ListedSection> list;
    const auto take = [&](const Section& section) {
        ListedSection listed;
        listed.number = static_cast<int>(list.size()) + 1;
        listed.event = static_cast<int>(section.index);
        listed.record = {section.in.edit_time(), section.out.edit_time()};
        listed.source = {section.in.strip_time(), section.out.strip_time()};
        listed.speed = section.speed();
        listed.levelIn = double{section.in.level_sc()};
        listed.levelOut = double{section.out.level_sc()};
        const auto rampOf = [&track](const ChannelEvent& event) {
            return ChannelEvent::QFramesToTime(
                static_cast<unsigned short>(event.audioRamp_DurationQFrames()),
                track.get_resolution());
        };
        listed.fadeIn = rampOf(section.in);
        listed.fadeOut = rampOf(section.out);
        listed.cookie = section.in.strip_name();
        listed.black = section.isBlack();
        listed.material = materials.find(listed.cookie);
        list.push_back(listed);
    };
    walkSections(track, take, [](const ChannelEvent&) {});
    addTexts(track, list);
    return list;
}

bool shows(const ListedSection& section, const TimeRange& stretch)
{
    const TimeRange& record = section.record;
    const bool overlaps =
        record.from < stretch.to - kTimeEpsilon && record.to > stretch.from + kTimeEpsilon;
    const bool hasLength = record.to > record.from + kTimeEpsilon;
    return overlaps || (!hasLength && record.from <= stretch.to && record.from >= stretch.from);
}

std::string nameOfTrack(const Cut& cut, std::size_t index)
{
    const std::string name = printable(cut.tracks[index]->editChannelName().view());
    return name.empty() ? "track " + std::to_string(index + 1) : name;
}

const char* describeKind(CookieType kind)
{
    switch (kind) {
    case kAudioCookie:
        return "sound";
    case kEffectCookie:
        return "effects";
    case kSubtitleCookie:
        return "subtitles";
    default:
        return "picture";
    }
}

std::string recordTimecode(const Cut& cut, double seconds)
{
    return isRealTime(seconds) ? cut.timecodeAt(seconds) : "--";
}

std::string sourceTimecode(const Cut& cut, double seconds)
{
    return isRealTime(seconds) ? timecodeFromFrames(nearestFrame(seconds, cut.rate), cut.rate)
                               : "--";
}

std::string describeRate(FrameRate rate)
{
    const bool drops = std::exchange(rate.dropFrame, false);
    return describe(rate) + " frames a second" + (drops ? ", drop-frame" : "");
}

std::string describeSpeed(double speed)
{
    const double percent = speed * 100;
    const bool isSensible = std::fabs(percent) < 1e9;
    return number(isSensible ? std::round(percent * 100) / 100 : percent) + " %";
}

std::string describeDuration(const Cut& cut, double seconds)
{
    if (!isRealTime(seconds))
        return "unknown";
    return sourceTimecode(cut, seconds) + " (" + counted(nearestFrame(seconds, cut.rate), "frame") +
           ")";
}

} // namespace cel::tool

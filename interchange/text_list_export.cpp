#include "interchange/sections.h"
#include "interchange/text_lines.h"
#include "interchange/text_list.h"
#include "platform/support/TextFile.h"
#include "subtitles/SubtitleCel.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace cel {

namespace {

using Kt::Ed2Support::TVStd;

constexpr TVStd kStandards[] = {Kt::Ed2Support::kFilm, Kt::Ed2Support::kPal, Kt::Ed2Support::kNtsc,
                                Kt::Ed2Support::kFilmNtsc};
constexpr std::size_t kHeaderLines = 2;

/// Nearer to 1 than this, levels and speeds are not written.
constexpr double kNeutralTolerance = 1e-6;

bool isNeutral(float value)
{
    return std::fabs(double(value) - 1.0) < kNeutralTolerance;
}

double distance(TVStd standard, double frame)
{
    return std::fabs(Kt::getFrameDuration(standard) - frame);
}

/// The standard whose frames are nearest to the track's.
TVStd standardOf(const Cel& track)
{
    TVStd nearest = kStandards[0];
    for (const TVStd standard : kStandards)
        if (distance(standard, track.get_resolution()) < distance(nearest, track.get_resolution()))
            nearest = standard;
    return nearest;
}

/// Whether a speed has more than the four digits that a list gives it.
bool isRounded(float velocity)
{
    char text[32];
    const auto written =
        std::to_chars(text, std::end(text), velocity, std::chars_format::general, 4);
    float readBack = 0.0F;
    std::from_chars(text, written.ptr, readBack);
    return readBack != velocity;
}

bool isRounded(const ChannelEvent& event)
{
    const double tenThousandths = double(event.level_sc()) * 1e4;
    return !(std::fabs(tenThousandths - std::round(tenThousandths)) < 0.01);
}

/// Enters what the text form of one track does not hold.
class LossFinder
{
public:
    LossFinder(const Cut& cut, const Cel& track, std::size_t firstLine, LossLedger& losses)
        : cut_(cut)
        , track_(track)
        , firstLine_(firstLine)
        , losses_(losses)
    {
    }

    void find()
    {
        double end = 0.0;
        walkSections(
            track_,
            [&](const Section& section) {
                if (section.in.edit_time() > end + kTimeEpsilon)
                    lose(section.index, "gap", "the gap before it is not kept");
                end = section.out.edit_time();
                findValues(section);
                for (const SectionLoss& loss : lossesInText(section))
                    lose(section.index, loss.kind, loss.text);
            },
            [&](const ChannelEvent& event) {
                lose(static_cast<std::size_t>(&event - track_.events().data()), "section",
                     "it is an event without its section, which readers stumble over");
            });
    }

private:
    void findValues(const Section& section)
    {
        const bool levels = !isNeutral(section.in.level_sc()) || !isNeutral(section.out.level_sc());
        const bool outLevel = !isNeutral(section.out.level_sc());
        const bool speed = !isNeutral(section.out.velocity()) && section.speed() != 1.0;
        if (speed && outLevel)
            lose(section.index, "speed",
                 "it has a level at its end, and a line holds only one of "
                 "speed and level");
        else if (speed && isRounded(section.out.velocity()))
            lose(section.index, "speed", "only four digits of its speed are kept");
        if (speed && !outLevel && levels)
            lose(section.index, "level", "it has a speed, beside which its level is not read");
        if (section.levelChanges)
            lose(section.index, "level",
                 "its level changes are written as ends of sections, which "
                 "readers stumble over");
        if (levels && (isRounded(section.in) || isRounded(section.out)))
            lose(section.index, "level", "only four decimals of its level are kept");
        if (!section.isBlack() && !section.runsEvenly(track_.get_resolution()))
            lose(section.index, "speed", "its source does not run at one speed to its end");
    }

    void lose(std::size_t index, const char* kind, const std::string& text)
    {
        const double time = track_.events()[index].edit_time();
        const std::string place =
            isRealTime(time) ? " at " + cut_.timecodeAt(time) : std::string(" without a time");
        losses_.add(firstLine_ + kHeaderLines + index, kind,
                    "track " + std::string(track_.editChannelName().view()) + ", section" + place +
                        ": " + text);
    }

    const Cut& cut_;
    const Cel& track_;
    std::size_t firstLine_;
    LossLedger& losses_;
};

/// What belongs to the cut and has no place in any block.
void noteCut(const Cut& cut, LossLedger& losses)
{
    std::string names;
    for (const Kt::Ptr<Cel>& track : cut.tracks)
        names += (names.empty() ? "" : ", ") + std::string(track->editChannelName().view());
    if (!names.empty())
        losses.add(0, "track", "names and kinds of the tracks are not kept: " + names);
    if (!cut.materials.materials().empty())
        losses.add(0, "material",
                   "clip names, reels and source files of " +
                       std::to_string(cut.materials.materials().size()) +
                       " pieces of material are not kept; the list has their numbers alone");
    if (!cut.title.empty())
        losses.add(0, "title", "the title is not kept: " + quoted(cut.title));
    if (cut.startFrame != 0)
        losses.add(0, "timecode",
                   "the start timecode " + timecodeFromFrames(cut.startFrame, cut.rate) +
                       " is not kept; times count from 0");
    if (cut.rate.dropFrame)
        losses.add(0, "counting", "that timecode drops frame numbers is not kept");
}

void noteTexts(const Cel& track, std::size_t firstLine, LossLedger& losses)
{
    const auto* const subtitles = dynamic_cast<const SubtitleTrack::SubtitleCel*>(&track);
    if (subtitles && !subtitles->elements().empty())
        losses.add(firstLine, "texts",
                   "track " + std::string(track.editChannelName().view()) + ": the texts of " +
                       std::to_string(subtitles->elements().size()) + " subtitles are not kept");
}

} // namespace

TextListExport exportTextList(const Cut& cut, TextFile& file, std::optional<TVStd> wanted)
{
    TextListExport result;
    noteCut(cut, result.losses);
    for (const Kt::Ptr<Cel>& track : cut.tracks) {
        if (track != cut.tracks.front())
            file.appendLine("END_CHANNEL");
        const std::size_t firstLine = file.numLines() + 1;
        const TVStd standard = wanted ? *wanted : standardOf(*track);
        if (distance(standard, track->get_resolution()) >= kTimeEpsilon)
            result.losses.add(firstLine + 1, "rate",
                              "the list's standard has not the frames of track " +
                                  std::string(track->editChannelName().view()) +
                                  "; they were written as frames of that standard, so that it "
                                  "plays at another length");
        LossFinder(cut, *track, firstLine, result.losses).find();
        noteTexts(*track, firstLine, result.losses);
        track->writeToED2(file, standard);
    }
    return result;
}

} // namespace cel

#include "tools/cel/track_edit.h"

#include "cel/audit.h"
#include "interchange/subtitle_tracks.h"
#include "subtitles/SubtitleCel.h"
#include "tools/cel/commands.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace cel::tool {

namespace {

/// A level factor; nothing for other text, and for what no fader does.
std::optional<double> factorFrom(const std::string& text)
{
    constexpr double kLoudest = 1000.0;
    double value = 0.0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = fault == std::errc() && end == text.data() + text.size();
    return whole && value >= 0.0 && value <= kLoudest ? std::optional(value) : std::nullopt;
}

} // namespace

// ---- material ---------------------------------------------------------------------------------

Kt::Ptr<Cel> MaterialStretch::at(double start, double frame) const
{
    if (!track) {
        Kt::Ptr<Cel> made(new Cel(0, frame));
        made->appendEventPair(black, 0.0, length(), start);
        return made;
    }
    const Kt::Ptr<Cel> made = stretchOf(track, range);
    made->slide(start - range.start());
    if (made->get_resolution() != frame) {
        made->set_resolution(frame);
        made->quantiseInPlace();
    }
    return made;
}

// ---- arguments --------------------------------------------------------------------------------

TrackEdit::TrackEdit(const Cut& cut, std::size_t index, std::vector<std::string> argumentNames,
                     const EditTexts& texts, std::optional<MaterialStretch> material)
    : cut_(cut)
    , track_(*cut.tracks[index])
    , name_(nameOfTrack(cut, index))
    , argumentNames_(std::move(argumentNames))
    , texts_(texts)
    , material_(std::move(material))
    , envelope_(levelsOf(cut, track_).clone(), flatLevels(track_))
{
}

double TrackEdit::start() const
{
    return track_.numEvents() == 0 ? 0.0 : track_.get_start_time();
}

double TrackEdit::end() const
{
    return track_.numEvents() == 0 ? 0.0 : track_.get_end_time();
}

std::size_t TrackEdit::choice(std::size_t argument, const std::vector<std::string>& words) const
{
    if (!has(argument))
        return 0;
    const auto found = std::find(words.begin(), words.end(), text(argument));
    if (found != words.end())
        return static_cast<std::size_t>(found - words.begin());
    std::string known;
    for (const std::string& word : words)
        known += (known.empty() ? "" : ", ") + word;
    reject(argument, "is none of " + known);
}

double TrackEdit::place(std::size_t argument, double lowest, double highest) const
{
    const double seconds = positionOf(argumentNames_[argument], text(argument), cut_);
    if (track_.numEvents() == 0 && highest <= lowest)
        reject(argument, "is not on " + name_ + ", which is empty");
    if (!(seconds >= lowest - kTimeEpsilon && seconds <= highest + kTimeEpsilon))
        reject(argument, "must lie between " + describePosition(cut_, lowest) + " and " +
                             describePosition(cut_, highest) + " on " + name_);
    return std::clamp(seconds, lowest, highest);
}

double TrackEdit::length(std::size_t argument, double lowest, double highest) const
{
    const double seconds = lengthOf(argumentNames_[argument], text(argument), cut_.rate);
    if (!(seconds >= lowest - kTimeEpsilon && seconds <= highest + kTimeEpsilon))
        reject(argument, "must be between " + describeLength(cut_.rate, lowest) + " and " +
                             describeLength(cut_.rate, highest) + " on " + name_);
    return std::clamp(seconds, lowest, highest);
}

Cel::Range TrackEdit::stretch(std::size_t first) const
{
    const double from = placeOnTrack(first);
    const double to = placeOnTrack(first + 1);
    if (!(to > from + kTimeEpsilon))
        reject(first + 1,
               "must lie after " + argumentNames_[first] + ", " + describePosition(cut_, from));
    return {from, to};
}

Cel::Range TrackEdit::rangeOption() const
{
    if (texts_.range.empty())
        return Editable::invalidRange();
    const double from = positionOf("--range A", texts_.range[0], cut_);
    const double to = positionOf("--range B", texts_.range[1], cut_);
    if (!(to >= from))
        throw Failure(kUsage, "--range ends before it begins");
    return {from, to};
}

std::array<double, 2> TrackEdit::levels() const
{
    std::array<double, 2> factors = {1.0, 1.0};
    for (std::size_t i = 0; i < texts_.levels.size(); ++i) {
        const std::optional<double> factor = factorFrom(texts_.levels[i]);
        if (!factor)
            throw Failure(kUsage, "--level " + printable(texts_.levels[i]) +
                                      " is no factor between 0 and 1000");
        std::fill(factors.begin() + static_cast<std::ptrdiff_t>(i), factors.end(), *factor);
    }
    return factors;
}

ce_handle TrackEdit::sectionAt(std::size_t argument)
{
    const double seconds = placeOnTrack(argument);
    ce_handle section = track_.find_ceh(seconds, in_point);
    if (!section.valid() || !section.matching_out_ceh().valid())
        reject(argument, "lies in no section of " + name_);
    return section;
}

void TrackEdit::requirePairs() const
{
    const auto events = track_.events();
    for (std::size_t i = 0; i < events.size(); ++i)
        if (events[i].info() != (i % 2 == 0 ? in_point : out_point))
            refuse("event " + std::to_string(i) + " at " + at(events[i].edit_time()) +
                   " does not pair up with its neighbour, which this edit needs");
    if (events.size() % 2 != 0)
        refuse("its last section has no end");
}

// ---- results ----------------------------------------------------------------------------------

void TrackEdit::becomeWithTexts(SubtitleTrack::SubtitleCel& subtitles, const Cel& result) const
{
    using Texts = SubtitleTrack::SubtitleCel;
    const auto* const source = dynamic_cast<const Texts*>(laid_.get());
    if (source)
        for (const auto& [id, text] : source->elements())
            subtitles.insertElement(id, text);
    const SubtitleTrack with =
        SubtitleTrack::createFromCel(Kt::Ptr<Cel>(&subtitles)).withSectionsOf(result);
    subtitles = dynamic_cast<const Texts&>(*with.getCel());
}

void TrackEdit::become(const Cel& result)
{
    const auto name = track_.editChannelName();
    const auto id = track_.editChannelId();
    const auto subType = track_.editChannelSubType();
    const auto materialInfo = track_.editChannelMaterialInfo();
    if (auto* const subtitles = dynamic_cast<SubtitleTrack::SubtitleCel*>(&track_))
        becomeWithTexts(*subtitles, result);
    else
        track_ = result;
    track_.editChannelInfo(name, id, subType, materialInfo);
}

void TrackEdit::fillWithBlack(double start, double end, const TimeRange& holes)
{
    if (track_.get_start_time() > start + kTimeEpsilon) {
        const Kt::Ptr<Cel> head(new Cel(0, frame()));
        head->appendEventPair(blackOf(track_), 0.0, track_.get_start_time() - start, start);
        become(*head->appendCel(track_.copy()));
    }
    if (track_.get_end_time() < end - kTimeEpsilon)
        track_.appendEventPair(blackOf(track_), 0.0, end - track_.get_end_time(), -1.0);
    track_.simplifyTidy({holes.from, holes.to});
}

Kt::Ptr<Cel> TrackEdit::materialAt(double start)
{
    laid_ = material_->at(start, frame());
    return laid_;
}

Kt::Ptr<Cel> TrackEdit::withTexts(const Kt::Ptr<Cel>& made)
{
    const SubtitleTrack track = SubtitleTrack::createFromCel(Kt::Ptr<Cel>(&track_));
    laid_ = track.valid() ? track.withSectionsOf(*made).getCel() : made;
    return laid_;
}

void TrackEdit::layOnLines()
{
    settleBlack(track_);
    const auto troubles = [](const Cel& track) {
        const std::vector<Finding> findings = audit(track);
        return std::count_if(findings.begin(), findings.end(),
                             [](const Finding& f) { return f.severity != Severity::note; });
    };
    const auto before = troubles(track_);
    if (before == 0)
        return;
    const Kt::Ptr<Cel> laid = track_.copy();
    if (troubles(*laid) < before)
        become(*laid);
}

void TrackEdit::mark(const TimeRange& before, const TimeRange& after)
{
    markBefore_ = before;
    markAfter_ = after;
}

// ---- sentences --------------------------------------------------------------------------------

std::string TrackEdit::at(double seconds) const
{
    const double onFrame = secondsOfFrames(nearestFrame(seconds, cut_.rate), cut_.rate);
    const bool between = std::fabs(onFrame - seconds) > kTimeEpsilon;
    return between ? describePosition(cut_, seconds) : recordTimecode(cut_, seconds);
}

std::string TrackEdit::from(const TimeRange& range) const
{
    return at(range.from) + " to " + at(range.to);
}

std::string TrackEdit::lasting(double seconds) const
{
    return describeLength(cut_.rate, seconds);
}

void TrackEdit::refuse(const std::string& why) const
{
    throw Failure(kUnwritable, name_ + ": " + why + "; nothing was changed");
}

void TrackEdit::reject(std::size_t argument, const std::string& why) const
{
    throw Failure(kUsage, argumentNames_[argument] + " " + printable(text(argument)) + " " + why);
}

} // namespace cel::tool

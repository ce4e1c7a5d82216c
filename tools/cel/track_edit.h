#pragma once

#include "interchange/cut_levels.h"
#include "subtitles/SubtitleTrack.h"
#include "tools/cel/envelope_edit.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/positions.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cel::tool {

/// What was typed behind the name of an operation.
struct EditTexts
{
    static constexpr std::size_t kMostArguments = 3;
    std::array<std::string, kMostArguments> arguments; ///< empty where left out
    std::vector<std::string> range;                    ///< --range: two positions
    std::vector<std::string> levels;                   ///< --level: one or two factors
    std::string black;                                 ///< --black: a length
};

/// Material that an operation lays on a track: a stretch of another track, named as the edited cut
/// names its material; or black.
struct MaterialStretch
{
    Kt::Ptr<Cel> track; ///< null for black
    Cel::Range range;   ///< on that track; for black from 0 to its length
    Cookie black;       ///< what black is on the edited track
    std::string text;   ///< "V2 of other.cel" or "black"
    AudLevelsCel levels = AudLevelsCel::createInvalid(); ///< the track's level envelope

    double length() const { return range.length(); }
    TimeRange stretch() const { return {range.start(), range.end()}; }

    /// A track of its own with nothing but the stretch, beginning at an edit time; events of
    /// another frame rate come to lie on the frames of `frame` seconds.
    Kt::Ptr<Cel> at(double start, double frame) const;
};

/// One track while an operation edits it in memory: the track, the arguments as times that are
/// checked against it, and the places that a picture points at.
class TrackEdit
{
public:
    /// @param cut  the edited cut; the track is its `index`th.
    /// @param argumentNames  those of the operation, for complaints.
    TrackEdit(const Cut& cut, std::size_t index, std::vector<std::string> argumentNames,
              const EditTexts& texts, std::optional<MaterialStretch> material);

    const Cut& cut() const { return cut_; }
    const std::string& name() const { return name_; }
    Cel& track() { return track_; }
    double start() const;
    double end() const;
    double frame() const { return track_.get_resolution(); }

    bool has(std::size_t argument) const { return !texts_.arguments[argument].empty(); }
    const std::string& text(std::size_t argument) const { return texts_.arguments[argument]; }

    /// The argument as one of these words, the first when it was left out.
    std::size_t choice(std::size_t argument, const std::vector<std::string>& words) const;

    /// The argument as a place within limits. @throws Failure `kUsage` with the limits.
    double place(std::size_t argument, double lowest, double highest) const;
    double placeOnTrack(std::size_t argument) const { return place(argument, start(), end()); }

    /// The argument as a length or a distance within limits.
    double length(std::size_t argument, double lowest, double highest) const;

    /// Two arguments as a stretch of the track that has a length.
    Cel::Range stretch(std::size_t first) const;

    /// --range as a stretch of the track, or what means the whole track.
    Cel::Range rangeOption() const;

    /// --level, both 1 without.
    std::array<double, 2> levels() const;

    /// What --from or --black gives.
    const MaterialStretch& material() const { return *material_; }

    /// That as a track of its own, beginning at an edit time, on the frames of the edited track.
    Kt::Ptr<Cel> materialAt(double start);

    /// A track that was made of sections of this one, with the texts of those: they go when the
    /// sections go.
    Kt::Ptr<Cel> withTexts(const Kt::Ptr<Cel>& made);

    /// The section that holds an argument's time: the handle of its in point.
    ce_handle sectionAt(std::size_t argument);

    /// For edits that take sections apart by pairs. @throws Failure `kUnwritable` for a track with
    /// level changes inside sections, or events that do not pair up.
    void requirePairs() const;

    /// Takes the events of another track over; the track stays the channel that it is.
    void become(const Cel& result);

    /// Puts black where the track should have something and has not: from `start` to it, from it
    /// to `end`, and into the holes that end in `holes`. Others are left as they are.
    void fillWithBlack(double start, double end, const TimeRange& holes);

    /// Lays every section on one line of strip time where an edit moved its ends onto frames and
    /// left their strip times behind. What plays is the same: the in point tells it.
    void layOnLines();

    /// The level envelope of the track, which the library leaves alone when the track is edited.
    EnvelopeEdit& envelope() { return envelope_; }

    /// The result is a track of its own, with its level envelope.
    void produce(const Kt::Ptr<Cel>& made, const AudLevelsCel& levels)
    {
        produced_ = made;
        producedLevels_ = levels;
    }
    const Kt::Ptr<Cel>& produced() const { return produced_; }
    const AudLevelsCel& producedLevels() const { return producedLevels_; }

    /// The result is two tracks of the cut; the edited one stays.
    void produceRolls(std::vector<Kt::Ptr<Cel>> rolls) { rolls_ = std::move(rolls); }
    const std::vector<Kt::Ptr<Cel>>& rolls() const { return rolls_; }

    /// Where the edit was, on the track as it was and as it is.
    void mark(const TimeRange& before, const TimeRange& after);
    const TimeRange& markBefore() const { return markBefore_; }
    const TimeRange& markAfter() const { return markAfter_; }

    /// Times in a sentence.
    std::string at(double seconds) const;
    std::string from(const TimeRange& range) const; ///< "10:00:10:00 to 10:00:12:12"
    std::string lasting(double seconds) const;

    /// The edit cannot be made on this track. @throws Failure `kUnwritable`.
    [[noreturn]] void refuse(const std::string& why) const;
    /// An argument does not fit. @throws Failure `kUsage`.
    [[noreturn]] void reject(std::size_t argument, const std::string& why) const;

private:
    /// Sections that came from the track or its material keep their texts.
    void becomeWithTexts(SubtitleTrack::SubtitleCel& subtitles, const Cel& result) const;

    const Cut& cut_;
    Cel& track_;
    std::string name_;
    std::vector<std::string> argumentNames_;
    const EditTexts& texts_;
    std::optional<MaterialStretch> material_;
    EnvelopeEdit envelope_;
    Kt::Ptr<Cel> laid_; ///< what `materialAt` or `withTexts` gave last
    Kt::Ptr<Cel> produced_;
    AudLevelsCel producedLevels_ = AudLevelsCel::createInvalid();
    std::vector<Kt::Ptr<Cel>> rolls_;
    TimeRange markBefore_;
    TimeRange markAfter_;
};

} // namespace cel::tool

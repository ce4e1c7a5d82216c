#pragma once

#include "interchange/Cut.h"

#include <optional>
#include <string>
#include <vector>

namespace cel::tool {

/// A stretch of a cut, in seconds from its start.
struct TimeRange
{
    double from = 0;
    double to = 0;
};

/// A section of a track as a person reads it in a list.
struct ListedSection
{
    int number = 0; ///< place among the track's sections, from 1
    int event = 0;  ///< index of its in point
    TimeRange record;
    TimeRange source;
    double speed = 1;
    double levelIn = 1; ///< position on the gain curve, 1 is unity
    double levelOut = 1;
    double fadeIn = 0; ///< seconds of its audio ramps
    double fadeOut = 0;
    bool black = false;
    const Material* material = nullptr; ///< null for black, effects and what the table lacks
    Cookie cookie;
    std::string text;  ///< of a subtitle, its lines joined by " | "
    std::string style; ///< of a subtitle

    /// What stands for it in a picture: the text of a subtitle, else the clip's name, else its
    /// reel, else the Cookie's text.
    std::string label() const;

    bool changesSpeed() const { return !black && speed != 1; }
};

/// The sections of a track, whatever it holds; events that belong to none are left out. Material is
/// looked up in `materials`, which must outlive the list.
std::vector<ListedSection> sectionsOf(const Cel& track, const MaterialTable& materials);

/// Whether a section shows in a stretch; one without length does at either end of it.
bool shows(const ListedSection& section, const TimeRange& stretch);

/// "V1", or "track 3" when it has no name; fit to be printed.
std::string nameOfTrack(const Cut& cut, std::size_t index);

/// "picture", "sound", "effects", "subtitles".
const char* describeKind(CookieType kind);

/// Timecode of a position in a cut; "--" for what is no time on a track.
std::string recordTimecode(const Cut& cut, double seconds);

/// Timecode of a time in the material, at the cut's rate.
std::string sourceTimecode(const Cut& cut, double seconds);

/// "25 frames a second", "29.97 frames a second, drop-frame".
std::string describeRate(FrameRate rate);

/// "200 %", "-100 %", "47.5 %": a speed as an editor says it.
std::string describeSpeed(double speed);

/// "00:19:27:10 (28,018 frames)": a length of a cut, which no start timecode shifts.
std::string describeDuration(const Cut& cut, double seconds);

} // namespace cel::tool

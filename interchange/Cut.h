#pragma once

#include "cel/Cel.h"
#include "interchange/CutObjects.h"
#include "interchange/MaterialTable.h"
#include "interchange/timecode.h"
#include "platform/support/StoreMark.h"

#include <string>
#include <string_view>
#include <vector>

namespace cel {

/// A whole cut: its tracks, what their material is called, its frame rate and where its timecode
/// starts. Positions on the tracks count from 0; the start timecode is added when they are shown.
///
/// A track's name (V1, A1, ...) is its channel name, its kind ("picture", "sound") the channel's
/// sub type.
struct Cut
{
    std::string title;
    FrameRate rate; ///< 25 frames a second unless set; those of its tracks are their own
    std::int64_t startFrame = 0;
    MaterialTable materials;
    std::vector<Kt::Ptr<Cel>> tracks;

    /// What belongs to the tracks, under the identity of their channel: their level envelopes (see
    /// `levelsOf`) and whatever else a store or a stream brought along.
    CutObjects objects;

    /// The store that the cut was read from or saved to last, and its state then.
    StoreMark stored;

    /// The track of that name; null when there is none.
    Kt::Ptr<Cel> track(std::string_view name) const;

    /// Adds an empty track of the cut's frame duration, named after its kind and a number: V1, V2,
    /// A1.
    /// @param number  from 1; 0 takes the first that no track has.
    Kt::Ptr<Cel> addTrack(CookieType kind, int number = 0);

    /// Timecode of a position in seconds, the cut's start included.
    std::string timecodeAt(double seconds) const;

    /// Seconds from the start to the end of the longest track; 0 for a cut without sections.
    double duration() const;
};

/// A track of its own with the same sections, and the same texts if it holds subtitles.
Kt::Ptr<Cel> copyOfTrack(const Cel& track);

/// What the gaps of a track are made of.
Cookie blackOf(const Cel& track);

/// Gives all black of a subtitle track the Cookie of such black: what fills holes and merges black
/// knows that of pictures and of sound alone.
void settleBlack(Cel& track);

/// Kind of a track, read from its sub type, else from its first event.
CookieType kindOf(const Cel& track);

} // namespace cel

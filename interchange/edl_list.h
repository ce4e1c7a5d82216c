#pragma once

#include "interchange/LossLedger.h"
#include "interchange/edl_lines.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// An edit list as it stands in its file, before its times mean anything.

namespace cel::edl {

/// A comment's text and the line it stands in.
struct Note
{
    std::string_view text;
    std::size_t line = 0;
};

/// An event line with what the lines after it say about it.
struct Event : EventLine
{
    std::size_t line = 0;
    std::uint32_t group = 0; ///< lines of one event number, counted through the list
    Note clip;               ///< FROM CLIP NAME; in a transition that is the outgoing clip
    Note toClip;
    Note sourceFile;
    bool saysFreeze = false;
    bool sourceDrops = false;                   ///< an FCM line says so of its source timecode
    std::optional<double> speedFramesPerSecond; ///< of an M2 line

    /// Frames, once the rate is known.
    std::int64_t sourceStart = 0;
    std::int64_t sourceEnd = 0;
    std::int64_t recordStart = 0;
    std::int64_t recordEnd = 0;
    bool plays = true; ///< false for what cannot be read and for the outgoing half of a transition

    bool isBlack() const;
    std::int64_t sourceFrames() const { return sourceEnd - sourceStart; }
    std::int64_t recordFrames() const { return recordEnd - recordStart; }
};

/// An M2 line and the event number it stands under.
struct Speed : SpeedLine
{
    std::size_t line = 0;
    std::uint32_t group = 0;
};

struct EditList
{
    std::string_view title;
    std::vector<Event> events;
    std::vector<Speed> speeds;
    std::optional<bool> listDrops; ///< the FCM line before the first event
    std::size_t listDropsLine = 0;
};

/// Reads all lines. Those that say nothing a cut can hold go to the ledger.
EditList readEditList(std::string_view text, LossLedger& losses);

/// The rate of a list and how that is known.
struct RateGuess
{
    FrameRate rate;
    std::string reason;
};

/// The likeliest rate of a list, which does not say it itself. Drop-frame counting exists at 29.97
/// and 59.94 alone. Else a second has more frames than the highest frame number; of the whole rates
/// that leaves, the one at which most events are as long in the source as in the record; of equal
/// ones the lowest.
RateGuess guessRate(const EditList& list);

/// Whether the record timecode of a list drops frame numbers: its marks say so, or the list's FCM.
bool recordDrops(const EditList& list);

} // namespace cel::edl

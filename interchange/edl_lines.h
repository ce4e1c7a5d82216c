#pragma once

#include "interchange/timecode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The lines of a CMX3600 edit list, each by itself. Texts are parts of the line that was read.

namespace cel::edl {

/// The tracks an event goes to, a bit each: bit 0 of `picture` is V1, of `sound` A1.
struct ChannelSet
{
    std::uint64_t picture = 0;
    std::uint64_t sound = 0;

    bool empty() const { return picture == 0 && sound == 0; }
    int count() const;
};

/// Tracks of each kind that a list can name.
inline constexpr int kMostChannels = 64;

/// Reads "V", "V2", "A", "A2", "AA", "B" (picture and first sound), "AA/V", "A1A2V1", "NONE" and
/// the like. Nothing when a part of it is none of these.
std::optional<ChannelSet> parseChannels(std::string_view text);

/// How an event comes in.
enum class Transition { cut, dissolve, wipe, key, keyBackground, keyOut };

/// "dissolve", "wipe" or "key"; "cut" for a cut.
const char* nameOf(Transition transition);

/// A piece of material put on the record tape: one event line.
struct EventLine
{
    std::string_view number;
    std::string_view reel;
    std::string_view edit; ///< as written, "W001" for a wipe
    ChannelSet channels;
    Transition transition = Transition::cut;
    int transitionFrames = 0;
    TimecodeFields sourceIn, sourceOut, recordIn, recordOut;
    std::string_view rest; ///< what follows the four timecodes
};

/// Reads an event line in fixed columns or any other spacing.
/// @return nothing, with the reason in `fault`, when it is none.
std::optional<EventLine> parseEventLine(std::string_view line, std::string& fault);

/// Speed of a reel from a source timecode on, in frames a second: an M2 line.
struct SpeedLine
{
    std::string_view reel;
    double framesPerSecond = 0.0;
    TimecodeFields sourceIn;
    std::string_view rest;
};
std::optional<SpeedLine> parseSpeedLine(std::string_view line);

} // namespace cel::edl

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cel {

/// Frames a second as an exact ratio, and whether its timecode drops frame numbers.
struct FrameRate
{
    int numerator = 25;
    int denominator = 1;
    bool dropFrame = false;

    constexpr double framesPerSecond() const { return double(numerator) / denominator; }

    /// Duration of a frame in seconds: the resolution of a track at this rate.
    constexpr double frameDuration() const { return double(denominator) / numerator; }

    /// Frames that a second of timecode counts: 30 for 29.97.
    constexpr int timecodeBase() const { return (numerator + denominator - 1) / denominator; }

    constexpr bool operator==(const FrameRate&) const = default;
};

/// Whether timecode at this rate can leave out frame numbers: it counts 30 or a multiple of it.
bool canDropFrames(const FrameRate& rate);

/// Whether a rate from outside can be worked with: 1 to 1000 frames a second, an exact ratio of
/// sensible size, dropping only where that is defined.
bool isUsable(const FrameRate& rate);

/// Reads "25", "23.976", "29.97", "29.97df", "30000/1001" and the like; decimals near a multiple of
/// 1000/1001 become that ratio. Nothing for other text and for rates outside 1 to 1000.
std::optional<FrameRate> parseFrameRate(std::string_view text);

/// The rate that a frame duration in seconds means: a whole one or a multiple of 1000/1001 where it
/// is that, else to 1/10000. Durations outside 1 ms to 1 s give the nearest of the two.
FrameRate rateOfFrameDuration(double seconds);

/// "25", "23.976", "29.97 drop": the rate as an editor says it. `parseFrameRate` reads it back.
std::string describe(const FrameRate& rate);

/// The numbers of a timecode as they are written, and the mark before the frames.
struct TimecodeFields
{
    std::int16_t hours = 0;   ///< 0 to 99
    std::int16_t minutes = 0; ///< 0 to 59
    std::int16_t seconds = 0; ///< 0 to 59
    std::int16_t frames = 0;  ///< 0 to 999; what a rate allows is checked with the rate
    char mark = ':';
};

/// Takes "hh:mm:ss:ff" apart; ';', '.' and ',' separate as well. Nothing for other text.
std::optional<TimecodeFields> splitTimecode(std::string_view text);

/// The frame count of a timecode in the numbering of `rate`, whatever its mark. Nothing for a frame
/// number that the rate does not have or that its numbering skips.
std::optional<std::int64_t> framesOf(const TimecodeFields& fields, const FrameRate& rate);

/// Reads "hh:mm:ss:ff" (another mark than ':' before the frames means drop-frame numbering,
/// whatever the rate says) as a number of frames. Nothing when a field is missing, not a number or
/// out of range, or names a frame number that drop-frame timecode skips.
std::optional<std::int64_t> framesFromTimecode(std::string_view text, const FrameRate& rate);

/// The inverse, with ';' before the frames for a drop-frame rate; negative counts get a '-'.
std::string timecodeFromFrames(std::int64_t frames, const FrameRate& rate);

/// Frames from midnight to midnight as timecode counts them: where it starts again at 0.
std::int64_t framesPerDay(const FrameRate& rate);

/// Seconds that so many frames last.
double secondsOfFrames(std::int64_t frames, const FrameRate& rate);

/// Reads a position: seconds ("12.48") or, with colons, a timecode, which counts from `startFrame`.
/// @return seconds from the start of the cut; nothing when the text is neither.
std::optional<double> parsePosition(std::string_view text, const FrameRate& rate,
                                    std::int64_t startFrame);

/// The nearest frame of a time in seconds; times that no 64-bit count holds are limited.
std::int64_t nearestFrame(double seconds, const FrameRate& rate);

} // namespace cel

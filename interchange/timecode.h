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

/// Reads "25", "23.976", "29.97", "29.97df", "30000/1001" and the like; decimals near a multiple of
/// 1000/1001 become that ratio. Nothing for other text and for rates outside 1 to 1000.
std::optional<FrameRate> parseFrameRate(std::string_view text);

/// "25", "23.976", "29.97 drop": the rate as an editor says it.
std::string describe(const FrameRate& rate);

/// Reads "hh:mm:ss:ff" (';' or '.' before the frames means drop-frame numbering, whatever the rate
/// says) as a number of frames. Nothing when a field is missing, not a number or out of range, or
/// names a frame number that drop-frame timecode skips.
std::optional<std::int64_t> framesFromTimecode(std::string_view text, const FrameRate& rate);

/// The inverse, with ';' before the frames for a drop-frame rate; negative counts get a '-'.
std::string timecodeFromFrames(std::int64_t frames, const FrameRate& rate);

/// Reads a position: seconds ("12.48") or, with colons, a timecode, which counts from `startFrame`.
/// @return seconds from the start of the cut; nothing when the text is neither.
std::optional<double> parsePosition(std::string_view text, const FrameRate& rate,
                                    std::int64_t startFrame);

/// The nearest frame of a time in seconds; times that no 64-bit count holds are limited.
std::int64_t nearestFrame(double seconds, const FrameRate& rate);

} // namespace cel

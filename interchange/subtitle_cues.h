#pragma once

#include "interchange/LossLedger.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Subtitles as their files hold them: a plain list of cues, before any track or frame.

namespace cel {

/// Where a cue stands on the picture: column, then row. The numbers are those of the placements of
/// subtitle styles.
enum class CuePlacement : int {
    leftTop = 1,
    leftMiddle = 2,
    leftBottom = 3,
    top = 4,
    centre = 5,
    bottom = 6,
    rightTop = 7,
    rightMiddle = 8,
    rightBottom = 9,
};

/// A grid place from its column and row, each 0 to 2, from the left and from the top.
constexpr CuePlacement placementAt(int column, int row)
{
    return static_cast<CuePlacement>(column * 3 + row + 1);
}
constexpr int columnOf(CuePlacement placement)
{
    return (static_cast<int>(placement) - 1) / 3;
}
constexpr int rowOf(CuePlacement placement)
{
    return (static_cast<int>(placement) - 1) % 3;
}

/// One subtitle of a file.
struct SubtitleCue
{
    double start = 0.0; ///< seconds, to a millisecond
    double end = 0.0;

    /// UTF-8, lines separated by '\n', none of them empty. Its look stands in it as tags: b, i, u
    /// and font with a colour, nested properly (see `CueTextBuilder`); any other '<' is itself.
    std::string text;

    CuePlacement placement = CuePlacement::bottom;
    std::string identifier; ///< counter or name of the cue; empty when the file gives none
    std::string settings;   ///< of WebVTT, as written
    std::size_t line = 0;   ///< of the times, from 1; 0 when it comes from no file
};

/// What stands between the cues of a WebVTT file: a NOTE, STYLE or REGION with all its lines.
struct SubtitleBlock
{
    std::size_t beforeCue = 0; ///< index of the cue that follows
    std::size_t line = 0;
    std::string text;
};

/// A subtitle file.
struct SubtitleCues
{
    std::string encoding; ///< "UTF-8", "UTF-16 LE", ...: how the file was written
    std::string header;   ///< what WebVTT has behind its name and before the first blank line
    std::vector<SubtitleCue> cues;
    std::vector<SubtitleBlock> blocks;
};

/// A subtitle file that was read, and what of it could not be.
struct SubtitleImport
{
    SubtitleCues file;
    LossLedger losses;
};

/// The text of a subtitle file, and what it cannot hold; lines are those of the cues' source.
struct SubtitleExport
{
    std::string text;
    LossLedger losses;
};

inline constexpr std::size_t kMostCues = 1'000'000;
inline constexpr std::size_t kLongestCueText = std::size_t(64) << 10;

/// Whether a text is a counter or nothing at all.
bool hasOnlyDigits(std::string_view text);

/// Takes a time "h:mm:ss,mmm" off the front of a text: any number of hours, or none ("mm:ss.mmm");
/// a comma or a point before the fraction, which may be missing.
/// @return milliseconds; nothing when no time stands there, its minutes or seconds exceed 59, or it
/// lies beyond a million hours. The text is then as it was.
std::optional<std::int64_t> takeCueTime(std::string_view& text);

/// "01:02:03,004" with `mark` before the milliseconds; more than two digits of hours where needed.
std::string cueTime(double seconds, char mark);

/// The two times of a line and what stands behind them.
struct CueTimes
{
    std::int64_t start = 0; ///< milliseconds
    std::int64_t end = 0;
    std::string_view rest;
};

/// Reads "00:00:01,000 --> 00:00:02,000 ..."; nothing when the line is no such line.
std::optional<CueTimes> parseCueTimes(std::string_view line);

/// A ledger that grows by so many entries of a kind and then only counts: a file may have the same
/// fault a million times.
class CountedLosses
{
public:
    static constexpr std::size_t kMostOfAKind = 1'000;

    void add(std::size_t line, const char* kind, std::string_view text);

    /// All entries, and one for each kind that had more.
    LossLedger finished() const;

private:
    LossLedger ledger_;
    std::map<std::string, std::size_t, std::less<>> counts_;
};

} // namespace cel

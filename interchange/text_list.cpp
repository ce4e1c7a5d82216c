#include "interchange/text_list.h"

#include "interchange/sections.h"
#include "interchange/text_lines.h"
#include "platform/support/TextFile.h"

#include <charconv>
#include <cmath>

namespace cel {

namespace {

constexpr std::string_view kBlockStart = "CEL_REVISION";
constexpr std::string_view kResolution = "FRAME_RESOLUTION";
constexpr std::string_view kBlockEnd = "END_CHANNEL";
constexpr std::size_t kHeaderLines = 2;
constexpr std::size_t kMostTracks = 1000;
constexpr double kShortestFrame = 2e-6;

/// Times in the file have six places.
constexpr double kWrittenTimeTolerance = 2e-6;

/// How the speed of an event that never got one is written.
constexpr float kWrittenUnsetVelocity = 221000.0F;

std::optional<double> numberOf(std::string_view word)
{
    double value = 0.0;
    const auto [end, fault] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (fault != std::errc() || end != word.data() + word.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::string shown(const LightweightString<char>& line)
{
    return quoted(asOneLine(line.view(), kLongestTextLine));
}

// ---- reading ----------------------------------------------------------------------------------

using Words = std::vector<std::string_view>;

LightweightString<char> joined(const Words& words, std::size_t count)
{
    std::string line;
    for (std::size_t i = 0; i < count; ++i)
        line += (i == 0 ? "" : " ") + std::string(words[i]);
    return line;
}

/// Reads the blocks of a file. What makes no whole section is reported and left out, so that what
/// is handed to the track is sound.
class ListReader
{
public:
    ListReader(TextFile& file, TextListImport& result)
        : file_(file)
        , result_(result)
        , lines_(std::min(file.numLines(), kMostTextLines))
    {
        if (lines_ < file.numLines())
            lose(lines_, "limit",
                 "more than " + std::to_string(kMostTextLines) + " lines; the rest is left out");
    }

    void read()
    {
        readBlocks();
        if (namesMaterial_)
            result_.losses.add(0, "material",
                               "a text edit list names its material by numbers alone; clip names, "
                               "reels and source files are not in it");
        result_.losses.append(losses_);
        result_.losses.sortByLine();
    }

private:
    void readBlocks()
    {
        std::size_t line = 0;
        while (line < lines_) {
            if (!startsBlock(line)) {
                if (!isBlank(line))
                    lose(line, "unknown", "a line of unknown meaning: " + shown(file_[line]));
                ++line;
            } else if (result_.cut.tracks.size() == kMostTracks) {
                lose(line, "limit",
                     "more than " + std::to_string(kMostTracks) + " tracks; the rest is left out");
                return;
            } else {
                line = readBlock(line);
            }
        }
    }

    bool startsBlock(std::size_t line) const { return file_[line].view().starts_with(kBlockStart); }
    bool isBlank(std::size_t line) const { return trimmed(file_[line].view()).empty(); }

    /// @return the line behind the block.
    std::size_t readBlock(std::size_t first)
    {
        const auto frame = frameDurationAt(first + 1);
        if (!frame) {
            lose(first + 1, "block",
                 "no frame resolution stands after " + shown(file_[first]) +
                     "; the block is left out");
            return first + (file_[first + 1].view().starts_with(kResolution) ? kHeaderLines : 1);
        }
        TextFile block;
        block.appendLine(file_[first]);
        block.appendLine(std::string(kResolution) + " " + std::string(resolutionText(first + 1)));
        end_ = 0.0;
        laid_ = 0.0;
        std::size_t line = first + kHeaderLines;
        while (line < lines_ && !startsBlock(line) && file_[line].view() != kBlockEnd)
            line += readPair(line, block);
        addTrack(first, *frame, block);
        return line < lines_ && !startsBlock(line) ? line + 1 : line;
    }

    std::string_view resolutionText(std::size_t line) const
    {
        return trimmed(file_[line].view().substr(kResolution.size()));
    }

    std::optional<double> frameDurationAt(std::size_t line) const
    {
        if (line >= lines_ || !file_[line].view().starts_with(kResolution))
            return std::nullopt;
        const auto frame = numberOf(resolutionText(line));
        return frame && *frame >= kShortestFrame && *frame <= 1.0 ? frame : std::nullopt;
    }

    /// Reads an in line and its out line, and hands both on if they make a section.
    /// @return the number of lines used: one that does not fit must not take the next with it.
    std::size_t readPair(std::size_t line, TextFile& block)
    {
        if (isBlank(line))
            return 1;
        if (file_[line].size() > kLongestTextLine) {
            lose(line, "limit",
                 "a line of " + std::to_string(file_[line].size()) + " bytes is left out");
            return 1;
        }
        const Words in = wordsOf(file_[line].view());
        if (!isEventLine(in, "in", 4)) {
            lose(line, "pair",
                 "this line begins no section and is left out: " + shown(file_[line]));
            return 1;
        }
        const bool hasOut = line + 1 < lines_ && file_[line + 1].size() <= kLongestTextLine;
        const Words out = hasOut ? wordsOf(file_[line + 1].view()) : Words();
        if (!isEventLine(out, "out", 3)) {
            lose(line, "pair",
                 "the section has no out line after it and is left out: " + shown(file_[line]));
            return 1;
        }
        addPair(line, in, out, block);
        return 2;
    }

    static bool isEventLine(const Words& words, std::string_view kind, std::size_t fewest)
    {
        return words.size() >= fewest && words[2] == kind;
    }

    void addPair(std::size_t line, const Words& in, const Words& out, TextFile& block)
    {
        const auto editIn = numberOf(in[0]);
        const auto editOut = numberOf(out[0]);
        const auto strip = numberOf(in[3]);
        const Cookie material(LightweightString<char>(in[1]), true);
        const char* const fault = material.type() == kInvalidCookie   ? "material"
                                  : !editIn || !isRealTime(*editIn)   ? "edit in"
                                  : !editOut || !isRealTime(*editOut) ? "edit out"
                                  : !strip || !isRealTime(*strip)     ? "strip time"
                                  : *editOut < *editIn                ? "length, which is negative,"
                                  : !isRealTime(laid_ + (*editOut - *editIn)) ? "length"
                                                                              : nullptr;
        if (fault) {
            lose(line, "pair",
                 std::string("the section's ") + fault +
                     " cannot be used, and it is left out: " + shown(file_[line]));
            return;
        }
        const double length = *editOut - *editIn;
        if (length <= kTimeEpsilon && !material.isBlack()) {
            lose(line, "empty", "the section has no length and is left out: " + shown(file_[line]));
            return;
        }
        notePlace(line, *editIn);
        end_ = *editOut;
        laid_ += length;
        block.appendLine(joined(in, usableInWords(line, in)));
        block.appendLine(joined(out, usableOutWords(line + 1, out, *strip, length)));
        namesMaterial_ = namesMaterial_ || !material.isBlack();
    }

    void notePlace(std::size_t line, double editIn)
    {
        if (editIn > end_ + kWrittenTimeTolerance)
            lose(line, "gap",
                 "a gap of " + secondsText(editIn - end_) + " before the section is closed");
        else if (editIn < end_ - kWrittenTimeTolerance)
            lose(line, "overlap",
                 "the section starts " + secondsText(end_ - editIn) +
                     " before the one in front of it ends and is put behind that");
    }

    static std::string secondsText(double seconds)
    {
        LightweightString<char> text;
        text += std::round(seconds * 1e6) / 1e6;
        return std::string(text.view()) + " s";
    }

    /// Words of an in line up to the last that can be used: four, or five with a level.
    std::size_t usableInWords(std::size_t line, const Words& in)
    {
        if (in.size() == 5 && isLevel(in[4]))
            return 5;
        if (in.size() > 4)
            lose(line, in.size() == 5 ? "level" : "unknown",
                 "words at the end are left out: " + shown(file_[line]));
        return 4;
    }

    /// Words of an out line: three, five with a level, or six with a speed.
    std::size_t usableOutWords(std::size_t line, const Words& out, double strip, double length)
    {
        if (out.size() == 5 && isLevel(out[4]))
            return 5;
        if (out.size() == 6) {
            const auto speed = numberOf(out[5]);
            if (speed && static_cast<float>(*speed) == kWrittenUnsetVelocity)
                return 3;
            constexpr double kFastest = 1e6;
            if (speed && std::fabs(*speed) <= kFastest && isRealTime(strip + *speed * length))
                return 6;
        }
        if (out.size() > 3)
            lose(line,
                 out.size() == 6   ? "speed"
                 : out.size() == 5 ? "level"
                                   : "unknown",
                 "words at the end are left out: " + shown(file_[line]));
        return 3;
    }

    static bool isLevel(std::string_view word)
    {
        constexpr double kLoudest = 1000.0;
        const auto level = numberOf(word);
        return level && *level >= 0.0 && *level <= kLoudest;
    }

    void addTrack(std::size_t first, double frame, TextFile& block)
    {
        Cut& cut = result_.cut;
        const FrameRate rate = rateOfFrameDuration(frame);
        if (cut.tracks.empty())
            cut.rate = rate;
        else if (rate != cut.rate)
            lose(first + 1, "rate",
                 "this track has " + describe(rate) + " frames a second, the cut " +
                     describe(cut.rate) + "; the times are right, its frames are not the cut's");

        const Words in = wordsOf(block[kHeaderLines].view());
        const Cookie material(LightweightString<char>(in.empty() ? std::string_view() : in[1]),
                              true);
        const Kt::Ptr<Cel> track = cut.addTrack(in.empty() ? kVideoCookie : material.type());
        track->buildFrom(block, 0);
        carrySpeeds(*track);
    }

    /// A list gives the speed of a section once; its out point has to run at it too, or the track
    /// would play at normal speed as soon as its events are admitted again.
    static void carrySpeeds(Cel& track)
    {
        for (int i = 0; i + 1 < track.numEvents(); i += 2) {
            const ChannelEvent& in = *track.getChanEventPtr(i);
            ChannelEvent& out = *track.getChanEventPtr(i + 1);
            out.velocity(in.velocity());
            out.strip_time(in.strip_time() +
                           double(in.velocity()) * (out.edit_time() - in.edit_time()));
        }
    }

    /// @param line  counted from 0, as the file does.
    void lose(std::size_t line, std::string_view kind, const std::string& text)
    {
        losses_.add(line + 1, kind, text);
    }

    TextFile& file_;
    TextListImport& result_;
    LossLedger losses_; ///< of single lines
    std::size_t lines_;
    double end_ = 0.0;  ///< edit out of the section before, as the list gives it
    double laid_ = 0.0; ///< length of the sections before
    bool namesMaterial_ = false;
};

} // namespace

std::optional<TextListImport> importTextList(TextFile& file, std::string& error)
{
    TextListImport result;
    ListReader(file, result).read();
    if (result.cut.tracks.empty()) {
        error = "no block of a text edit list begins in it";
        if (!result.losses.empty())
            error += "; line " + std::to_string(result.losses.entries().front().line) + ": " +
                     result.losses.entries().front().text;
        return std::nullopt;
    }
    return result;
}

} // namespace cel

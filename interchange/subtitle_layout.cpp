#include "interchange/subtitle_layout.h"

#include "interchange/text_lines.h"
#include "interchange/webvtt.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cel {

namespace {

class Layout
{
public:
    Layout(const FrameRate& rate, double shift)
        : rate_(rate)
        , shift_(shift)
    {
    }

    CueLayout lay(SubtitleCues file)
    {
        tellOfFile(file);
        result_.cues.reserve(file.cues.size());
        bool inOrder = true;
        for (SubtitleCue& cue : file.cues) {
            tellOfCue(cue);
            if (const auto laid = place(cue)) {
                const bool isLater =
                    result_.cues.empty() || result_.cues.back().start <= laid->start;
                if (!isLater)
                    lose(cue.line, "order", "starts before the one in front of it; it is moved");
                inOrder = inOrder && isLater;
                result_.cues.push_back(*laid);
                result_.cues.back().text = std::move(cue.text);
            }
        }
        if (!inOrder)
            std::stable_sort(result_.cues.begin(), result_.cues.end(),
                             [](const LaidCue& a, const LaidCue& b) { return a.start < b.start; });
        separate();
        if (offFrames_ > 0)
            lose(0, "frame",
                 "times that lie between frames at " + describe(rate_) +
                     " a second went to the nearest: " + std::to_string(offFrames_));
        result_.losses = losses_.finished();
        return std::move(result_);
    }

private:
    void tellOfFile(const SubtitleCues& file)
    {
        if (!trimmed(file.header).empty())
            lose(1, "header", "the header is left out: " + quoted(asOneLine(file.header, 200)));
        for (const SubtitleBlock& block : file.blocks)
            lose(block.line, "block", "left out: " + quoted(asOneLine(block.text, 200)));
    }

    void tellOfCue(const SubtitleCue& cue)
    {
        // A counter says nothing that the order does not say.
        if (!hasOnlyDigits(cue.identifier))
            lose(cue.line, "identifier", "the name " + quoted(cue.identifier) + " is left out");
        if (!saysNoMoreThan(cue.settings, cue.placement))
            lose(cue.line, "setting",
                 "of " + quoted(cue.settings) + " only the nearest of nine places is kept");
    }

    /// The cue on its frames; nothing when it cannot be shown. The text is not taken yet.
    std::optional<LaidCue> place(const SubtitleCue& cue)
    {
        if (cue.text.empty()) {
            lose(cue.line, "empty", "has no text and is left out");
            return std::nullopt;
        }
        if (!(cue.end > cue.start)) {
            lose(cue.line, "duration",
                 "ends before it starts and is left out: " + quoted(asOneLine(cue.text, 200)));
            return std::nullopt;
        }
        LaidCue laid;
        laid.start = frameOf(cue.start + shift_);
        laid.end = frameOf(cue.end + shift_);
        laid.placement = cue.placement;
        laid.line = cue.line;
        if (laid.end <= 0) {
            lose(cue.line, "before", "lies before the start of the track and is left out");
            return std::nullopt;
        }
        if (laid.start < 0)
            lose(cue.line, "before", "starts before the track and is cut off there");
        laid.start = std::max<std::int64_t>(laid.start, 0);
        if (laid.end <= laid.start) {
            laid.end = laid.start + 1;
            lose(cue.line, "short", "is shorter than a frame and got one");
        }
        return laid;
    }

    std::int64_t frameOf(double seconds)
    {
        const std::int64_t frame = nearestFrame(seconds, rate_);
        // A file rounds the time of a frame to milliseconds.
        constexpr double kRounding = 0.0005 + kSlack;
        offFrames_ += std::fabs(secondsOfFrames(frame, rate_) - seconds) > kRounding;
        return frame;
    }

    /// Settles what lies over each other, from the front on.
    void separate()
    {
        std::vector<LaidCue>& cues = result_.cues;
        std::size_t laid = 0;
        for (std::size_t i = 0; i < cues.size(); ++i) {
            LaidCue* const before = laid > 0 ? &cues[laid - 1] : nullptr;
            if (before && before->start == cues[i].start) {
                join(*before, cues[i]);
                continue;
            }
            if (before && before->end > cues[i].start)
                shorten(*before, cues[i]);
            if (laid != i)
                cues[laid] = std::move(cues[i]);
            ++laid;
        }
        cues.resize(laid);
    }

    void shorten(LaidCue& earlier, const LaidCue& later)
    {
        const std::int64_t shared = std::min(earlier.end, later.end) - later.start;
        const std::int64_t rest = earlier.end - later.start - shared;
        lose(earlier.line, "overlap",
             "is shown for " + timecodeFromFrames(shared, rate_) + " beside the one of line " +
                 std::to_string(later.line) + " and ends where that starts" +
                 (rest > 0 ? "; it is not shown again for the " + timecodeFromFrames(rest, rate_) +
                                 " behind that"
                           : ""));
        earlier.end = later.start;
    }

    void join(LaidCue& earlier, const LaidCue& later)
    {
        if (earlier.text.size() + later.text.size() > kLongestCueText) {
            lose(later.line, "limit", "is left out, for too much text starts at its time");
            return;
        }
        lose(later.line, "overlap",
             "starts with the one of line " + std::to_string(earlier.line) + " and became a part " +
                 "of it" + (earlier.placement != later.placement ? ", at its place" : ""));
        earlier.text.append("\n").append(later.text);
        earlier.end = std::max(earlier.end, later.end);
    }

    void lose(std::size_t line, const char* kind, const std::string& text)
    {
        losses_.add(line, kind, text);
    }

    static constexpr double kSlack = 1e-6;
    FrameRate rate_;
    double shift_;
    CueLayout result_;
    CountedLosses losses_;
    std::size_t offFrames_ = 0;
};

} // namespace

CueLayout layCues(SubtitleCues file, const FrameRate& rate, double shift)
{
    return Layout(rate, shift).lay(std::move(file));
}

} // namespace cel

#pragma once

#include "interchange/subtitle_tracks.h"
#include "subtitles/SubtitleTrack.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/json.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cel::tool {

/// What was typed behind `cel subtitles`.
struct SubtitleOptions
{
    std::string file;
    std::string track;
    std::string at;
    std::vector<std::string> words; ///< what is looked for, or the lines of the text
    std::string value;
    std::string size;
    std::string output;
    bool force = false;
    bool json = false;
};

/// The subtitle track that a command is about, in memory.
class SubtitleWork
{
public:
    /// @param options  live as long as this.
    /// @throws Failure `kUnreadable` for the file, `kUsage` when the track is none of subtitles.
    explicit SubtitleWork(const SubtitleOptions& options);

    SubtitleTrack& track() { return track_; }
    const std::vector<PlacedSubtitle>& subtitles() const { return subtitles_; }

    /// Index of the subtitle that "#12" or a time names. @throws Failure `kUsage` without one.
    std::size_t indexAt(const std::string& at) const;

    /// "  #12  10:00:14:05  10:00:17:00  Two lines | of text\n"
    std::string line(std::size_t index) const;
    Json json(std::size_t index) const;

    /// Replaces what a subtitle shows, or in which style.
    void set(std::size_t index, const std::vector<std::string>& lines, const std::string& style);

    /// Saves the cut. @return "Saved cut.cel.\n".
    /// @throws Failure `kUnwritable` rather than write over a damaged file, `kUsage` for a form
    /// that cannot hold the cut.
    std::string save();

    /// Prints what was done. @return the exit code.
    int answer(const std::string& text) const { return tool::answer(text, opened_, options_.file); }

private:
    std::size_t indexOfNumber(const std::string& at) const;

    const SubtitleOptions& options_;
    OpenedCut opened_;
    Kt::Ptr<Cel> cel_;
    std::string name_;
    SubtitleTrack track_ = SubtitleTrack::createInvalid();
    std::vector<PlacedSubtitle> subtitles_;
};

} // namespace cel::tool

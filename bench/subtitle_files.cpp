#include "bench/rows.h"
#include "interchange/Cut.h"
#include "interchange/subrip.h"
#include "interchange/subtitle_tracks.h"
#include "interchange/webvtt.h"

#include <cstring>
#include <memory>
#include <string>

namespace cel::bench {

namespace {

/// A file as a feature film has it: two lines a cue, of which some are in italics.
SubtitleCues longFile(std::size_t cues)
{
    constexpr const char* kTexts[] = {
        "Cast off forward,\nand mind the spring.",
        "<i>The tide will not wait for us,\nnor will the ice.</i>",
        "Forty-two crates, all told.",
        "He said that a knot is a promise\nto the tide that comes next.",
        "Was it always this cold?",
    };
    SubtitleCues file;
    for (std::size_t i = 0; i < cues; ++i) {
        SubtitleCue cue;
        cue.start = static_cast<double>(i) * 3.0;
        cue.end = cue.start + 2.5;
        cue.text = kTexts[i % std::size(kTexts)];
        file.cues.push_back(cue);
    }
    return file;
}

/// What no reader can do without: to find the end of every line.
std::size_t countLines(const std::string& text)
{
    std::size_t lines = 0;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end; ++lines) {
        const void* const found = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
        at = found ? static_cast<const char*>(found) + 1 : end;
    }
    return lines;
}

using Reader = std::optional<SubtitleImport> (*)(std::string_view, std::string&);
using Writer = SubtitleExport (*)(const SubtitleCues&);

struct Files
{
    SubtitleCues cues;
    std::string text;
    std::string copy;
    std::string error;
    std::size_t lines = 0;
};

template <Writer kWrite>
std::shared_ptr<Files> filesOf(std::size_t cues)
{
    const auto files = std::make_shared<Files>();
    files->cues = longFile(cues);
    files->text = kWrite(files->cues).text;
    return files;
}

template <Writer kWrite, Reader kRead>
Contest reading(std::size_t cues)
{
    const auto files = filesOf<kWrite>(cues);
    return {[files] { files->lines = kRead(files->text, files->error)->file.cues.size(); },
            [files] { files->lines = countLines(files->text); }};
}

/// From the bytes of a file to a track of a cut, as `cel import` does it.
template <Writer kWrite, Reader kRead>
Contest importing(std::size_t cues)
{
    const auto files = filesOf<kWrite>(cues);
    return {[files] {
                Cut cut;
                cut.rate = {25, 1, false};
                Cel& track = *cut.addTrack(kSubtitleCookie);
                laySubtitles(kRead(files->text, files->error)->file, cut.rate, track);
                files->lines = static_cast<std::size_t>(track.numEvents());
            },
            [files] { files->lines = countLines(files->text); }};
}

template <Writer kWrite>
Contest writing(std::size_t cues)
{
    const auto files = filesOf<kWrite>(cues);
    return {[files] { files->copy = kWrite(files->cues).text; },
            [files] { files->copy = std::string(files->text); }};
}

const std::vector<std::size_t> kCues = {1'000, 10'000, 100'000};

} // namespace

std::vector<Row> subtitleFileRows()
{
    return {
        {"read SubRip", kCues, reading<writeSubRip, readSubRip>},
        {"read WebVTT", kCues, reading<writeWebVtt, readWebVtt>},
        {"read SubRip onto a track", kCues, importing<writeSubRip, readSubRip>},
        {"write SubRip", kCues, writing<writeSubRip>},
        {"write WebVTT", kCues, writing<writeWebVtt>},
    };
}

} // namespace cel::bench

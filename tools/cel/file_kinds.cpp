#include "tools/cel/file_kinds.h"

#include "interchange/subtitle_text.h"
#include "platform/support/object_file.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace cel::tool {

namespace {

struct KindOfFile
{
    FileKind kind;
    std::string_view ending; ///< of its name
    const char* description;
};

constexpr KindOfFile kKinds[] = {
    {FileKind::stream, ".cel", "a track stream"}, {FileKind::store, ".celdb", "a store"},
    {FileKind::editList, ".edl", "an edit list"}, {FileKind::textList, ".txt", "a text edit list"},
    {FileKind::subRip, ".srt", "a SubRip file"},  {FileKind::webVtt, ".vtt", "a WebVTT file"},
};

bool hasBlockOfTextList(std::string_view text)
{
    constexpr std::string_view kFirstLine = "CEL_REVISION";
    const std::size_t at = text.find(kFirstLine);
    return at != std::string_view::npos &&
           (at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r' ||
            text[at - 1] == '\xBF'); // of a byte-order mark
}

/// The kind of a subtitle file, which says so in its first line or gives times in the first few.
std::optional<FileKind> kindOfSubtitles(std::string_view head)
{
    const DecodedText decoded = decodeSubtitles(head);
    if (decoded.text.starts_with("WEBVTT"))
        return FileKind::webVtt;
    DecodedLines lines(decoded.text);
    constexpr int kEnough = 20;
    for (int i = 0; i < kEnough; ++i) {
        const auto line = lines.next();
        if (line && parseCueTimes(*line))
            return FileKind::subRip;
    }
    return std::nullopt;
}

} // namespace

SubtitleForm formOf(FileKind kind)
{
    return kind == FileKind::webVtt ? SubtitleForm::webVtt : SubtitleForm::subRip;
}

bool isStore(std::string_view head)
{
    return isObjectFile(std::as_bytes(std::span(head)));
}

/// Subtitles are looked for first, since those in UTF-16 are full of zeros; otherwise a zero byte
/// is in every stream and in no text, and a text edit list names itself.
FileKind kindOfContent(std::string_view head, std::optional<FileKind> kindOfName)
{
    if (isStore(head) || kindOfName == FileKind::store)
        return FileKind::store;
    if (holdsSubtitles(kindOfName))
        return *kindOfName;
    if (const auto subtitles = kindOfSubtitles(head))
        return *subtitles;
    if (head.find('\0') != std::string_view::npos || kindOfName == FileKind::stream)
        return FileKind::stream;
    return hasBlockOfTextList(head) ? FileKind::textList : FileKind::editList;
}

const char* describe(FileKind kind)
{
    return std::find_if(std::begin(kKinds), std::end(kKinds),
                        [kind](const KindOfFile& known) { return known.kind == kind; })
        ->description;
}

bool holdsSubtitles(std::optional<FileKind> kind)
{
    return kind == FileKind::subRip || kind == FileKind::webVtt;
}

bool holdsEverything(std::optional<FileKind> kind)
{
    return kind == FileKind::stream || kind == FileKind::store;
}

std::optional<FileKind> kindOfName(const std::string& path)
{
    const auto endsIn = [&path](std::string_view ending) {
        return path.size() > ending.size() &&
               std::equal(ending.rbegin(), ending.rend(), path.rbegin(),
                          [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
    };
    for (const KindOfFile& known : kKinds)
        if (endsIn(known.ending))
            return known.kind;
    return std::nullopt;
}

} // namespace cel::tool

#include "tools/cel/cut_files.h"

#include "interchange/cut_levels.h"

#include "interchange/edl.h"
#include "interchange/subtitle_text.h"
#include "interchange/subtitle_tracks.h"
#include "interchange/text_list.h"
#include "platform/support/object_file.h"
#include "platform/support/utf8.h"
#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace cel::tool {

namespace {

constexpr std::size_t kHeadBytes = 4096; ///< enough to tell what a file is
constexpr std::size_t kLargestFile = std::size_t(2) << 30;

[[noreturn]] void failReading(const std::string& path, const std::string& why)
{
    throw Failure(kUnreadable, path + ": " + why);
}

bool isStore(std::string_view head)
{
    return isObjectFile(std::as_bytes(std::span(head)));
}

std::FILE* openForReading(const std::string& path)
{
#if defined(_WIN32)
    return _wfopen(toWide(path).c_str(), L"rb");
#else
    return std::fopen(path.c_str(), "rb");
#endif
}

/// The bytes of a file, which may be a pipe: each is read once only. Of a store only the first.
std::string readBytes(const std::string& path)
{
    std::error_code ignored; // what cannot be asked cannot be opened either
    if (std::filesystem::is_directory(utf8ToPath(path), ignored))
        failReading(path, "cannot be read: it is a folder");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(openForReading(path), &std::fclose);
    if (!file)
        failReading(path, std::string("cannot be opened: ") + std::strerror(errno));
    std::string bytes;
    constexpr std::size_t kChunk = std::size_t(1) << 16;
    for (std::size_t got = 1; got > 0 && bytes.size() <= kLargestFile && !isStore(bytes);) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kChunk);
        got = std::fread(bytes.data() + before, 1, kChunk, file.get());
        bytes.resize(before + got);
    }
    if (bytes.size() > kLargestFile)
        failReading(path, "larger than 2 GiB, which no cut is");
    if (std::ferror(file.get()))
        failReading(path, std::string("cannot be read: ") + std::strerror(errno));
    return bytes;
}

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

OpenedCut openStream(const std::string& path, std::string_view content)
{
    std::string error;
    std::optional<LoadedCut> loaded = readCut(std::as_bytes(std::span(content)), error);
    if (!loaded)
        failReading(path, error);
    return {FileKind::stream,
            std::move(loaded->cut),
            {},
            std::move(loaded->findings),
            "stored in the file"};
}

OpenedCut openStore(const std::string& path, StoreCheck check)
{
    std::string error;
    std::optional<LoadedCut> loaded = loadStoredCut(utf8ToPath(path), error, check);
    if (!loaded)
        throw Failure(kUnreadable, error);
    return {FileKind::store,
            std::move(loaded->cut),
            {},
            std::move(loaded->findings),
            "stored in the file"};
}

OpenedCut openEditList(const std::string& path, std::string_view text,
                       const std::optional<FrameRate>& rate)
{
    std::string error;
    if (text.size() > TextFile::kLargestBytes)
        failReading(path, "larger than 64 MiB, which no edit list is");
    std::optional<EdlImport> import = importEdl(text, rate, error);
    if (!import)
        failReading(path, error);
    return {FileKind::editList,
            std::move(import->cut),
            std::move(import->losses),
            {},
            import->rateGuessed ? "guessed: " + import->rateReason : "as given"};
}

SubtitleForm formOf(FileKind kind)
{
    return kind == FileKind::webVtt ? SubtitleForm::webVtt : SubtitleForm::subRip;
}

SubtitleImport readCues(const std::string& path, FileKind kind, std::string_view content)
{
    std::string error;
    std::optional<SubtitleImport> import = readSubtitles(formOf(kind), content, error);
    if (!import)
        failReading(path, error);
    return std::move(*import);
}

/// Subtitles as a cut of one track. Without a frame rate it counts milliseconds, as its file does:
/// then no time moves.
OpenedCut openSubtitleCut(const std::string& path, FileKind kind, std::string_view content,
                          const std::optional<FrameRate>& rate)
{
    SubtitleImport import = readCues(path, kind, content);
    OpenedCut opened;
    opened.kind = kind;
    opened.cut.rate = rate.value_or(FrameRate{1000, 1, false});
    opened.rateReason = rate ? "as given" : "milliseconds, as in the file";
    opened.losses = std::move(import.losses);
    const Kt::Ptr<Cel> track = opened.cut.addTrack(kSubtitleCookie);
    opened.losses.append(laySubtitles(std::move(import.file), opened.cut.rate, *track));
    return opened;
}

OpenedCut openTextList(const std::string& path)
{
    std::string error;
    if (!std::filesystem::is_regular_file(utf8ToPath(path)))
        failReading(path, "a text edit list cannot be read from a pipe");
    TextFile file(pathToWide(path), true);
    if (!file.loaded())
        failReading(path, file.error());
    std::optional<TextListImport> import = importTextList(file, error);
    if (!import)
        failReading(path, error);
    return {FileKind::textList,
            std::move(import->cut),
            std::move(import->losses),
            {},
            "from the list's FRAME_RESOLUTION"};
}

/// Whether tracks that are saved under that name go into a store.
bool belongsInStore(const std::string& path)
{
    if (kindOfName(path) == FileKind::store)
        return true;
    std::string head(kHeadBytes, '\0');
    std::ifstream file(utf8ToPath(path), std::ios::binary);
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    return isStore(std::string_view(head).substr(0, static_cast<std::size_t>(file.gcount())));
}

TextFile linesOf(std::string_view text)
{
    TextFile file;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        file.appendLine(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return file;
}

/// Neither list has a form for level envelopes; those at unity say nothing.
void addLevelLosses(const Cut& cut, LossLedger& losses)
{
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const AudLevelsCel levels = levelsOf(cut, *cut.tracks[i]);
        if (worstLevelError(levels.snapshot(), AudLevelsCel::Store()).decibels > 0.0)
            losses.add(0, "levels",
                       "the level envelope of " + nameOfTrack(cut, i) +
                           " has no form there; the track plays at unity");
    }
}

/// @throws Failure `kUsage` unless the cut has one subtitle track, which may stand beside others.
void writeSubtitleTrack(WrittenCut& written)
{
    const Cut& cut = *written.cut;
    Kt::Ptr<Cel> subtitles;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const bool isKind = kindOf(*cut.tracks[i]) == kSubtitleCookie;
        if (isKind && subtitles)
            throw Failure(kUsage, "the cut has several subtitle tracks; name the one to write");
        if (isKind)
            subtitles = cut.tracks[i];
        else
            written.losses.add(0, "track", nameOfTrack(cut, i) + " holds no subtitles");
    }
    if (!subtitles)
        throw Failure(kUsage, std::string("there is no subtitle track for ") +
                                  describe(written.kind) + " to hold");
    const SubtitleImport cues = cuesOf(*subtitles);
    const SubtitleExport file = writeSubtitles(formOf(written.kind), cues.file);
    written.text = linesOf(file.text);
    written.losses.append(cues.losses);
    written.losses.append(file.losses);
}

} // namespace

const char* describe(FileKind kind)
{
    switch (kind) {
    case FileKind::editList:
        return "an edit list";
    case FileKind::textList:
        return "a text edit list";
    case FileKind::store:
        return "a store";
    case FileKind::subRip:
        return "a SubRip file";
    case FileKind::webVtt:
        return "a WebVTT file";
    case FileKind::stream:
        break;
    }
    return "a track stream";
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
    if (endsIn(".cel"))
        return FileKind::stream;
    if (endsIn(".celdb"))
        return FileKind::store;
    if (endsIn(".edl"))
        return FileKind::editList;
    if (endsIn(".txt"))
        return FileKind::textList;
    if (endsIn(".srt"))
        return FileKind::subRip;
    if (endsIn(".vtt"))
        return FileKind::webVtt;
    return std::nullopt;
}

OpenedCut openCut(const std::string& path, const std::optional<FrameRate>& rate, StoreCheck check)
{
    const Progress progress("reading " + path);
    const std::string content = readBytes(path);
    const std::string_view head = std::string_view(content).substr(0, kHeadBytes);
    const FileKind kind = kindOfContent(head, kindOfName(path));
    if (kind == FileKind::editList)
        return openEditList(path, content, rate);
    if (holdsSubtitles(kind))
        return openSubtitleCut(path, kind, content, rate);
    if (rate)
        throw Failure(kUsage, path + ": --rate is for edit lists and subtitles; " + describe(kind) +
                                  " has a frame rate of its own");
    if (kind == FileKind::store)
        return openStore(path, check);
    return kind == FileKind::textList ? openTextList(path) : openStream(path, content);
}

OpenedSubtitles openSubtitles(const std::string& path)
{
    const Progress progress("reading " + path);
    const std::string content = readBytes(path);
    const FileKind kind =
        kindOfContent(std::string_view(content).substr(0, kHeadBytes), kindOfName(path));
    if (!holdsSubtitles(kind))
        failReading(path, std::string("is ") + describe(kind) + " and no subtitle file");
    return {kind, readCues(path, kind, content)};
}

OpenedCut openBeside(const OpenedCut& other, const std::string& path)
{
    OpenedCut opened = openCut(path);
    const bool isGuess = opened.kind == FileKind::editList || holdsSubtitles(opened.kind);
    if (isGuess && !(opened.cut.rate == other.cut.rate))
        opened = openCut(path, other.cut.rate);
    return opened;
}

WrittenCut writeAs(FileKind kind, const Cut& cut, std::optional<Kt::Ed2Support::TVStd> standard)
{
    WrittenCut written;
    written.kind = kind;
    written.cut = &cut;
    if (kind == FileKind::editList) {
        EdlExport list = exportEdl(cut);
        written.text = linesOf(list.text);
        written.losses = std::move(list.losses);
        addLevelLosses(cut, written.losses);
    } else if (kind == FileKind::textList) {
        written.losses = exportTextList(cut, written.text, standard).losses;
        addLevelLosses(cut, written.losses);
    } else if (holdsSubtitles(kind)) {
        writeSubtitleTrack(written);
    }
    return written;
}

void saveWritten(WrittenCut& written, const std::string& path, SaveGuard guard)
{
    const Progress progress("writing " + path);
    std::string error;
    if (written.kind == FileKind::store ||
        (written.kind == FileKind::stream && belongsInStore(path))) {
        if (!saveStoredCut(*written.cut, utf8ToPath(path), guard, error))
            throw Failure(kUnwritable, error);
    } else if (written.kind == FileKind::stream) {
        if (!saveCut(*written.cut, utf8ToPath(path), guard, error))
            throw Failure(kUnwritable, error);
    } else if (!written.text.save(pathToWide(utf8ToPath(path)), TextFile::kLineFeed)) {
        throw Failure(kUnwritable, path + ": " + written.text.error());
    }
}

LossLedger saveCutBack(const OpenedCut& opened, const Cut& cut, const std::string& openedPath,
                       const std::string& path, SaveGuard guard)
{
    const FileKind kind =
        samePath(path, openedPath) ? opened.kind : kindOfName(path).value_or(FileKind::stream);
    WrittenCut written = writeAs(kind, cut);
    saveWritten(written, path, guard);
    return std::move(written.losses);
}

bool samePath(const std::string& a, const std::string& b)
{
    std::error_code fault;
    return a == b || std::filesystem::equivalent(utf8ToPath(a), utf8ToPath(b), fault);
}

std::vector<std::size_t> chosenTracks(const Cut& cut, const std::vector<std::string>& names)
{
    std::vector<std::size_t> chosen;
    for (const std::string& name : names) {
        bool exists = false;
        std::string known;
        for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
            const std::string candidate = nameOfTrack(cut, i);
            known.append(i ? ", " : "").append(candidate);
            exists |= candidate == name;
            if (candidate == name && std::find(chosen.begin(), chosen.end(), i) == chosen.end())
                chosen.push_back(i);
        }
        if (exists)
            continue;
        throw Failure(kUsage,
                      std::string("no track is called ").append(name) + "; there are: " + known);
    }
    for (std::size_t i = 0; names.empty() && i < cut.tracks.size(); ++i)
        chosen.push_back(i);
    return chosen;
}

} // namespace cel::tool

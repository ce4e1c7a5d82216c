#include "tools/cel/cut_files.h"

#include "interchange/edl.h"
#include "interchange/subtitle_tracks.h"
#include "interchange/text_list.h"
#include "platform/support/utf8.h"
#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/losses.h"
#include "tools/cel/terminal.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace cel::tool {

namespace {

constexpr std::size_t kLargestFile = std::size_t(2) << 30;

[[noreturn]] void failReading(const std::string& path, const std::string& why)
{
    throw Failure(kUnreadable, path + ": " + why);
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
    // Text of no other kind is taken for a list; only its name says that it was to be one.
    if (!import && kindOfName(path) != FileKind::editList)
        throw Failure(kUnreadable, path + " holds nothing that cel reads: track streams (.cel), "
                                          "stores (.celdb), edit lists (.edl, .txt), subtitles "
                                          "(.srt, .vtt)");
    if (!import)
        failReading(path, error);
    return {FileKind::editList,
            std::move(import->cut),
            std::move(import->losses),
            {},
            import->rateGuessed ? "guessed: " + import->rateReason : "as given"};
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
    opened.losses.sortByLine();
    return opened;
}

OpenedCut openTextList(const std::string& path)
{
    std::string error;
    if (!std::filesystem::is_regular_file(utf8ToPath(path)))
        failReading(path, "a text edit list cannot be read from a pipe");
    TextFile file(pathToWide(path), true);
    if (!file.loaded())
        throw Failure(kUnreadable, file.error());
    std::optional<TextListImport> import = importTextList(file, error);
    if (!import)
        failReading(path, error);
    return {FileKind::textList,
            std::move(import->cut),
            std::move(import->losses),
            {},
            "from the list's FRAME_RESOLUTION"};
}

} // namespace

OpenedCut openCut(const std::string& path, const std::optional<FrameRate>& rate, StoreCheck check)
{
    const Progress progress("reading " + path);
    const std::string content = readBytes(path);
    const std::string_view head = std::string_view(content).substr(0, kHeadBytes);
    const FileKind kind = kindOfContent(head, kindOfName(path));
    if (holdsSubtitles(kind))
        return openSubtitleCut(path, kind, content, rate);
    if (content.empty())
        throw Failure(kUnreadable, path + " is empty");
    if (kind == FileKind::editList)
        return openEditList(path, content, rate);
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
    if (kind == FileKind::editList && kindOfName(path) != FileKind::editList)
        throw Failure(kUnreadable, path + " is no subtitle file (.srt, .vtt)");
    if (!holdsSubtitles(kind))
        throw Failure(kUnreadable, path + " is " + describe(kind) + " and no subtitle file");
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

void requireReadTracks(const OpenedCut& opened, const std::string& path)
{
    if (opened.cut.tracks.empty() && !opened.findings.empty())
        failReading(path, "the file is damaged, and none of its tracks can be read; cel check " +
                              path + " says where");
}

int answer(const std::string& text, const OpenedCut& opened, const std::string& path)
{
    std::fputs(text.c_str(), stdout);
    if (opened.findings.empty())
        return kFine;
    std::fputs(damageNotice(printable(path)).c_str(), stderr);
    return kFindings;
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
                      std::string("no track is called ").append(printable(name)) +
                          (known.empty() ? "; the cut has no tracks" : "; there are: " + known));
    }
    for (std::size_t i = 0; names.empty() && i < cut.tracks.size(); ++i)
        chosen.push_back(i);
    return chosen;
}

} // namespace cel::tool

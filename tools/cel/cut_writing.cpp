#include "tools/cel/cut_files.h"

#include "interchange/cut_levels.h"
#include "interchange/edl.h"
#include "interchange/subtitle_tracks.h"
#include "interchange/text_list.h"
#include "platform/support/utf8.h"
#include "tools/cel/commands.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace cel::tool {

namespace {

/// Whether tracks that are saved under that name go into a store.
bool belongsInStore(const std::string& path)
{
    if (kindOfName(path) == FileKind::store)
        return true;
    std::error_code fault; // a pipe would keep whoever opens it waiting
    if (!std::filesystem::is_regular_file(utf8ToPath(path), fault))
        return false;
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
    written.tracks = 1;
    const SubtitleExport file = writeSubtitles(formOf(written.kind), cues.file);
    written.text = linesOf(file.text);
    written.losses.append(cues.losses);
    written.losses.append(file.losses);
}

} // namespace

WrittenCut writeAs(FileKind kind, const Cut& cut, std::optional<Kt::Ed2Support::TVStd> standard)
{
    WrittenCut written;
    written.kind = kind;
    written.cut = &cut;
    written.tracks = cut.tracks.size();
    if (kind == FileKind::editList) {
        EdlExport list = exportEdl(cut);
        written.text = linesOf(list.text);
        written.losses = std::move(list.losses);
        written.tracks = list.tracks;
        addLevelLosses(cut, written.losses);
    } else if (kind == FileKind::textList) {
        written.losses = exportTextList(cut, written.text, standard).losses;
        addLevelLosses(cut, written.losses);
    } else if (holdsSubtitles(kind)) {
        writeSubtitleTrack(written);
    }
    if (written.tracks == 0 && !holdsEverything(kind))
        throw Failure(kUsage, std::string("the cut has no track that ") + describe(kind) +
                                  " could hold; nothing was written");
    return written;
}

void saveWritten(WrittenCut& written, const std::string& path, SaveGuard guard)
{
    const Progress progress("writing " + path);
    const std::filesystem::path folder = utf8ToPath(path).parent_path();
    std::error_code fault;
    if (!folder.empty() && !std::filesystem::is_directory(folder, fault))
        throw Failure(kUnwritable,
                      path + " was not saved: there is no folder " + pathToUtf8(folder));
    std::string error;
    if (written.kind == FileKind::store ||
        (written.kind == FileKind::stream && belongsInStore(path))) {
        if (!saveStoredCut(*written.cut, utf8ToPath(path), guard, error))
            throw Failure(kUnwritable, error);
    } else if (written.kind == FileKind::stream) {
        if (!saveCut(*written.cut, utf8ToPath(path), guard, error))
            throw Failure(kUnwritable, error);
    } else if (!written.text.save(pathToWide(utf8ToPath(path)), TextFile::kLineFeed)) {
        throw Failure(kUnwritable, written.text.error());
    }
}

LossLedger saveCutBack(const OpenedCut& opened, const Cut& cut, const std::string& openedPath,
                       const std::string& path, SaveGuard guard)
{
    const bool inPlace = samePath(path, openedPath);
    if (inPlace && !opened.findings.empty())
        throw Failure(kUnwritable, path + kStaysDamaged);
    std::error_code fault;
    if (inPlace && !std::filesystem::is_regular_file(utf8ToPath(path), fault))
        throw Failure(kUsage, path + " is no file that could be saved in place, such as a pipe; "
                                     "name the result with -o");
    const FileKind kind = inPlace ? opened.kind : kindOfName(path).value_or(FileKind::stream);
    WrittenCut written = writeAs(kind, cut);
    saveWritten(written, path, guard);
    return std::move(written.losses);
}

std::string saveChanges(const OpenedCut& opened, const std::string& openedPath,
                        const std::string& output, SaveGuard guard)
{
    const std::string& path = output.empty() ? openedPath : output;
    if (!holdsEverything(samePath(path, openedPath) ? opened.kind : kindOfName(path)))
        throw Failure(kUsage, path + kWrongResult);
    saveCutBack(opened, opened.cut, openedPath, path, guard);
    return "Saved " + printable(path) + ".\n";
}

} // namespace cel::tool

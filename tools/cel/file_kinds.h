#pragma once

#include "interchange/subtitle_tracks.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// What kinds of files hold a cut, and how they are told apart.
namespace cel::tool {

/// The kinds of files that hold a cut.
enum class FileKind { stream, store, editList, textList, subRip, webVtt };

/// "a track stream", "a store", "an edit list", "a text edit list", "a SubRip file", ...
const char* describe(FileKind kind);

/// The kind that a file name ends in: ".cel", ".celdb", ".edl", ".txt", ".srt" or ".vtt".
std::optional<FileKind> kindOfName(const std::string& path);

/// Whether files of that kind hold subtitles alone.
bool holdsSubtitles(std::optional<FileKind> kind);

/// Whether files of that kind hold all that a cut's tracks are: streams and stores do.
bool holdsEverything(std::optional<FileKind> kind);

/// The form of a file that holds subtitles.
SubtitleForm formOf(FileKind kind);

/// How much of the beginning of a file is enough to tell what it is.
inline constexpr std::size_t kHeadBytes = 4096;

/// Whether a file that begins so is a store.
bool isStore(std::string_view head);

/// The kind of a file by its beginning, and by its name where that is not enough.
FileKind kindOfContent(std::string_view head, std::optional<FileKind> kindOfName);

} // namespace cel::tool

#pragma once

#include "interchange/cel_stream.h"

#include <filesystem>
#include <optional>
#include <string>

/// Store files (`.celdb`) that hold a whole cut, with all that belongs to its tracks.

namespace cel {

/// How closely a store is looked at while it is read.
enum class StoreCheck {
    rows,      ///< each row against its checksum
    structure, ///< also every page and index of the file: one more pass over all of it
};

/// Reads a store. What is damaged is named in the findings and the rest is read; objects of classes
/// that are not known here come along as they are. Nothing, with `error` set, when the file cannot
/// be opened, is no store, is of a later version, or holds no cut.
std::optional<LoadedCut> loadStoredCut(const std::filesystem::path& path, std::string& error,
                                       StoreCheck check = StoreCheck::rows);

/// Saves a cut to a store, a new one where there is none, in one transaction: audit, then all that
/// has changed, or nothing. On a failure the file is as it was, every track is dirty again, and
/// `error` says what failed and why.
///
/// A store that somebody else saved to since the cut was read from it is refused, and what could
/// not be read of it stays in it. A store that the cut does not come from is overwritten.
/// @param saved  receives the mark of what was saved; who goes on with the cut keeps it in
/// `cut.stored`.
/// @return whether the cut is on the disk.
bool saveStoredCut(const Cut& cut, const std::filesystem::path& path, SaveGuard guard,
                   std::string& error, StoreMark* saved = nullptr);

} // namespace cel

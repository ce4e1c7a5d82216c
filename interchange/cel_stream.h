#pragma once

#include "interchange/Cut.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cel {

/// What a reader found out about a file while reading it, in the order of the file.
struct LoadFinding
{
    std::optional<std::size_t> offset; ///< byte of a stream
    std::string where; ///< the layer, and the track if it is one's: "track V1 (layer C)"
    std::string text;  ///< what is wrong
};

/// A cut that was read, and what was wrong with its file. Everything that could be read is in the
/// cut, also behind a damaged layer.
struct LoadedCut
{
    Cut cut;
    std::vector<LoadFinding> findings;
};

/// Reads a `.cel` stream. Nothing, with `error` set, when it cannot be opened, is no stream of this
/// kind, is of a newer version, or holds nothing that can be read.
std::optional<LoadedCut> loadCut(const std::filesystem::path& path, std::string& error);

/// The same from bytes in memory; `error` then names no file.
std::optional<LoadedCut> readCut(std::span<const std::byte> bytes, std::string& error);

/// The stream of a cut, in memory.
std::vector<std::byte> writeCut(const Cut& cut);

/// How a save treats tracks that the stored form would damage.
enum class SaveGuard {
    refuse, ///< name the track and why; nothing is written
    force,  ///< write what the form can hold
};

/// Saves a cut safely: audit, file aside, flush, read back, replace. On a failure the old file is
/// as it was, every track counts as changed, and `error` says what failed and why.
/// @return whether the cut is on the disk.
bool saveCut(const Cut& cut, const std::filesystem::path& path, SaveGuard guard,
             std::string& error);

} // namespace cel

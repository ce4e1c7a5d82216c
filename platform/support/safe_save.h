#pragma once

#include "platform/export.h"
#include "platform/support/FileOperations.h"
#include "platform/support/StreamFile.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>

/// The one way in which files are written and read.

namespace cel {

/// How a save ended.
struct SaveResult
{
    /// The bytes lie under the name and would survive a power failure.
    bool saved = false;

    /// What failed, on which path and why, and what became of the old file; empty when saved.
    std::string error;
    std::error_code cause;

    explicit operator bool() const { return saved; }
};

/// Puts `bytes` into the file at `path`, all of them or none: they are written to a temporary file
/// in the same folder, synchronised, read back and compared, and only then take the place of the
/// file in one step. Whatever fails and whenever the process or the power ends, the file holds the
/// old content or the new, whole; after a failure it is the old, byte for byte, except where the
/// error text says that the new one is in place but may not survive a power failure.
///
/// A symbolic link is followed, its target replaced. The file keeps its permissions and, where that
/// is allowed, its owner and group; hard links and extended attributes stay with the old content.
/// What is no ordinary file, or is protected against writing, is refused. The temporary file is
/// removed after a failure; where that fails too, the error names it.
///
/// Costs one pass to write, one to synchronise and one to read; holds at most 256 KiB.
CEL_PLATFORM_API SaveResult saveFile(const std::filesystem::path& path,
                                     std::span<const std::byte> bytes,
                                     FileOperations& files = systemFiles());

/// What was read from a file.
struct ReadResult
{
    bool complete = false;
    StreamFile file; ///< the whole content; empty when not complete

    /// Which path could not be read and why; empty when complete.
    std::string error;
    std::error_code cause;

    explicit operator bool() const { return complete; }
};

/// Reads the whole file at `path`. One that is larger than `mostBytes` is refused before a byte of
/// it is read, and so is everything that is no ordinary file.
CEL_PLATFORM_API ReadResult readFile(const std::filesystem::path& path, std::size_t mostBytes,
                                     FileOperations& files = systemFiles());

} // namespace cel

#pragma once

#include "platform/export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

namespace cel {

/// The calls of the operating system by which files are read and saved, one function each, so that
/// a test can let any of them fail or watch what they leave on the disk.
///
/// Each answers with an empty error code when it did what it says. None follows a link unless it
/// says so. None tries again after a failure, except that `replace` may wait a moment for another
/// program to let go of the file.
class CEL_PLATFORM_API FileOperations
{
public:
    using Path = std::filesystem::path;
    using Error = std::error_code;

    /// An open file or folder.
    using File = std::intptr_t;
    static constexpr File kNoFile = -1;

    enum class Kind { nothing, file, link, other };

    /// What lies under a name, and who may do what with it.
    struct Status
    {
        Kind kind = Kind::nothing;
        bool writable = false; ///< by this process
        std::uint64_t sizeBytes = 0;
        unsigned permissions = 0; ///< read, write and execute bits
        unsigned owner = 0;
        unsigned group = 0;
    };

    virtual ~FileOperations() = default;

    /// That nothing lies under the name is an answer, not an error.
    virtual Error status(const Path& path, Status& status) = 0;
    virtual Error readLink(const Path& link, Path& target) = 0;

    /// Opens a file for reading, following links, and tells what it is. Does not wait for the
    /// other end of a pipe.
    virtual Error open(const Path& path, File& file, Status& status) = 0;

    /// Opens a folder, to be synchronised later.
    virtual Error openFolder(const Path& path, File& folder) = 0;

    /// Makes a new file, for writing and reading; fails when there is anything under the name.
    /// @param hidden  whether nobody but its owner may open it.
    virtual Error create(const Path& path, bool hidden, File& file) = 0;

    /// Gives a file the permissions, and where allowed the owner and group, of another. Never lets
    /// anybody in who could not open the other.
    virtual Error copyPermissions(File file, const Status& other) = 0;

    /// Appends some or all of `bytes`. @param count  how many, at least one.
    virtual Error write(File file, std::span<const std::byte> bytes, std::size_t& count) = 0;

    /// Reads from `offset`. @param count  how many bytes; 0 at the end of the file.
    virtual Error read(File file, std::uint64_t offset, std::span<std::byte> target,
                       std::size_t& count) = 0;

    /// Returns when everything written to the file, or the names in the folder, would survive a
    /// power failure.
    virtual Error sync(File file) = 0;
    virtual Error close(File file) = 0;

    /// Gives `file` the name of `target`, which may exist and is then replaced at once.
    /// @param backup      a free name that the system may use while it does so.
    /// @param movedAside  whether, after a failure, what was `target` is now called `backup`.
    virtual Error replace(const Path& file, const Path& target, const Path& backup,
                          bool& movedAside) = 0;
    virtual Error rename(const Path& from, const Path& to) = 0;
    virtual Error remove(const Path& path) = 0;
};

/// The operations of this system; no state, usable from any thread.
CEL_PLATFORM_API FileOperations& systemFiles();

} // namespace cel

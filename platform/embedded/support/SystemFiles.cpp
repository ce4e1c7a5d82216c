#include "platform/support/FileOperations.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cel {

namespace {

constexpr std::size_t kMostAtOnce = std::size_t(1) << 30; ///< systems cut longer calls short

std::error_code lastError()
{
    return {errno, std::system_category()};
}

std::error_code outcome(int result)
{
    return result == 0 ? std::error_code() : lastError();
}

/// Makes a call again for as long as a signal interrupts it before it did anything.
template <class Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

FileOperations::Status described(const struct stat& from)
{
    using Kind = FileOperations::Kind;
    FileOperations::Status status;
    status.kind = S_ISREG(from.st_mode)   ? Kind::file
                  : S_ISLNK(from.st_mode) ? Kind::link
                                          : Kind::other;
    status.sizeBytes = static_cast<std::uint64_t>(from.st_size);
    status.permissions = from.st_mode & 0777;
    status.owner = from.st_uid;
    status.group = from.st_gid;
    return status;
}

class SystemFiles final : public FileOperations
{
public:
    Error status(const Path& path, Status& status) override
    {
        struct stat found
        {
        };
        status = {};
        if (lstat(path.c_str(), &found) != 0)
            return errno == ENOENT ? Error() : lastError();
        status = described(found);
        status.writable = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
        return {};
    }

    Error readLink(const Path& link, Path& target) override
    {
        Error error;
        target = std::filesystem::read_symlink(link, error);
        return error;
    }

    Error open(const Path& path, File& file, Status& status) override
    {
        struct stat found
        {
        };
        if (const Error error = opened(path, O_RDONLY | O_NONBLOCK, file))
            return error;
        if (fstat(descriptor(file), &found) != 0)
            return lastError();
        status = described(found);
        return {};
    }

    Error openFolder(const Path& path, File& folder) override
    {
        return opened(path, O_RDONLY | O_DIRECTORY, folder);
    }

    Error create(const Path& path, bool hidden, File& file) override
    {
        return opened(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, file, hidden ? 0600 : 0666);
    }

    Error copyPermissions(File file, const Status& other) override
    {
        constexpr auto kKeepOwner = static_cast<uid_t>(-1);
        unsigned permissions = other.permissions;
        const bool groupKept = fchown(descriptor(file), other.owner, other.group) == 0 ||
                               fchown(descriptor(file), kKeepOwner, other.group) == 0;
        if (!groupKept)
            permissions = (permissions & 0707) | (permissions & 07) << 3;
        return outcome(fchmod(descriptor(file), permissions));
    }

    Error write(File file, std::span<const std::byte> bytes, std::size_t& count) override
    {
        const std::size_t most = std::min(bytes.size(), kMostAtOnce);
        const auto written =
            uninterrupted([&] { return ::write(descriptor(file), bytes.data(), most); });
        count = written > 0 ? static_cast<std::size_t>(written) : 0;
        if (written == 0)
            return std::make_error_code(std::errc::io_error);
        return written < 0 ? lastError() : Error();
    }

    Error read(File file, std::uint64_t offset, std::span<std::byte> target,
               std::size_t& count) override
    {
        const std::size_t most = std::min(target.size(), kMostAtOnce);
        const auto got = uninterrupted([&] {
            return pread(descriptor(file), target.data(), most, static_cast<off_t>(offset));
        });
        count = got > 0 ? static_cast<std::size_t>(got) : 0;
        return got < 0 ? lastError() : Error();
    }

    Error sync(File file) override
    {
#if defined(F_FULLFSYNC)
        // There, fsync leaves the data in the drive's cache.
        if (fcntl(descriptor(file), F_FULLFSYNC) == 0)
            return {};
#endif
        // Some network file systems cannot synchronise a folder, and say so; there is no more to
        // do.
        if (fsync(descriptor(file)) == 0 || errno == EINVAL)
            return {};
        return lastError();
    }

    Error close(File file) override
    {
        // After an interruption the descriptor is gone all the same.
        return ::close(descriptor(file)) == 0 || errno == EINTR ? Error() : lastError();
    }

    Error replace(const Path& file, const Path& target, const Path&, bool& movedAside) override
    {
        movedAside = false;
        return rename(file, target);
    }

    Error rename(const Path& from, const Path& to) override
    {
        return outcome(std::rename(from.c_str(), to.c_str()));
    }

    Error remove(const Path& path) override
    {
        return outcome(unlink(path.c_str()));
    }

private:
    static int descriptor(File file)
    {
        return static_cast<int>(file);
    }

    static Error opened(const Path& path, int flags, File& file, mode_t mode = 0)
    {
        file = uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); });
        return file < 0 ? lastError() : Error();
    }
};

} // namespace

FileOperations& systemFiles()
{
    static SystemFiles files;
    return files;
}

} // namespace cel

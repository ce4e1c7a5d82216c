#include "platform/support/FileOperations.h"

#include <algorithm>
#include <string>

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

namespace cel {

namespace {

constexpr std::size_t kMostAtOnce = std::size_t(1) << 30;

/// Stands for every open folder: Windows writes names through by itself, so there is none to open.
constexpr FileOperations::File kFolder = -2;

std::error_code lastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code outcome(BOOL done)
{
    return done ? std::error_code() : lastError();
}

HANDLE handle(FileOperations::File file)
{
    return reinterpret_cast<HANDLE>(file);
}

std::error_code opened(HANDLE result, FileOperations::File& file)
{
    file = reinterpret_cast<FileOperations::File>(result);
    return outcome(result != INVALID_HANDLE_VALUE);
}

HANDLE openExisting(const FileOperations::Path& path, DWORD access)
{
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

/// Whether a name is a symbolic link or a junction. Other files that carry the same attribute, such
/// as those that a synchronising client keeps in the cloud, are files.
bool isLink(const FileOperations::Path& path)
{
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return false;
    FindClose(search);
    return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK ||
            found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
}

FileOperations::Status described(DWORD attributes, DWORD sizeHigh, DWORD sizeLow)
{
    using Kind = FileOperations::Kind;
    FileOperations::Status status;
    status.kind = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? Kind::other : Kind::file;
    status.writable = (attributes & FILE_ATTRIBUTE_READONLY) == 0;
    status.sizeBytes = std::uint64_t(sizeHigh) << 32 | sizeLow;
    return status;
}

/// Whether another program (a virus scanner, a synchronising client) holds a file for a moment.
bool mayPass(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_UNABLE_TO_REMOVE_REPLACED;
}

/// Makes a call until it succeeds or its failure is no passing one: at most for a second.
template <class Call>
bool patiently(Call call)
{
    for (DWORD wait = 1;; wait *= 2) {
        if (call())
            return true;
        const DWORD error = GetLastError();
        if (!mayPass(error) || wait > 512) {
            SetLastError(error);
            return false;
        }
        Sleep(wait);
    }
}

class SystemFiles final : public FileOperations
{
public:
    Error status(const Path& path, Status& status) override
    {
        WIN32_FILE_ATTRIBUTE_DATA found{};
        status = {};
        if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &found)) {
            const DWORD error = GetLastError();
            const bool absent = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
            return absent ? Error() : lastError();
        }
        status = described(found.dwFileAttributes, found.nFileSizeHigh, found.nFileSizeLow);
        if (isLink(path))
            status.kind = Kind::link;
        return {};
    }

    Error readLink(const Path& link, Path& target) override
    {
        // All links at once, whatever kind of link they are.
        File file = kNoFile;
        if (const Error error = opened(openExisting(link, 0), file))
            return error;
        std::wstring name(32768, L'\0');
        const DWORD length = GetFinalPathNameByHandleW(
            handle(file), name.data(), static_cast<DWORD>(name.size()), FILE_NAME_NORMALIZED);
        const Error error = outcome(length != 0 && length < name.size());
        CloseHandle(handle(file));
        name.resize(error ? 0 : length);
        target = name;
        return error;
    }

    Error open(const Path& path, File& file, Status& status) override
    {
        if (const Error error = opened(openExisting(path, GENERIC_READ), file))
            return error;
        BY_HANDLE_FILE_INFORMATION found{};
        if (GetFileType(handle(file)) != FILE_TYPE_DISK) {
            status.kind = Kind::other;
            return {};
        }
        if (!GetFileInformationByHandle(handle(file), &found))
            return lastError();
        status = described(found.dwFileAttributes, found.nFileSizeHigh, found.nFileSizeLow);
        return {};
    }

    Error openFolder(const Path& path, File& folder) override
    {
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            return lastError();
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            return std::make_error_code(std::errc::not_a_directory);
        folder = kFolder;
        return {};
    }

    Error create(const Path& path, bool, File& file) override
    {
        return opened(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr),
                      file);
    }

    /// Nothing to do: replacing a file keeps its access rights and attributes.
    Error copyPermissions(File, const Status&) override { return {}; }

    Error write(File file, std::span<const std::byte> bytes, std::size_t& count) override
    {
        DWORD written = 0;
        const auto most = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
        const Error error = outcome(WriteFile(handle(file), bytes.data(), most, &written, nullptr));
        count = written;
        return error || written != 0 ? error : std::make_error_code(std::errc::io_error);
    }

    Error read(File file, std::uint64_t offset, std::span<std::byte> target,
               std::size_t& count) override
    {
        DWORD got = 0;
        OVERLAPPED from{};
        from.Offset = static_cast<DWORD>(offset);
        from.OffsetHigh = static_cast<DWORD>(offset >> 32);
        const auto most = static_cast<DWORD>(std::min(target.size(), kMostAtOnce));
        const bool done = ReadFile(handle(file), target.data(), most, &got, &from) ||
                          GetLastError() == ERROR_HANDLE_EOF;
        count = got;
        return outcome(done);
    }

    Error sync(File file) override
    {
        return file == kFolder ? Error() : outcome(FlushFileBuffers(handle(file)));
    }

    Error close(File file) override
    {
        return file == kFolder ? Error() : outcome(CloseHandle(handle(file)));
    }

    Error replace(const Path& file, const Path& target, const Path& backup,
                  bool& movedAside) override
    {
        movedAside = false;
        if (GetFileAttributesW(target.c_str()) == INVALID_FILE_ATTRIBUTES)
            return rename(file, target);
        // Without the name of a backup, one kind of failure leaves no file at all.
        if (!patiently([&] {
                return ReplaceFileW(target.c_str(), file.c_str(), backup.c_str(),
                                    REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) != 0;
            })) {
            const Error error = lastError();
            movedAside = error.value() == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2;
            return error;
        }
        DeleteFileW(backup.c_str());
        flush(target);
        return {};
    }

    Error rename(const Path& from, const Path& to) override
    {
        return outcome(patiently(
            [&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0; }));
    }

    Error remove(const Path& path) override { return outcome(DeleteFileW(path.c_str())); }

private:
    /// Writes a file's name through to the disk, which replacing it does not. Where another program
    /// holds the file by now there is no more to do: it is in place all the same.
    static void flush(const Path& path)
    {
        const HANDLE file = openExisting(path, GENERIC_WRITE);
        if (file == INVALID_HANDLE_VALUE)
            return;
        FlushFileBuffers(file);
        CloseHandle(file);
    }
};

} // namespace

FileOperations& systemFiles()
{
    static SystemFiles files;
    return files;
}

} // namespace cel

#include "platform/support/safe_save.h"

#include "platform/support/IdStamp.h"
#include "platform/support/utf8.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace cel {

namespace {

using Path = FileOperations::Path;
using Error = FileOperations::Error;
using Kind = FileOperations::Kind;

constexpr int kMostLinks = 40;
constexpr std::size_t kCompareBytes = std::size_t(256) << 10; ///< both sides fit the cache

std::string quoted(const Path& path)
{
    return "\"" + pathToUtf8(path) + "\"";
}

/// Closes a file or folder on the way out; what its closing says is of no interest then.
class OpenFile
{
public:
    explicit OpenFile(FileOperations& files)
        : files_(files)
    {
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { close(); }

    Error close()
    {
        const auto file = std::exchange(file_, FileOperations::kNoFile);
        return file == FileOperations::kNoFile ? Error() : files_.close(file);
    }

    FileOperations::File& handle() { return file_; }
    FileOperations::File get() const { return file_; }

private:
    FileOperations& files_;
    FileOperations::File file_ = FileOperations::kNoFile;
};

/// One save, from the first look at the target to the last synchronisation. Each step answers
/// whether the next may follow; the first that fails leaves its reason.
class Save
{
public:
    Save(const Path& path, std::span<const std::byte> bytes, FileOperations& files)
        : files_(files)
        , bytes_(bytes)
        , path_(path)
        , target_(path)
        , aside_(files)
        , folder_(files)
    {
    }

    SaveResult run()
    {
        SaveResult result;
        result.saved = followLinks() && accept() && openFolder() && createAside() && writeAside() &&
                       syncAside() && compareAside() && closeAside() && replaceTarget() &&
                       syncFolder();
        if (!result.saved) {
            removeAside();
            result.error = description();
            result.cause = cause_;
        }
        return result;
    }

private:
    bool did(Error error, const char* step, const Path& path)
    {
        return !error || refuse(error, std::string(step) + " " + quoted(path), error.message());
    }

    bool refuse(Error cause, std::string step, std::string reason)
    {
        cause_ = cause;
        step_ = std::move(step);
        reason_ = std::move(reason);
        return false;
    }

    /// Finds the file that the name stands for: a save replaces what a link points to.
    bool followLinks()
    {
        for (int links = 0; links <= kMostLinks; ++links) {
            if (!did(files_.status(target_, status_), "looking at", target_))
                return false;
            if (status_.kind != Kind::link)
                return true;
            Path next;
            if (!did(files_.readLink(target_, next), "following", target_))
                return false;
            target_ = target_.parent_path() / next;
        }
        return did(std::make_error_code(std::errc::too_many_symbolic_link_levels), "following",
                   target_);
    }

    bool accept()
    {
        if (!target_.has_filename() ||
            target_.native().find(Path::value_type()) != Path::string_type::npos)
            return did(std::make_error_code(std::errc::invalid_argument), "naming", target_);
        if (status_.kind == Kind::nothing)
            return true;
        if (status_.kind != Kind::file)
            return refuse(std::make_error_code(std::errc::invalid_argument),
                          "replacing " + quoted(target_), "it is no ordinary file");
        if (!status_.writable)
            return refuse(std::make_error_code(std::errc::permission_denied),
                          "replacing " + quoted(target_), "it is protected against writing");
        return true;
    }

    Path folder() const
    {
        const Path parent = target_.parent_path();
        return parent.empty() ? Path(".") : parent;
    }

    bool openFolder()
    {
        // Opened before anything changes: afterwards nothing but its synchronisation can fail.
        return did(files_.openFolder(folder(), folder_.handle()), "opening the folder", folder());
    }

    bool createAside()
    {
        // Not made from the target's name, which may already be as long as names can be.
        const std::string unique = ".cel-save-" + std::string(IdStamp().asString().view());
        asidePath_ = target_.parent_path() / unique;
        backupPath_ = target_.parent_path() / (unique + "-former");
        const bool exists = status_.kind == Kind::file;
        if (!did(files_.create(asidePath_, exists, aside_.handle()), "making", asidePath_))
            return false;
        asideExists_ = true;
        return !exists || did(files_.copyPermissions(aside_.get(), status_),
                              "setting the permissions of", asidePath_);
    }

    bool writeAside()
    {
        for (auto rest = bytes_; !rest.empty();) {
            std::size_t count = 0;
            if (!did(files_.write(aside_.get(), rest, count), "writing", asidePath_))
                return false;
            rest = rest.subspan(count);
        }
        return true;
    }

    bool syncAside()
    {
        // Not tried again when it fails: the system may already have dropped what it could not
        // write, and would then report success.
        return did(files_.sync(aside_.get()), "synchronising", asidePath_);
    }

    bool compareAside()
    {
        const auto buffer =
            std::make_unique_for_overwrite<std::byte[]>(std::min(kCompareBytes, bytes_.size()));
        for (std::size_t offset = 0; offset < bytes_.size();) {
            const auto expected =
                bytes_.subspan(offset, std::min(kCompareBytes, bytes_.size() - offset));
            std::size_t count = 0;
            if (!did(files_.read(aside_.get(), offset, {buffer.get(), expected.size()}, count),
                     "reading back", asidePath_))
                return false;
            if (count == 0 || std::memcmp(buffer.get(), expected.data(), count) != 0)
                return refuse(
                    std::make_error_code(std::errc::io_error), "reading back " + quoted(asidePath_),
                    "from byte " + std::to_string(offset) + " on it is not what was written");
            offset += count;
        }
        return true;
    }

    bool closeAside() { return did(aside_.close(), "closing", asidePath_); }

    bool replaceTarget()
    {
        bool movedAside = false;
        const Error error = files_.replace(asidePath_, target_, backupPath_, movedAside);
        if (movedAside)
            formerIsLost_ = bool(files_.rename(backupPath_, target_));
        if (error)
            return did(error, "replacing", target_);
        asideExists_ = false;
        replaced_ = true;
        return true;
    }

    bool syncFolder()
    {
        return did(files_.sync(folder_.get()), "synchronising the folder", folder());
    }

    void removeAside()
    {
        aside_.close();
        if (asideExists_)
            asideExists_ = bool(files_.remove(asidePath_));
    }

    std::string description() const
    {
        std::string text = quoted(path_);
        text +=
            replaced_ ? " is written but may not survive a power failure: " : " was not saved: ";
        text += step_ + ": " + reason_;
        if (formerIsLost_)
            text += "; the former file is now " + quoted(backupPath_);
        else if (!replaced_ && status_.kind == Kind::file)
            text += "; the former file is untouched";
        if (asideExists_)
            text += "; a temporary file is left, " + quoted(asidePath_);
        return text;
    }

    FileOperations& files_;
    std::span<const std::byte> bytes_;
    Path path_;   ///< as the caller named it
    Path target_; ///< after all links
    FileOperations::Status status_;
    OpenFile aside_;
    OpenFile folder_;
    Path asidePath_;
    Path backupPath_;
    bool asideExists_ = false;
    bool replaced_ = false;
    bool formerIsLost_ = false; ///< it could not be given its name back
    Error cause_;
    std::string step_;
    std::string reason_;
};

ReadResult unread(const Path& path, Error cause, const std::string& reason)
{
    ReadResult result;
    result.cause = cause;
    result.error = quoted(path) + " cannot be read: " + reason;
    return result;
}

} // namespace

SaveResult saveFile(const std::filesystem::path& path, std::span<const std::byte> bytes,
                    FileOperations& files)
{
    return Save(path, bytes, files).run();
}

ReadResult readFile(const std::filesystem::path& path, std::size_t mostBytes, FileOperations& files)
{
    OpenFile opened(files);
    FileOperations::Status status;
    if (const Error error = files.open(path, opened.handle(), status))
        return unread(path, error, error.message());
    if (status.kind != Kind::file)
        return unread(path, std::make_error_code(std::errc::invalid_argument),
                      "it is no ordinary file");
    if (status.sizeBytes > mostBytes)
        return unread(path, std::make_error_code(std::errc::file_too_large),
                      "it has " + std::to_string(status.sizeBytes) + " bytes, more than the " +
                          std::to_string(mostBytes) + " that are allowed");

    ReadResult result;
    const auto target = result.file.extend(static_cast<std::size_t>(status.sizeBytes));
    for (std::size_t offset = 0; offset < target.size();) {
        std::size_t count = 0;
        if (const Error error = files.read(opened.get(), offset, target.subspan(offset), count))
            return unread(path, error, error.message());
        if (count == 0)
            return unread(path, std::make_error_code(std::errc::io_error),
                          "it became shorter meanwhile");
        offset += count;
    }
    result.complete = true;
    return result;
}

} // namespace cel

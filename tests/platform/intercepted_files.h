#pragma once

#include "platform/support/FileOperations.h"

#include <functional>
#include <string>
#include <utility>

namespace cel::test {

/// Passes every call on to the system, unless the test wants something else to happen.
class InterceptedFiles final : public FileOperations
{
public:
    enum class Act {
        passOn,
        protect,   ///< what is looked at is protected against writing
        fail,      ///< nothing happens, and the error is returned
        halve,     ///< of what is to be written or read, only half is
        damage,    ///< what is read has another first byte
        moveAside, ///< a replacement fails half-way, the target under the backup's name for good
    };

    /// @param decide  told the number of each call, from 1 on, before it is made.
    explicit InterceptedFiles(std::function<Act(int)> decide, std::errc error = std::errc::io_error)
        : decide_(std::move(decide))
        , error_(std::make_error_code(error))
    {
    }

    int calls() const { return calls_; }
    const std::string& journal() const { return journal_; } ///< "status openFolder": the calls

    Error status(const Path& path, Status& status) override
    {
        const Error error = fails("status") ? error_ : files_.status(path, status);
        status.writable = status.writable && act_ != Act::protect;
        return error;
    }
    Error readLink(const Path& link, Path& target) override
    {
        return fails("readLink") ? error_ : files_.readLink(link, target);
    }
    Error open(const Path& path, File& file, Status& status) override
    {
        return fails("open") ? error_ : files_.open(path, file, status);
    }
    Error openFolder(const Path& path, File& folder) override
    {
        return fails("openFolder") ? error_ : files_.openFolder(path, folder);
    }
    Error create(const Path& path, bool hidden, File& file) override
    {
        return fails("create") ? error_ : files_.create(path, hidden, file);
    }
    Error copyPermissions(File file, const Status& other) override
    {
        return fails("copyPermissions") ? error_ : files_.copyPermissions(file, other);
    }
    Error write(File file, std::span<const std::byte> bytes, std::size_t& count) override
    {
        if (fails("write"))
            return error_;
        const std::size_t most = act_ == Act::halve ? (bytes.size() + 1) / 2 : bytes.size();
        return files_.write(file, bytes.first(most), count);
    }
    Error read(File file, std::uint64_t offset, std::span<std::byte> target,
               std::size_t& count) override
    {
        if (fails("read"))
            return error_;
        const std::size_t most = act_ == Act::halve ? (target.size() + 1) / 2 : target.size();
        const Error error = files_.read(file, offset, target.first(most), count);
        if (act_ == Act::damage)
            target[0] ^= std::byte(1);
        return error;
    }
    Error sync(File file) override { return fails("sync") ? error_ : files_.sync(file); }
    Error close(File file) override
    {
        const bool failing = fails("close");
        const Error error = files_.close(file); // also then: it is not open afterwards
        return failing ? error_ : error;
    }
    Error replace(const Path& file, const Path& target, const Path& backup,
                  bool& movedAside) override
    {
        if (fails("replace"))
            return error_;
        if (act_ != Act::moveAside)
            return files_.replace(file, target, backup, movedAside);
        movedAside = !files_.rename(target, backup);
        return error_;
    }
    Error rename(const Path& from, const Path& to) override
    {
        return fails("rename") || act_ == Act::moveAside ? error_ : files_.rename(from, to);
    }
    Error remove(const Path& path) override
    {
        return fails("remove") ? error_ : files_.remove(path);
    }

private:
    bool fails(const char* name)
    {
        journal_ += (calls_ == 0 ? "" : " ") + std::string(name);
        act_ = decide_(++calls_);
        return act_ == Act::fail;
    }

    FileOperations& files_ = systemFiles();
    std::function<Act(int)> decide_;
    Error error_;
    Act act_ = Act::passOn;
    int calls_ = 0;
    std::string journal_;
};

} // namespace cel::test

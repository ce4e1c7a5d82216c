#pragma once

#include "platform/support/FileOperations.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cel::test {

/// A disk in memory: one flat folder.
class MemoryDisk final : public FileOperations
{
public:
    using Content = std::map<std::string, std::string>; ///< by name

    void put(const std::string& name, const std::string& content, bool writable = true)
    {
        names_[name] = std::make_shared<Node>(Node{content, writable});
    }

    Content content() const
    {
        Content result;
        for (const auto& [name, node] : names_)
            result[name] = node->content;
        return result;
    }

    Error status(const Path& path, Status& status) override
    {
        status = {};
        const auto found = names_.find(path.string());
        if (found == names_.end())
            return {};
        status.kind = Kind::file;
        status.writable = found->second->writable;
        status.sizeBytes = found->second->content.size();
        return {};
    }
    Error readLink(const Path&, Path&) override { return noSuchFile(); }
    Error open(const Path&, File&, Status&) override { return noSuchFile(); }
    Error openFolder(const Path&, File& folder) override
    {
        folder = kFolder;
        return {};
    }
    Error create(const Path& path, bool, File& file) override
    {
        open_.push_back(std::make_shared<Node>());
        file = static_cast<File>(open_.size());
        names_[path.string()] = open_.back();
        return {};
    }
    Error copyPermissions(File, const Status&) override { return {}; }
    Error write(File file, std::span<const std::byte> bytes, std::size_t& count) override
    {
        node(file).content.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        count = bytes.size();
        return {};
    }
    Error read(File file, std::uint64_t offset, std::span<std::byte> target,
               std::size_t& count) override
    {
        count = node(file).content.copy(reinterpret_cast<char*>(target.data()), target.size(),
                                        static_cast<std::size_t>(offset));
        return {};
    }
    Error sync(File) override { return {}; }
    Error close(File) override { return {}; }
    Error replace(const Path& file, const Path& target, const Path&, bool& movedAside) override
    {
        movedAside = false;
        return rename(file, target);
    }
    Error rename(const Path& from, const Path& to) override
    {
        const auto node = names_.extract(from.string());
        if (!node)
            return noSuchFile();
        names_[to.string()] = node.mapped();
        return {};
    }
    Error remove(const Path& path) override
    {
        return names_.erase(path.string()) != 0 ? Error() : noSuchFile();
    }

private:
    struct Node
    {
        std::string content;
        bool writable = true;
    };

    static constexpr File kFolder = 0;

    static Error noSuchFile() { return std::make_error_code(std::errc::no_such_file_or_directory); }
    Node& node(File file) { return *open_.at(static_cast<std::size_t>(file) - 1); }

    std::map<std::string, std::shared_ptr<Node>> names_;
    std::vector<std::shared_ptr<Node>> open_;
};

/// Passes every call on to other operations, unless the test wants something else to happen.
class InterceptedFiles final : public FileOperations
{
public:
    enum class Act {
        passOn,
        fail,      ///< nothing happens, and the error is returned
        halve,     ///< of what is to be written or read, only half is
        damage,    ///< what is read has another first byte
        moveAside, ///< a replacement fails half-way, the target under the backup's name for good
    };

    /// @param decide  told the number of each call, from 1 on, before it is made.
    InterceptedFiles(FileOperations& files, std::function<Act(int)> decide,
                     std::errc error = std::errc::io_error)
        : files_(files)
        , decide_(std::move(decide))
        , error_(std::make_error_code(error))
    {
    }

    int calls() const { return calls_; }
    const std::string& journal() const { return journal_; } ///< "status openFolder": the calls

    Error status(const Path& path, Status& status) override
    {
        return fails("status") ? error_ : files_.status(path, status);
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

    FileOperations& files_;
    std::function<Act(int)> decide_;
    Error error_;
    Act act_ = Act::passOn;
    int calls_ = 0;
    std::string journal_;
};

} // namespace cel::test

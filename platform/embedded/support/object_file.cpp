#include "platform/support/object_file.h"

#include "platform/embedded/support/SqliteObjectFile.h"
#include "platform/embedded/support/object_tables.h"
#include "platform/support/FileOperations.h"
#include "platform/support/utf8.h"

#include <algorithm>

namespace cel {

namespace {

using detail::Sqlite;
using detail::SqliteFault;
using detail::SqliteTransaction;
using detail::TableWriter;

constexpr std::size_t kHeadBytes = 100;
constexpr std::size_t kApplicationAt = 68;
constexpr std::string_view kMagic("SQLite format 3", 16); // with its closing zero

std::string quoted(const std::filesystem::path& path)
{
    return "\"" + pathToUtf8(path) + "\"";
}

/// @throws SqliteFault with the reason why it is no file of ours. The file itself is opened by
/// nobody else: closing a second descriptor would take the locks of the first.
std::unique_ptr<ObjectFile> openAccepted(const std::filesystem::path& path)
{
    using Kind = SqliteFault::Kind;
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    FileOperations::Status status;
    if (!error)
        error = systemFiles().status(real, status);
    if (error)
        throw SqliteFault(Kind::other, error.message());
    if (status.kind != FileOperations::Kind::file)
        throw SqliteFault(Kind::other, "it is no ordinary file");
    if (status.sizeBytes == 0)
        throw SqliteFault(Kind::other, "it is empty");

    std::filesystem::path log = real;
    log += "-wal";
    const bool hasLog = std::filesystem::exists(log, error);
    if (status.writable || hasLog) {
        try {
            return detail::openTables(path, Sqlite::Access::write);
        } catch (const SqliteFault& fault) {
            // A folder in which nothing may be made has no room for the log either.
            if (fault.kind() != Kind::other || hasLog)
                throw;
        }
    }
    return detail::openTables(path, Sqlite::Access::snapshot);
}

/// Removes a file when it goes.
class Aside
{
public:
    explicit Aside(const std::filesystem::path& target)
        : path_(target.parent_path() / (".cel-save-" + std::string(IdStamp().asString().view())))
    {
    }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;
    ~Aside() { systemFiles().remove(path_); }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

void fill(const std::filesystem::path& path, std::span<const ObjectRow> rows,
          std::span<const ObjectName> names, const StoreMark& mark)
{
    Sqlite data(path, Sqlite::Access::create);
    data.run(("PRAGMA page_size = " + std::to_string(detail::kPageBytes) +
              "; PRAGMA journal_mode = MEMORY; PRAGMA application_id = " +
              std::to_string(detail::kApplication) +
              "; PRAGMA user_version = " + std::to_string(detail::kSchema))
                 .c_str());
    {
        SqliteTransaction transaction(data, true);
        for (const std::string_view table : detail::kTables)
            data.run(std::string(table).c_str());
        TableWriter writer(data);
        for (const ObjectRow& row : rows)
            writer.insert(row);
        writer.insert(names);
        writer.write({mark, static_cast<std::int64_t>(rows.size()),
                      static_cast<std::int64_t>(names.size())});
        transaction.commit();
    }
    if (data.text("PRAGMA journal_mode = WAL") != "wal")
        throw SqliteFault(SqliteFault::Kind::other, "no write-ahead log can be kept beside it");
}

/// Gives a file a second name, which must be free, or its only one where there are no second names.
std::error_code giveName(const std::filesystem::path& file, const std::filesystem::path& name)
{
    std::error_code error;
    std::filesystem::create_hard_link(file, name, error);
    if (!error || error == std::errc::file_exists)
        return error;
    FileOperations::Status status;
    if (const auto unseen = systemFiles().status(name, status))
        return unseen;
    if (status.kind != FileOperations::Kind::nothing)
        return std::make_error_code(std::errc::file_exists);
    // Some systems replace what another program puts there between the look and this; nothing
    // better is to be had on all file systems that know no second names.
    return systemFiles().rename(file, name);
}

std::error_code syncFolderOf(const std::filesystem::path& path)
{
    const std::filesystem::path parent = path.parent_path();
    FileOperations::File folder = FileOperations::kNoFile;
    if (const auto error = systemFiles().openFolder(parent.empty() ? "." : parent, folder))
        return error;
    const auto error = systemFiles().sync(folder);
    systemFiles().close(folder);
    return error;
}

} // namespace

bool isObjectFile(std::span<const std::byte> head)
{
    const auto magic = std::as_bytes(std::span(kMagic));
    return head.size() >= kHeadBytes && std::equal(magic.begin(), magic.end(), head.begin()) &&
           detail::bigEndian(head, kApplicationAt) == detail::kApplication;
}

std::unique_ptr<ObjectFile> openObjectFile(const std::filesystem::path& path, std::string& error)
{
    try {
        return openAccepted(path);
    } catch (const SqliteFault& fault) {
        error = quoted(path) + " cannot be opened: " + fault.what();
        return nullptr;
    }
}

bool createObjectFile(const std::filesystem::path& path, std::span<const ObjectRow> rows,
                      std::span<const ObjectName> names, StoreMark& mark, std::string& error)
{
    const StoreMark made{IdStamp(), detail::freshGeneration()};
    const Aside aside(path);
    try {
        fill(aside.path(), rows, names, made);
    } catch (const SqliteFault& fault) {
        error = quoted(path) + " was not saved: " + fault.what();
        return false;
    }
    if (const auto cause = giveName(aside.path(), path)) {
        error = quoted(path) + " was not saved: " +
                (cause == std::errc::file_exists
                     ? "there is something of that name by now, which is untouched"
                     : cause.message());
        return false;
    }
    if (const auto cause = syncFolderOf(path)) {
        error = quoted(path) + " is written but may not survive a power failure: synchronising " +
                "its folder: " + cause.message();
        return false;
    }
    mark = made;
    return true;
}

} // namespace cel

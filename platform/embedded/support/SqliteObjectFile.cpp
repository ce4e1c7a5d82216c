#include "platform/support/object_file.h"

#include "platform/embedded/support/Sqlite.h"
#include "platform/support/FileOperations.h"
#include "platform/support/layers.h"
#include "platform/support/utf8.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace cel {

namespace {

using detail::Sqlite;
using detail::SqliteFault;
using detail::SqliteStatement;
using detail::SqliteTransaction;

constexpr std::int64_t kApplication = 0x43454C44; // "CELD"
constexpr std::int64_t kSchema = 1;

/// The tables as they stand in the file, word for word: a file with anything else is none of ours.
constexpr std::array<std::string_view, 3> kTables = {
    "CREATE TABLE store (one INTEGER PRIMARY KEY, id BLOB NOT NULL, generation INTEGER NOT NULL, "
    "objects INTEGER NOT NULL, names INTEGER NOT NULL, checksum INTEGER NOT NULL)",
    "CREATE TABLE object (number INTEGER PRIMARY KEY, id BLOB NOT NULL UNIQUE, "
    "class TEXT NOT NULL, revision INTEGER NOT NULL, checksum INTEGER NOT NULL, "
    "layers BLOB NOT NULL)",
    "CREATE TABLE name (owner BLOB NOT NULL, role TEXT NOT NULL, position INTEGER NOT NULL, "
    "object BLOB NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY (owner, role, position)) "
    "WITHOUT ROWID"};

constexpr std::size_t kHeadBytes = 100;
constexpr std::size_t kApplicationAt = 68;
constexpr std::string_view kMagic("SQLite format 3", 16); // with its closing zero

constexpr std::size_t kMostFindings = 1000;

using Bytes = std::span<const std::byte>;

std::string quoted(const std::filesystem::path& path)
{
    return "\"" + pathToUtf8(path) + "\"";
}

std::uint32_t bigEndian(Bytes bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.subspan(at, sizeof(value)))
        value = value << 8 | std::to_integer<std::uint32_t>(byte);
    return value;
}

/// An identity as the tables hold it: its words most significant byte first, so that `hex(id)`
/// reads like the text of the stamp and rows sort like stamps.
class IdBytes
{
public:
    explicit IdBytes(const IdStamp& id)
    {
        for (std::size_t i = 0; i < bytes_.size(); ++i)
            bytes_[i] = std::byte(id.word(static_cast<int>(i / 4)) >> (24 - 8 * (i % 4)) & 0xFF);
    }

    operator Bytes() const { return bytes_; }

private:
    std::array<std::byte, 12> bytes_;
};

/// The null stamp for what is none.
IdStamp idFrom(Bytes bytes)
{
    if (bytes.size() != 12)
        return {0, 0, 0};
    return {bigEndian(bytes, 0), bigEndian(bytes, 4), bigEndian(bytes, 8)};
}

/// The checksum of a row: over its values one after the other, texts with their length in front.
class RowChecksum
{
public:
    RowChecksum& add(std::int64_t value) { return addBytes(std::as_bytes(std::span(&value, 1))); }
    RowChecksum& add(const IdStamp& id) { return addBytes(IdBytes(id)); }
    RowChecksum& add(std::string_view text)
    {
        return add(static_cast<std::int64_t>(text.size())).addBytes(std::as_bytes(std::span(text)));
    }
    RowChecksum& addBytes(Bytes bytes)
    {
        value_ = crc32c(bytes, value_);
        return *this;
    }

    std::int64_t value() const { return value_; }

private:
    std::uint32_t value_ = 0;
};

std::int64_t checksumOf(const ObjectRow& row)
{
    return RowChecksum()
        .add(row.id)
        .add(row.className)
        .add(std::int64_t(row.revision))
        .addBytes(row.layers)
        .value();
}

std::int64_t checksumOf(const ObjectName& name)
{
    return RowChecksum()
        .add(name.owner)
        .add(name.role)
        .add(std::int64_t(name.position))
        .add(name.object)
        .value();
}

/// The one row of the table `store`.
struct StoreState
{
    StoreMark mark;
    std::int64_t objects = 0;
    std::int64_t names = 0;

    std::int64_t checksum() const
    {
        return RowChecksum()
            .add(mark.store)
            .add(static_cast<std::int64_t>(mark.generation))
            .add(objects)
            .add(names)
            .value();
    }
};

constexpr const char* kSelectRow = "SELECT id, class, revision, checksum, layers, number FROM "
                                   "object ";

/// A row of `kSelectRow`. @return whether it is what was written.
bool isSound(SqliteStatement& select, ObjectRow& row)
{
    row = {idFrom(select.bytes(0)), select.text(1), static_cast<unsigned char>(select.number(2)),
           select.bytes(4)};
    return checksumOf(row) == select.number(3) && row.id.valid() &&
           select.number(2) == row.revision;
}

/// What fills the tables of one file, inside the caller's transaction.
class TableWriter
{
public:
    explicit TableWriter(Sqlite& data)
        : data_(data)
    {
    }

    void insert(const ObjectRow& row)
    {
        const IdBytes id(row.id);
        insert_.bind(
            {Bytes(id), row.className, std::int64_t(row.revision), checksumOf(row), row.layers});
        insert_.step();
        insert_.reset();
    }

    /// Does not touch a row that is the same already.
    void update(std::int64_t number, const ObjectRow& row)
    {
        update_.bind(
            {number, row.className, std::int64_t(row.revision), checksumOf(row), row.layers});
        update_.step();
        update_.reset();
    }

    void insert(std::span<const ObjectName> names)
    {
        SqliteStatement insert(data_, "INSERT INTO name VALUES (?, ?, ?, ?, ?)");
        for (const ObjectName& name : names) {
            const IdBytes owner(name.owner);
            const IdBytes object(name.object);
            insert.bind({Bytes(owner), name.role, std::int64_t(name.position), Bytes(object),
                         checksumOf(name)});
            insert.step();
        }
    }

    void write(const StoreState& state)
    {
        SqliteStatement replace(data_, "INSERT OR REPLACE INTO store VALUES (1, ?, ?, ?, ?, ?)");
        const IdBytes id(state.mark.store);
        replace.bind({Bytes(id), static_cast<std::int64_t>(state.mark.generation), state.objects,
                      state.names, state.checksum()});
        replace.step();
    }

private:
    Sqlite& data_;
    SqliteStatement insert_{data_, "INSERT INTO object (id, class, revision, checksum, layers) "
                                   "VALUES (?, ?, ?, ?, ?)"};
    SqliteStatement update_{data_,
                            "UPDATE object SET class = ?2, revision = ?3, checksum = ?4, "
                            "layers = ?5 WHERE number = ?1 AND (checksum IS NOT ?4 OR class IS NOT "
                            "?2 OR revision IS NOT ?3 OR layers IS NOT ?5)"};
};

class SqliteObjectFile final : public ObjectFile
{
public:
    /// @throws SqliteFault also for a file that has other tables than ours.
    SqliteObjectFile(const std::filesystem::path& path, Sqlite::Access access)
        : data_(path, access)
        , name_(quoted(path))
    {
        const SqliteTransaction snapshot(data_, false);
        acceptSchema();
        if (const auto state = readState())
            mark_ = state->mark;
    }

    const StoreMark& mark() const override { return mark_; }

    bool read(const IdStamp& id, const Reader& reader, std::string& error) override
    {
        error.clear();
        try {
            const SqliteTransaction snapshot(data_, false);
            const auto state = readState();
            if (state ? state->mark != mark_ : mark_.store.valid())
                throw SqliteFault(SqliteFault::Kind::other, kChangedMeanwhile);
            SqliteStatement select(data_, (std::string(kSelectRow) + "WHERE id = ?").c_str());
            const IdBytes bytes(id);
            ObjectRow row;
            if (!select.bind({Bytes(bytes)}).step())
                return false;
            if (isSound(select, row)) {
                reader(row);
                return true;
            }
            error = "class " + std::string(row.className) + ": " + kWrongChecksum;
        } catch (const SqliteFault& fault) {
            error = name_ + ": " + fault.what();
        }
        return false;
    }

    bool readAll(std::vector<ObjectName>& names, const Reader& reader, Findings& findings,
                 std::string& error) override
    {
        try {
            const SqliteTransaction snapshot(data_, false);
            const auto state = readState();
            if (state)
                mark_ = state->mark;
            else
                report(findings, {}, "what the file says of itself is damaged");
            names = readNames(&findings);
            const std::int64_t objects = readObjects(reader, findings);
            if (state && state->names != namesSeen_)
                reportCount(findings, state->names, namesSeen_, "names");
            if (state && state->objects != objects)
                reportCount(findings, state->objects, objects, "objects");
            return true;
        } catch (const SqliteFault& fault) {
            error = fault.what();
            return false;
        }
    }

    void examine(Findings& findings) override
    {
        try {
            SqliteStatement check(data_, "PRAGMA integrity_check(20)");
            while (check.step())
                if (check.text(0) != "ok")
                    report(findings, {}, "structure: " + std::string(check.text(0)));
        } catch (const SqliteFault& fault) {
            report(findings, {}, fault.what());
        }
    }

    bool change(std::span<const ObjectRow> put, std::span<const IdStamp> remove,
                std::string& error) override
    {
        return save(mark_, error, [&](TableWriter& writer, const StoreState&) {
            SqliteStatement find(data_, "SELECT number FROM object WHERE id = ?");
            SqliteStatement erase(data_, "DELETE FROM object WHERE id = ?");
            for (const IdStamp& id : remove) {
                const IdBytes bytes(id);
                erase.bind({Bytes(bytes)}).step();
            }
            for (const ObjectRow& row : put) {
                const IdBytes bytes(row.id);
                const bool exists = find.bind({Bytes(bytes)}).step();
                const std::int64_t number = exists ? find.number(0) : 0;
                find.reset();
                if (exists)
                    writer.update(number, row);
                else
                    writer.insert(row);
            }
        });
    }

    bool replaceAll(std::span<const ObjectRow> rows, std::span<const ObjectName> names,
                    const StoreMark& seen, std::string& error) override
    {
        return save(seen, error, [&](TableWriter& writer, const StoreState& state) {
            replaceObjects(writer, rows, seen.store == state.mark.store);
            std::vector<ObjectName> wanted(names.begin(), names.end());
            std::sort(wanted.begin(), wanted.end());
            std::vector<ObjectName> present = readNames(nullptr);
            std::sort(present.begin(), present.end());
            if (present == wanted && namesSeen_ == static_cast<std::int64_t>(wanted.size()))
                return;
            data_.run("DELETE FROM name");
            writer.insert(wanted);
        });
    }

private:
    static constexpr const char* kWrongChecksum =
        "its checksum does not match: it is not what was written";
    static constexpr const char* kChangedMeanwhile =
        "another program has saved to it since it was read";

    /// The schema is compared as a whole, so that no view, trigger or default of a stranger's file
    /// ever runs.
    void acceptSchema()
    {
        using Kind = SqliteFault::Kind;
        const std::int64_t version = data_.number("PRAGMA user_version");
        if (data_.number("PRAGMA application_id") != kApplication)
            throw SqliteFault(Kind::other, "it is a data base of another application");
        if (version > kSchema)
            throw SqliteFault(Kind::other, "it was written by a later version of this program "
                                           "(its form is " +
                                               std::to_string(version) + ", this one knows " +
                                               std::to_string(kSchema) + ")");
        // No form has gone before this one; its successor reads it here.
        if (version != kSchema)
            throw SqliteFault(Kind::other, "it has the unknown form " + std::to_string(version));
        SqliteStatement select(data_, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
        std::set<std::string, std::less<>> tables;
        while (select.step() && tables.size() <= kTables.size())
            tables.emplace(select.text(0));
        if (tables != std::set<std::string, std::less<>>(kTables.begin(), kTables.end()))
            throw SqliteFault(Kind::other, "its tables are not those of a store");
    }

    /// Nothing when the row is damaged.
    std::optional<StoreState> readState()
    {
        SqliteStatement select(data_, "SELECT id, generation, objects, names, checksum FROM store "
                                      "WHERE one = 1");
        if (!select.step())
            return std::nullopt;
        const StoreState state{
            {idFrom(select.bytes(0)), static_cast<std::uint64_t>(select.number(1))},
            select.number(2),
            select.number(3)};
        if (state.checksum() != select.number(4) || !state.mark.store.valid())
            return std::nullopt;
        return state;
    }

    std::vector<ObjectName> readNames(Findings* findings)
    {
        std::vector<ObjectName> names;
        namesSeen_ = 0;
        try {
            SqliteStatement select(data_, "SELECT owner, role, position, object, checksum "
                                          "FROM name");
            for (; select.step(); ++namesSeen_) {
                ObjectName name{idFrom(select.bytes(0)), std::string(select.text(1)),
                                static_cast<std::uint32_t>(select.number(2)),
                                idFrom(select.bytes(3))};
                if (checksumOf(name) == select.number(4) && select.number(2) == name.position)
                    names.push_back(std::move(name));
                else if (findings)
                    report(*findings, {name.object, {}, {}},
                           "a name of it is damaged: " + std::string(kWrongChecksum));
            }
        } catch (const SqliteFault& fault) {
            if (fault.kind() != SqliteFault::Kind::damaged)
                throw;
            if (findings)
                report(*findings, {}, "the table of names cannot be read to its end");
        }
        return names;
    }

    /// @return how many rows there are, damaged ones included.
    std::int64_t readObjects(const Reader& reader, Findings& findings)
    {
        std::int64_t last = INT64_MIN;
        std::int64_t rows = 0;
        const auto walk = [&](const char* order, bool forwards) {
            SqliteStatement select(data_, (std::string(kSelectRow) + order).c_str());
            for (; select.step(); ++rows) {
                const std::int64_t number = select.number(5);
                if (forwards)
                    last = number;
                else if (number <= last)
                    break;
                ObjectRow row;
                if (isSound(select, row))
                    reader(row);
                else
                    report(findings, {row.id, std::string(row.className), {}}, kWrongChecksum);
            }
        };
        try {
            walk("NOT INDEXED ORDER BY number", true);
        } catch (const SqliteFault& fault) {
            if (fault.kind() != SqliteFault::Kind::damaged)
                throw;
            report(findings, {}, "the table of objects cannot be read to its end");
            // What lies behind the damage can be reached from the other end.
            try {
                walk("NOT INDEXED ORDER BY number DESC", false);
            } catch (const SqliteFault&) {
            }
        }
        return rows;
    }

    void replaceObjects(TableWriter& writer, std::span<const ObjectRow> rows, bool keepsUnreadable)
    {
        // By number, not by identity: an index that is damaged must not double a row.
        std::map<IdStamp, std::int64_t> present;
        std::vector<std::int64_t> superfluous;
        {
            SqliteStatement select(data_, "SELECT number, id FROM object NOT INDEXED");
            while (select.step())
                if (!present.emplace(idFrom(select.bytes(1)), select.number(0)).second)
                    superfluous.push_back(select.number(0));
        }
        for (const ObjectRow& row : rows) {
            const auto found = present.find(row.id);
            if (found == present.end()) {
                writer.insert(row);
            } else {
                writer.update(found->second, row);
                present.erase(found);
            }
        }
        for (const auto& [id, number] : present)
            superfluous.push_back(number);

        SqliteStatement select(data_, (std::string(kSelectRow) + "WHERE number = ?").c_str());
        SqliteStatement erase(data_, "DELETE FROM object WHERE number = ?");
        for (const std::int64_t number : superfluous) {
            ObjectRow row;
            const bool kept =
                keepsUnreadable && select.bind({number}).step() && !isSound(select, row);
            select.reset();
            if (!kept)
                erase.bind({number}).step();
        }
    }

    /// One transaction. @param seen  of the state that the caller wants to change.
    template <class Work>
    bool save(const StoreMark& seen, std::string& error, const Work& work)
    {
        try {
            StoreState state;
            {
                SqliteTransaction transaction(data_, true);
                const auto former = readState();
                if (!former)
                    throw SqliteFault(SqliteFault::Kind::damaged,
                                      "what the file says of itself is damaged");
                if (former->mark.store == seen.store && former->mark != seen)
                    throw SqliteFault(SqliteFault::Kind::other, kChangedMeanwhile);
                TableWriter writer(data_);
                work(writer, *former);
                state = {{former->mark.store, former->mark.generation + 1},
                         data_.number("SELECT count(*) FROM object"),
                         data_.number("SELECT count(*) FROM name")};
                writer.write(state);
                transaction.commit();
            }
            mark_ = state.mark;
        } catch (const SqliteFault& fault) {
            error = name_ + " was not saved: " + fault.what() + "; it is as it was";
            return false;
        }
        try {
            // The save is safe already; this moves it into the file itself, as far as no reader
            // still needs the former state.
            data_.run("PRAGMA wal_checkpoint(PASSIVE)");
        } catch (const SqliteFault&) {
        }
        return true;
    }

    static void report(Findings& findings, ObjectFinding finding, std::string_view text)
    {
        if (findings.size() > kMostFindings)
            return;
        finding.text = findings.size() == kMostFindings ? "there is more" : text;
        findings.push_back(std::move(finding));
    }

    static void reportCount(Findings& findings, std::int64_t expected, std::int64_t found,
                            const char* what)
    {
        report(findings, {},
               "it should hold " + std::to_string(expected) + " " + what + ", but " +
                   std::to_string(found) + " were found");
    }

    Sqlite data_;
    std::string name_;
    StoreMark mark_;
    std::int64_t namesSeen_ = 0;
};

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
            return std::make_unique<SqliteObjectFile>(path, Sqlite::Access::write);
        } catch (const SqliteFault& fault) {
            // A folder in which nothing may be made has no room for the log either.
            if (fault.kind() != Kind::other || hasLog)
                throw;
        }
    }
    return std::make_unique<SqliteObjectFile>(path, Sqlite::Access::snapshot);
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
    data.run(("PRAGMA journal_mode = MEMORY; PRAGMA application_id = " +
              std::to_string(kApplication) + "; PRAGMA user_version = " + std::to_string(kSchema))
                 .c_str());
    {
        SqliteTransaction transaction(data, true);
        for (const std::string_view table : kTables)
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
           bigEndian(head, kApplicationAt) == kApplication;
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
    const StoreMark made{IdStamp(), 1};
    const Aside aside(path);
    std::error_code cause;
    try {
        fill(aside.path(), rows, names, made);
        cause = giveName(aside.path(), path);
    } catch (const SqliteFault& fault) {
        error = quoted(path) + " was not saved: " + fault.what();
        return false;
    }
    if (!cause)
        cause = syncFolderOf(path);
    if (cause) {
        error = quoted(path) + " was not saved: " + cause.message();
        return false;
    }
    mark = made;
    return true;
}

} // namespace cel

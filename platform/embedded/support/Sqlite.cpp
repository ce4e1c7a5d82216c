#include "platform/embedded/support/Sqlite.h"

#include "platform/support/utf8.h"

#include <sqlite3.h>

#include <type_traits>

namespace cel::detail {

namespace {

constexpr int kWaitMilliseconds = 5000; ///< for another program that is saving
constexpr int kLongestValue = 1 << 30;
constexpr int kLongestStatement = 10'000;

[[noreturn]] void fail(sqlite3* connection, int result)
{
    using Kind = SqliteFault::Kind;
    switch (result & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        throw SqliteFault(Kind::busy, "another program is saving to it");
    case SQLITE_NOTADB:
        throw SqliteFault(Kind::other, "it is no store");
    case SQLITE_CORRUPT:
        throw SqliteFault(Kind::damaged, "its structure is damaged");
    case SQLITE_FULL:
        throw SqliteFault(Kind::other, "the disk is full");
    case SQLITE_READONLY:
        throw SqliteFault(Kind::other, "it is protected against writing");
    default:
        throw SqliteFault(Kind::other,
                          connection ? sqlite3_errmsg(connection) : sqlite3_errstr(result));
    }
}

void check(sqlite3* connection, int result)
{
    if (result != SQLITE_OK)
        fail(connection, result);
}

/// The name as a URI, for only a URI can say that nobody writes to the file.
std::string asUri(const std::string& name)
{
    const bool rooted = name.starts_with('/') || name.starts_with('\\'); // a drive's letter is not
    std::string uri = rooted ? "file:" : "file:/";
    for (const char c : name) {
        const bool special = c == '%' || c == '?' || c == '#';
        constexpr const char* kDigits = "0123456789ABCDEF";
        if (special)
            uri.append({'%', kDigits[c >> 4], kDigits[c & 15]});
        else
            uri += c;
    }
    return uri + "?immutable=1";
}

} // namespace

void Sqlite::Close::operator()(sqlite3* connection) const
{
    sqlite3_close_v2(connection);
}

Sqlite::Sqlite(const std::filesystem::path& path, Access access)
{
    const bool snapshot = access == Access::snapshot;
    const std::string name = pathToUtf8(std::filesystem::absolute(path));
    const int flags = snapshot                   ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
                      : access == Access::create ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
                                                 : SQLITE_OPEN_READWRITE;
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(snapshot ? asUri(name).c_str() : name.c_str(), &opened, flags, nullptr);
    connection_.reset(opened);
    check(opened, result);

    // What is in the file may be anything: neither its schema nor its sizes are trusted.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, kLongestValue);
    sqlite3_limit(opened, SQLITE_LIMIT_SQL_LENGTH, kLongestStatement);
    sqlite3_limit(opened, SQLITE_LIMIT_ATTACHED, 0);
    check(opened, sqlite3_busy_timeout(opened, kWaitMilliseconds));
    // A journal that is memory-mapped or spills into temporary files would be one more thing to
    // fail; a save flushes before it counts as done.
    run("PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0; PRAGMA temp_store = MEMORY;"
        "PRAGMA synchronous = FULL");
}

void Sqlite::run(const char* statements)
{
    check(get(), sqlite3_exec(get(), statements, nullptr, nullptr, nullptr));
}

std::int64_t Sqlite::number(const char* query)
{
    SqliteStatement statement(*this, query);
    return statement.step() ? statement.number(0) : 0;
}

std::string Sqlite::text(const char* query)
{
    SqliteStatement statement(*this, query);
    return statement.step() ? std::string(statement.text(0)) : std::string();
}

std::int64_t Sqlite::changes() const
{
    return sqlite3_changes64(get());
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(Sqlite& data, const char* statement)
{
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(data.get(), statement, -1, &prepared, nullptr);
    statement_.reset(prepared);
    check(data.get(), result);
}

SqliteStatement& SqliteStatement::bind(std::initializer_list<Value> values)
{
    reset();
    sqlite3_stmt* const statement = statement_.get();
    int index = 0;
    for (const Value& value : values) {
        ++index;
        const int result = std::visit(
            [statement, index](const auto& v) {
                using Type = std::decay_t<decltype(v)>;
                if constexpr (std::is_same_v<Type, std::int64_t>)
                    return sqlite3_bind_int64(statement, index, v);
                else if constexpr (std::is_same_v<Type, std::string_view>)
                    return sqlite3_bind_text64(statement, index, v.data() ? v.data() : "", v.size(),
                                               SQLITE_STATIC, SQLITE_UTF8);
                else if (v.empty())
                    return sqlite3_bind_zeroblob(statement, index, 0);
                else
                    return sqlite3_bind_blob64(statement, index, v.data(), v.size(), SQLITE_STATIC);
            },
            value);
        check(sqlite3_db_handle(statement), result);
    }
    return *this;
}

bool SqliteStatement::step()
{
    const int result = sqlite3_step(statement_.get());
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        fail(sqlite3_db_handle(statement_.get()), result);
    return false;
}

void SqliteStatement::reset()
{
    // What it answers is what the last step did, which has been dealt with.
    sqlite3_reset(statement_.get());
}

std::int64_t SqliteStatement::number(int column)
{
    const bool isNumber = sqlite3_column_type(statement_.get(), column) == SQLITE_INTEGER;
    return isNumber ? sqlite3_column_int64(statement_.get(), column) : 0;
}

std::string_view SqliteStatement::text(int column)
{
    if (sqlite3_column_type(statement_.get(), column) != SQLITE_TEXT)
        return {};
    const auto* const text = sqlite3_column_text(statement_.get(), column);
    if (!text)
        throw std::bad_alloc();
    return {reinterpret_cast<const char*>(text),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::span<const std::byte> SqliteStatement::bytes(int column)
{
    if (sqlite3_column_type(statement_.get(), column) != SQLITE_BLOB)
        return {};
    const void* const bytes = sqlite3_column_blob(statement_.get(), column);
    const int count = sqlite3_column_bytes(statement_.get(), column);
    if (!bytes && count > 0)
        throw std::bad_alloc();
    return {static_cast<const std::byte*>(bytes), static_cast<std::size_t>(count)};
}

SqliteTransaction::SqliteTransaction(Sqlite& data, bool writing)
    : data_(data)
{
    data_.run(writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

SqliteTransaction::~SqliteTransaction()
{
    // Fails where the fault has rolled back already.
    if (open_)
        sqlite3_exec(data_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::commit()
{
    data_.run("COMMIT");
    open_ = false;
}

} // namespace cel::detail

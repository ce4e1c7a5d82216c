#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

struct sqlite3;
struct sqlite3_stmt;

namespace cel::detail {

/// A call of the data base that failed.
class SqliteFault : public std::runtime_error
{
public:
    enum class Kind { busy, damaged, other };

    SqliteFault(Kind kind, const std::string& text)
        : std::runtime_error(text)
        , kind_(kind)
    {
    }

    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

/// A connection to a data base file, prepared for files that come from strangers.
class Sqlite
{
public:
    enum class Access {
        create,   ///< a new file
        write,    ///< an existing one; for reading only where nothing else is allowed
        snapshot, ///< one that nobody writes to: leaves no trace beside it
    };

    /// @throws SqliteFault, as all functions of this and of its statements.
    Sqlite(const std::filesystem::path& path, Access access);

    /// Runs statements that give no rows.
    void run(const char* statements);

    std::int64_t number(const char* query);
    std::string text(const char* query);

    /// Rows that the last statement changed.
    std::int64_t changes() const;

    sqlite3* get() const { return connection_.get(); }

private:
    struct Close
    {
        void operator()(sqlite3* connection) const;
    };
    std::unique_ptr<sqlite3, Close> connection_;
};

/// A prepared statement; goes before its connection.
class SqliteStatement
{
public:
    /// A value to be bound; texts and bytes stay the caller's and must live until the next `bind`.
    using Value = std::variant<std::int64_t, std::string_view, std::span<const std::byte>>;

    SqliteStatement(Sqlite& data, const char* statement);

    /// Starts over with new values.
    SqliteStatement& bind(std::initializer_list<Value> values);

    /// Goes to the next row. @return false when there is none.
    bool step();

    /// Lets go of the row, and of what is locked for it.
    void reset();

    /// The columns of the row, valid until the next step; 0 and empty for values of other types.
    std::int64_t number(int column);
    std::string_view text(int column);
    std::span<const std::byte> bytes(int column);

private:
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// A transaction that is rolled back unless it was committed.
class SqliteTransaction
{
public:
    /// @param writing  takes the lock for writing at once, so that nobody else can save between
    /// what is read in the transaction and what it writes.
    SqliteTransaction(Sqlite& data, bool writing);
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    ~SqliteTransaction();

    void commit();

private:
    Sqlite& data_;
    bool open_ = true;
};

} // namespace cel::detail

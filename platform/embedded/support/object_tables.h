#pragma once

#include "platform/embedded/support/Sqlite.h"
#include "platform/support/object_file.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// The tables of a file of objects: what stands in them, and how it is checked.

namespace cel::detail {

using Bytes = std::span<const std::byte>;

inline constexpr std::int64_t kApplication = 0x43454C44; // "CELD"
inline constexpr std::int64_t kSchema = 1;

inline constexpr std::int64_t kPageBytes = 8192; ///< a row of a usual track lies on one page

/// The tables as they stand in the file, word for word: a file with anything else is none of ours.
extern const std::array<std::string_view, 3> kTables;

/// Four bytes as a number, most significant first.
std::uint32_t bigEndian(Bytes bytes, std::size_t at);

/// An identity as the tables hold it: its words most significant byte first, so that `hex(id)`
/// reads like the text of the stamp and rows sort like stamps.
class IdBytes
{
public:
    explicit IdBytes(const IdStamp& id);

    operator Bytes() const { return bytes_; }

private:
    std::array<std::byte, 12> bytes_;
};

/// The null stamp for what is none.
IdStamp idFrom(Bytes bytes);

/// The checksums of rows, over their values one after the other, texts with their length in front.
std::int64_t checksumOf(const ObjectRow& row);
std::int64_t checksumOf(const ObjectName& name);

/// Of a new state of a store.
std::uint64_t freshGeneration();

/// The one row of the table `store`.
struct StoreState
{
    StoreMark mark;
    std::int64_t objects = 0;
    std::int64_t names = 0;

    std::int64_t checksum() const;
};

/// Begins a statement that gives rows for `isSound`.
inline constexpr const char* kSelectRow =
    "SELECT id, class, revision, checksum, layers, number FROM "
    "object ";

/// A row of `kSelectRow`. @return whether it is what was written.
bool isSound(SqliteStatement& select, ObjectRow& row);

/// What fills the tables of one file, inside the caller's transaction.
class TableWriter
{
public:
    explicit TableWriter(Sqlite& data);

    void insert(const ObjectRow& row);

    /// Does not touch a row that is the same already.
    void update(std::int64_t number, const ObjectRow& row);

    void insert(std::span<const ObjectName> names);
    void write(const StoreState& state);

private:
    Sqlite& data_;
    SqliteStatement insert_;
    SqliteStatement update_;
};

} // namespace cel::detail

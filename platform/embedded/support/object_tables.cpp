#include "platform/embedded/support/object_tables.h"

#include "platform/embedded/support/entropy.h"
#include "platform/support/layers.h"

namespace cel::detail {

namespace {

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

} // namespace

const std::array<std::string_view, 3> kTables = {
    "CREATE TABLE store (one INTEGER PRIMARY KEY, id BLOB NOT NULL, generation INTEGER NOT NULL, "
    "objects INTEGER NOT NULL, names INTEGER NOT NULL, checksum INTEGER NOT NULL)",
    "CREATE TABLE object (number INTEGER PRIMARY KEY, id BLOB NOT NULL UNIQUE, "
    "class TEXT NOT NULL, revision INTEGER NOT NULL, checksum INTEGER NOT NULL, "
    "layers BLOB NOT NULL)",
    "CREATE TABLE name (owner BLOB NOT NULL, role TEXT NOT NULL, position INTEGER NOT NULL, "
    "object BLOB NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY (owner, role, position)) "
    "WITHOUT ROWID"};

std::uint32_t bigEndian(Bytes bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.subspan(at, sizeof(value)))
        value = value << 8 | std::to_integer<std::uint32_t>(byte);
    return value;
}

IdBytes::IdBytes(const IdStamp& id)
{
    for (std::size_t i = 0; i < bytes_.size(); ++i)
        bytes_[i] = std::byte(id.word(static_cast<int>(i / 4)) >> (24 - 8 * (i % 4)) & 0xFF);
}

IdStamp idFrom(Bytes bytes)
{
    if (bytes.size() != 12)
        return {0, 0, 0};
    return {bigEndian(bytes, 0), bigEndian(bytes, 4), bigEndian(bytes, 8)};
}

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

std::uint64_t freshGeneration()
{
    return randomBits() >> 1; // the table's integers have a sign
}

std::int64_t StoreState::checksum() const
{
    return RowChecksum()
        .add(mark.store)
        .add(static_cast<std::int64_t>(mark.generation))
        .add(objects)
        .add(names)
        .value();
}

bool isSound(SqliteStatement& select, ObjectRow& row)
{
    row = {idFrom(select.bytes(0)), select.text(1), static_cast<unsigned char>(select.number(2)),
           select.bytes(4)};
    return checksumOf(row) == select.number(3) && row.id.valid() &&
           select.number(2) == row.revision;
}

TableWriter::TableWriter(Sqlite& data)
    : data_(data)
    , insert_(data, "INSERT INTO object (id, class, revision, checksum, layers) "
                    "VALUES (?, ?, ?, ?, ?)")
    , update_(data, "UPDATE object SET class = ?2, revision = ?3, checksum = ?4, layers = ?5 "
                    "WHERE number = ?1 AND (checksum IS NOT ?4 OR class IS NOT ?2 OR "
                    "revision IS NOT ?3 OR layers IS NOT ?5)")
{
}

void TableWriter::insert(const ObjectRow& row)
{
    const IdBytes id(row.id);
    insert_.bind(
        {Bytes(id), row.className, std::int64_t(row.revision), checksumOf(row), row.layers});
    insert_.step();
    insert_.reset();
}

void TableWriter::update(std::int64_t number, const ObjectRow& row)
{
    update_.bind({number, row.className, std::int64_t(row.revision), checksumOf(row), row.layers});
    update_.step();
    update_.reset();
}

void TableWriter::insert(std::span<const ObjectName> names)
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

void TableWriter::write(const StoreState& state)
{
    SqliteStatement replace(data_, "INSERT OR REPLACE INTO store VALUES (1, ?, ?, ?, ?, ?)");
    const IdBytes id(state.mark.store);
    replace.bind({Bytes(id), static_cast<std::int64_t>(state.mark.generation), state.objects,
                  state.names, state.checksum()});
    replace.step();
}

} // namespace cel::detail

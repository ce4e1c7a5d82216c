#pragma once

#include "platform/export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <utility>

static_assert(std::endian::native == std::endian::little,
              "stored forms are little-endian and are written straight from memory");

/// Bytes that are written at the end and read from a position onward: the memory under a stream.
///
/// Every value is little-endian and of fixed width. Reading past the end yields zeros and sets a
/// fault that stays, so a reader may read on and look at `faulted()` once; nothing outside the
/// bytes is ever touched.
class CEL_PLATFORM_API StreamFile
{
public:
    StreamFile() = default;

    /// A file to be read: holds a copy of `bytes`.
    explicit StreamFile(std::span<const std::byte> bytes) { write(bytes); }

    /// What was moved from is an empty file.
    StreamFile(StreamFile&& other) noexcept { swap(other); }
    StreamFile& operator=(StreamFile&& other) noexcept
    {
        StreamFile(std::move(other)).swap(*this);
        return *this;
    }
    void swap(StreamFile& other) noexcept;

    void setDouble(double value) { put(value); }
    void setLong(std::int32_t value) { put(value); }
    void setUnsignedLong(std::uint32_t value) { put(value); }
    void setUnsigned64(std::uint64_t value) { put(value); }
    void setUnsignedShort(std::uint16_t value) { put(value); }
    void setCookedChar(char value) { put(value); }

    double getDouble() { return get<double>(); }
    std::int32_t getLong() { return get<std::int32_t>(); }
    std::uint32_t getUnsignedLong() { return get<std::uint32_t>(); }
    std::uint64_t getUnsigned64() { return get<std::uint64_t>(); }
    std::uint16_t getUnsignedShort() { return get<std::uint16_t>(); }
    char getCookedChar() { return get<char>(); }

    /// Appends `bytes`, which may be part of this very file.
    void write(std::span<const std::byte> bytes);

    /// Makes room for `count` bytes at the end and returns it for the caller to fill completely;
    /// valid until the next write. Amortised over many calls, each byte costs one copy. A large
    /// block is best written in pieces of some kilobytes, see `keepChecksum`.
    std::span<std::byte> extend(std::size_t count)
    {
        if (size_ >= sum_.next)
            sumUp();
        if (capacity_ - size_ < count)
            grow(count);
        size_ += count;
        return {data_.get() + (size_ - count), count};
    }

    /// Makes room for `count` bytes more, which are then written without moving what is there.
    void reserve(std::size_t count)
    {
        if (capacity_ - size_ < count)
            grow(count);
    }

    /// Takes back what was written from `size` on.
    void truncate(std::size_t size);

    /// Sums up what is written from here on while it is still in the cache, so that the next
    /// `checksumFrom` costs no pass over memory.
    void keepChecksum();

    /// CRC-32C of everything from `offset` on.
    std::uint32_t checksumFrom(std::size_t offset);

    /// Bytes `offset` to `offset + count` of what was written, to be changed afterwards (a length
    /// that is known only when the body stands). They must have been written.
    std::span<std::byte> written(std::size_t offset, std::size_t count);

    /// Reads up to `target.size()` bytes. @return how many were there; fewer set the fault.
    std::size_t read(std::span<std::byte> target);

    /// The next `count` bytes without copying them, or all that are left when there are fewer
    /// (which sets the fault); valid until the next write.
    std::span<const std::byte> take(std::size_t count);

    /// All bytes written so far.
    std::span<const std::byte> bytes() const { return {data_.get(), size_}; }

    std::size_t position() const { return position_; }
    /// Moves the reading position; one beyond the limit becomes the limit.
    void seek(std::size_t position);

    /// Bytes that may still be read: up to the end or to the limit set by `limitTo`.
    std::size_t remaining() const { return position_ < limit() ? limit() - position_ : 0; }
    bool atEnd() const { return remaining() == 0; }

    /// Reading stops `count` bytes from here, as if the file ended there (the end of the file if
    /// that comes first). @return the former limit, for `restoreLimit`.
    std::size_t limitTo(std::size_t count);
    void restoreLimit(std::size_t limit) { limit_ = limit; }

    /// Whether something was read that was not there.
    bool faulted() const { return faulted_; }
    void clearFault() { faulted_ = false; }

    /// Empties the file and keeps its memory for the next writer.
    void clear();

private:
    static constexpr std::size_t kNoLimit = SIZE_MAX;

    std::size_t limit() const { return limit_ < size_ ? limit_ : size_; }

    /// The checksum of `begin` to `end`, kept up once the file has the size `next`.
    struct Sum
    {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::size_t next = SIZE_MAX;
        std::uint32_t value = 0;
    };
    void sumUp();
    /// Bytes from `offset` to `offset + count` may change.
    void forgetSumOf(std::size_t offset, std::size_t count);

    /// Makes the memory large enough for `count` more bytes. @return the memory that was replaced.
    std::unique_ptr<std::byte[]> grow(std::size_t count);

    void fault();

    template <class T>
    void put(T value)
    {
        std::memcpy(extend(sizeof(T)).data(), &value, sizeof(T));
    }

    template <class T>
    T get()
    {
        T value{};
        if (remaining() < sizeof(T)) {
            fault();
        } else {
            std::memcpy(&value, data_.get() + position_, sizeof(T));
            position_ += sizeof(T);
        }
        return value;
    }

    std::unique_ptr<std::byte[]> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::size_t position_ = 0;
    std::size_t limit_ = kNoLimit;
    Sum sum_;
    bool faulted_ = false;
};

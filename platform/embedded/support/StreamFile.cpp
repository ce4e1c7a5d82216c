#include "platform/support/StreamFile.h"

#include "platform/embedded/support/crc32c.h"
#include "platform/support/layers.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr std::size_t kFirstCapacity = 256;

/// Fits into the cache of one core, and is so large that joining two sums is nothing beside it.
constexpr std::size_t kSummedPiece = std::size_t(256) << 10;

} // namespace

void StreamFile::swap(StreamFile& other) noexcept
{
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(position_, other.position_);
    std::swap(limit_, other.limit_);
    std::swap(sum_, other.sum_);
    std::swap(faulted_, other.faulted_);
}

std::unique_ptr<std::byte[]> StreamFile::grow(std::size_t count)
{
    if (count > SIZE_MAX / 2 - size_)
        throw std::length_error("StreamFile: too large");
    // Half as much again as there is, and a little more than is asked for: a large block is
    // followed by small values (its checksum), which must not copy it once more.
    const std::size_t capacity = std::max(kFirstCapacity, size_ + size_ / 2 + count + count / 8);
    auto larger = std::make_unique_for_overwrite<std::byte[]>(capacity);
    std::copy_n(data_.get(), size_, larger.get());
    capacity_ = capacity;
    return std::exchange(data_, std::move(larger));
}

void StreamFile::write(std::span<const std::byte> bytes)
{
    std::unique_ptr<std::byte[]> former; // may be where `bytes` lie
    if (capacity_ - size_ < bytes.size())
        former = grow(bytes.size());
    std::copy_n(bytes.data(), bytes.size(), extend(bytes.size()).data());
}

void StreamFile::truncate(std::size_t size)
{
    if (size >= size_)
        return;
    forgetSumOf(size, size_ - size);
    size_ = size;
    position_ = std::min(position_, limit());
}

void StreamFile::keepChecksum()
{
    sum_ = {size_, size_, size_ + kSummedPiece, 0};
}

void StreamFile::sumUp()
{
    sum_.value = cel::crc32c(bytes().subspan(sum_.end), sum_.value);
    sum_.end = size_;
    sum_.next = size_ + kSummedPiece;
}

void StreamFile::forgetSumOf(std::size_t offset, std::size_t count)
{
    if (offset >= sum_.end || offset + count <= sum_.begin)
        return;
    const std::size_t begin = std::min(offset, sum_.begin);
    sum_ = {begin, begin, begin + kSummedPiece, 0};
}

std::uint32_t StreamFile::checksumFrom(std::size_t offset)
{
    const bool kept = offset <= sum_.begin && sum_.begin < sum_.end;
    if (kept)
        sumUp();
    const Sum sum = std::exchange(sum_, Sum());
    if (!kept)
        return cel::crc32c(bytes().subspan(offset));
    const auto before = bytes().subspan(offset, sum.begin - offset);
    return cel::detail::joinedCrc32c(cel::crc32c(before), sum.value, sum.end - sum.begin);
}

std::span<std::byte> StreamFile::written(std::size_t offset, std::size_t count)
{
    forgetSumOf(offset, count);
    return std::span(data_.get(), size_).subspan(offset, count);
}

std::size_t StreamFile::read(std::span<std::byte> target)
{
    const auto source = take(target.size());
    std::copy_n(source.data(), source.size(), target.data());
    return source.size();
}

std::span<const std::byte> StreamFile::take(std::size_t count)
{
    const std::size_t there = std::min(count, remaining());
    const std::span<const std::byte> bytes(data_.get() + position_, there);
    if (there < count)
        fault();
    else
        position_ += there;
    return bytes;
}

void StreamFile::fault()
{
    faulted_ = true;
    position_ = std::max(position_, limit());
}

void StreamFile::seek(std::size_t position)
{
    position_ = std::min(position, limit());
}

std::size_t StreamFile::limitTo(std::size_t count)
{
    return std::exchange(limit_, position_ + std::min(count, remaining()));
}

void StreamFile::clear()
{
    size_ = 0;
    position_ = 0;
    limit_ = kNoLimit;
    sum_ = Sum();
    faulted_ = false;
}

#include "platform/support/PStream.h"

#include <limits>
#include <stdexcept>

namespace {

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

void writeCounted(StreamFile& file, std::span<const std::byte> bytes)
{
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("PStream: a counted block is limited to 4 GiB");
    file.setUnsignedLong(static_cast<std::uint32_t>(bytes.size()));
    file.write(bytes);
}

} // namespace

PStream& PStream::operator<<(const LightweightString<char>& text)
{
    writeCounted(file_, bytesOf(text.view()));
    return *this;
}

PStream& PStream::operator>>(LightweightString<char>& text)
{
    const std::uint32_t count = file_.getUnsignedLong();
    const bool complete = count <= file_.remaining();
    const auto bytes = file_.take(count);
    text.clear();
    if (complete)
        text = std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return *this;
}

void PStream::writeBinary(const void* data, std::size_t sizeBytes, bool raw, bool)
{
    const std::span bytes(static_cast<const std::byte*>(data), sizeBytes);
    if (raw)
        file_.write(bytes);
    else
        writeCounted(file_, bytes);
}

void PStream::writeBinary(const LightweightString<char>& text, std::size_t sizeBytes, bool raw,
                          bool packed)
{
    const bool whole = sizeBytes == 0 || sizeBytes > text.size();
    writeBinary(text.c_str(), whole ? text.size() : sizeBytes, raw, packed);
}

std::size_t PStream::readBinary(void* data, std::size_t sizeBytes)
{
    return file_.read({static_cast<std::byte*>(data), sizeBytes});
}

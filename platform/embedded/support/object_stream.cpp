#include "platform/support/object_stream.h"

#include <algorithm>
#include <cstring>

namespace cel {

namespace {

constexpr std::size_t kMagicBytes = 8;

// Each byte is there for a kind of damage: the first has its high bit set, which seven-bit channels
// clear; CR LF and the lone LF change where line ends are converted; 0x1A stops
// a listing on old systems.
constexpr unsigned char kMagic[kMagicBytes] = {0x8B, 'C', 'E', 'L', '\r', '\n', 0x1A, '\n'};

} // namespace

void writeObjectStreamHeader(PStream& stream)
{
    stream.writeBinary(kMagic, kMagicBytes, true, false);
    stream.file().setUnsignedLong(kObjectStreamVersion);
}

ObjectStreamHeader readObjectStreamHeader(PStream& stream)
{
    StreamFile& file = stream.file();
    const auto bytes = file.bytes().subspan(file.position(), file.remaining());
    const auto there = bytes.first(std::min(kMagicBytes, bytes.size()));
    if (!std::equal(there.begin(), there.end(), std::as_bytes(std::span(kMagic)).begin()))
        return ObjectStreamHeader::notAnObjectStream;
    std::uint32_t version = 0;
    if (bytes.size() < kMagicBytes + sizeof(version))
        return ObjectStreamHeader::truncated;
    std::memcpy(&version, bytes.data() + kMagicBytes, sizeof(version));
    if (version == 0)
        return ObjectStreamHeader::notAnObjectStream;
    if (version > kObjectStreamVersion)
        return ObjectStreamHeader::newerVersion;
    file.take(kMagicBytes + sizeof(version));
    return ObjectStreamHeader::ok;
}

} // namespace cel

#pragma once

#include "platform/export.h"
#include "platform/support/PStream.h"

/// The header of an object stream in a file: eight bytes that tell what it is, and the version of
/// the format. Objects follow, layer after layer.

namespace cel {

/// Version of object streams that is written; readers take it and all earlier ones.
inline constexpr std::uint32_t kObjectStreamVersion = 1;

enum class ObjectStreamHeader {
    ok,
    notAnObjectStream, ///< or one that was damaged by a transfer as text
    newerVersion,      ///< written by a later version of this library
    truncated,         ///< a file that ends within its header, also an empty one
};

CEL_PLATFORM_API void writeObjectStreamHeader(PStream& stream);

/// Reads the header that comes next. The stream moves behind it when it is `ok`, else not at all.
CEL_PLATFORM_API ObjectStreamHeader readObjectStreamHeader(PStream& stream);

} // namespace cel

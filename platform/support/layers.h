#pragma once

#include "platform/export.h"
#include "platform/support/PStream.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

/// Framing of the layers in an object stream: name, revision byte, 64-bit length, the bytes, and a
/// CRC-32C over all of that.

namespace cel {

/// The frame of one layer in a stream that is being read.
struct LayerFrame
{
    LightweightString<char> name;
    unsigned char revision = 0;
    std::size_t frameOffset = 0; ///< where the frame begins in the file
    std::size_t bodyOffset = 0;  ///< where the body begins
    std::size_t bodyBytes = 0;   ///< never more than the file holds
    bool checksumMatches = false;
};

/// CRC-32C (Castagnoli) of `bytes`, continuing from an earlier result; 0 starts. One pass at about
/// the speed of memory where the processor has an instruction for it.
CEL_PLATFORM_API std::uint32_t crc32c(std::span<const std::byte> bytes, std::uint32_t start = 0);

/// Writes a layer: `body` writes its bytes and answers with their revision. Layers may stand inside
/// layers. When `body` throws, nothing of the layer stays in the stream.
CEL_PLATFORM_API void writeLayer(PStream& stream, std::string_view name,
                                 const std::function<unsigned char(PStream&)>& body);

/// Name of the layer that comes next; null when the rest of the file does not hold a whole layer.
/// Does not look at the body.
CEL_PLATFORM_API LightweightString<char> nextLayerName(PStream& stream);

/// Name of the layer behind the one that comes next; null when there is none.
CEL_PLATFORM_API LightweightString<char> layerNameBehindNext(PStream& stream);

/// Looks at the frame that comes next without moving: one pass over its body for the checksum. A
/// frame that the rest of the file cannot hold is none.
CEL_PLATFORM_API std::optional<LayerFrame> peekLayer(PStream& stream);

/// Reads the layer that comes next: `body` sees the stream limited to the layer's bytes, and
/// afterwards the stream stands behind the layer, however much `body` read, also when it threw. A
/// checksum that does not match is noted in the stream's damage text; the layer is read all the
/// same.
/// @return false, with a note in the stream's error text, when the next thing is no whole layer of
/// that name; the stream does not move then.
CEL_PLATFORM_API bool readLayer(PStream& stream, std::string_view name,
                                const std::function<void(const LayerFrame&)>& body);

/// Moves behind a layer that nobody wants to read.
CEL_PLATFORM_API void skipLayer(PStream& stream, const LayerFrame& frame);

} // namespace cel

#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/support/GrowString.h"
#include "platform/support/StreamFile.h"

#include <cstddef>
#include <span>

/// The object stream as a class's `pack` and `unpack` see it: the primitives of the `StreamFile`
/// under it, texts, blocks, and the text in which a reader notes what was wrong.
///
/// A text is a 32-bit count of bytes and that many bytes of UTF-8.
class CEL_PLATFORM_API PStream
{
public:
    /// @param file  outlives the stream.
    explicit PStream(StreamFile& file)
        : file_(file)
    {
    }

    StreamFile& file() { return file_; }

    PStream& operator<<(const LightweightString<char>& text);

    /// A count beyond the bytes that are left reads as an empty text and sets the file's fault.
    PStream& operator>>(LightweightString<char>& text);

    /// Writes a block. Raw is exactly `sizeBytes` bytes; otherwise the count comes first, as for
    /// a text. The last argument (compression in other hosts) is accepted and ignored.
    void writeBinary(const void* data, std::size_t sizeBytes, bool raw, bool packed);

    /// Writes a text as `operator<<` does; a size of 0 means the whole text.
    void writeBinary(const LightweightString<char>& text, std::size_t sizeBytes, bool raw,
                     bool packed);

    /// @return the number of bytes read: fewer than asked for at the end of the layer.
    std::size_t readBinary(void* data, std::size_t sizeBytes);

    /// Whether the layer being read has no bytes left.
    bool atEnd() const { return file_.atEnd(); }
    /// Bytes left in the layer being read.
    std::size_t remaining() const { return file_.remaining(); }

    /// What readers found wrong so far; empty when nothing was.
    GrowString& errorText() { return errorText_; }

    /// Layers whose checksum did not match, a line each. Kept apart from the error text, since an
    /// entry there keeps readers from repairing what they read.
    GrowString& damageText() { return damageText_; }

private:
    StreamFile& file_;
    GrowString errorText_;
    GrowString damageText_;
};

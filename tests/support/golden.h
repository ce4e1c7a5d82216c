#pragma once

#include "cel/Cel.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Stored lists as files of hexadecimal text, and their way into and out of a track.
namespace cel::test {

/// The bytes of `tests/data/NAME.hex`: pairs of hexadecimal digits between blanks; from '#' on a
/// line is a comment, and a line `include OTHER` stands for the bytes of another file.
/// @throws std::runtime_error for a missing file or anything else in it.
std::vector<std::byte> hexFile(std::string_view name);

/// A track that was read from the body of a layer, and what the reader had to say.
struct Decoded
{
    Kt::Ptr<Cel> track;
    std::string notes; ///< the stream's error text
};

/// Reads a body as a layer of `revision` into `track`, or into a new one.
/// @throws what the reader throws.
Decoded decode(std::span<const std::byte> body, int revision, Kt::Ptr<Cel> track = {});

/// The body of the layer that a track is written as, and its revision.
struct Encoded
{
    std::vector<std::byte> body;
    int revision = 0;
};
Encoded encode(const Cel& track);

/// A text of hexadecimal bytes, 16 a line, for comparing.
std::string hexText(std::span<const std::byte> bytes);

} // namespace cel::test

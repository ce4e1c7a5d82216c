#pragma once

#include "cel/Cel.h"
#include "interchange/Cut.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// What the targets share. Each target is a function of the fuzzer's name that takes any bytes and
/// returns; whatever must not be ends the process.
namespace cel::fuzz {

using Bytes = std::vector<std::byte>;

/// Numbers drawn from an input, from its last byte on and round again: an input decides on what is
/// done with it, and the front of it is free to be a file.
class Choices
{
public:
    explicit Choices(std::span<const std::byte> input)
        : input_(input)
        , next_(input.size())
    {
    }

    /// 0 to `count` - 1; `count` is 1 to 256.
    unsigned below(unsigned count);

    /// An index of an event, one before the first or one past the last.
    int index(const Cel& track);

    /// An edit time on the track, near an event, outside, or no time at all.
    double time(const Cel& track);

    NumRange<double, Ordered> range(const Cel& track);
    Cookie material();

private:
    std::span<const std::byte> input_;
    std::size_t next_;
};

/// Ends the process, with a reason, unless `holds`.
void require(bool holds, const char* demand);

/// A track from the body of a layer. @return null when the reader refused it.
Kt::Ptr<Cel> decode(std::span<const std::byte> body, unsigned char revision);

/// The body of a track's layer.
Bytes encode(const Cel& track);

/// Asks a track everything that it can be asked.
void examine(const Cel& track, Choices& choices);

/// Does one thing to a track; what it refuses by throwing counts as done.
void edit(const Kt::Ptr<Cel>& track, Choices& choices);

/// Stores a track and reads it back twice over; requires that the second time nothing changes, nor
/// the first time if the track is well-formed.
void requireStableForm(const Cel& track);

/// Stores a cut that was read, and reads it: requires that nothing is found wrong with it.
void requireReadable(const Cut& cut);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

inline std::span<const std::byte> bytesOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const std::byte*>(data), size};
}

} // namespace cel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

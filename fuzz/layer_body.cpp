#include "fuzz/fuzz.h"

/// Any bytes as the body of a track's layer, the first of them as its revision; then edits of
/// whatever came of it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    constexpr unsigned kRevisions = 6;
    constexpr int kEdits = 20;
    constexpr int kLargeTrack = 4096; ///< events; a track put into itself doubles
    if (size == 0)
        return 0;
    const Kt::Ptr<Cel> track =
        decode(bytesOf(data + 1, size - 1), static_cast<unsigned char>(data[0] % kRevisions));
    if (!track)
        return 0;
    Choices choices(bytesOf(data, size));
    examine(*track, choices);
    requireStableForm(*track);
    for (int i = 0; i < kEdits && track->numEvents() < kLargeTrack; ++i)
        edit(track, choices);
    examine(*track, choices);
    requireStableForm(*track);
    return 0;
}

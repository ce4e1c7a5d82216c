#include "fuzz/fuzz.h"

#include "cel/audit.h"
#include "interchange/cel_stream.h"
#include "platform/support/Log.h"
#include "platform/support/layers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cel::fuzz {

namespace {

/// Hostile input makes the library say a lot.
const bool quiet = [] {
    cel::setLogSink([](cel::LogChannel, const std::string&) {});
    return true;
}();

} // namespace

void require(bool holds, const char* demand)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", demand);
    std::abort();
}

Kt::Ptr<Cel> decode(std::span<const std::byte> body, unsigned char revision)
{
    StreamFile file;
    PStream stream(file);
    cel::writeLayer(stream, Cel::shortLayerName().view(), [body, revision](PStream& layer) {
        layer.file().write(body);
        return revision;
    });
    const Kt::Ptr<Cel> track(new Cel(0, 1.0));
    try {
        track->STRM_hierarchyUnpack(stream);
    } catch (const Kt::Exception::Base&) {
        return {};
    }
    require(file.atEnd(), "a reader stands behind its layer");
    return track;
}

Bytes encode(const Cel& track)
{
    StreamFile file;
    PStream stream(file);
    track.STRM_hierarchyPack(stream);
    file.seek(0);
    const auto frame = cel::peekLayer(stream);
    require(frame && frame->checksumMatches, "what is written is one whole layer");
    const auto body = file.bytes().subspan(frame->bodyOffset, frame->bodyBytes);
    return {body.begin(), body.end()};
}

void requireStableForm(const Cel& track)
{
    constexpr unsigned char kRevision = 4;
    constexpr unsigned char kFlatRecords = 3;
    constexpr int kSmallestBlock = 3;
    const Bytes first = encode(track);
    const Bytes second = encode(*decode(first, kRevision));
    const bool inBlocks = track.numEvents() >= kSmallestBlock;
    // Single events are admitted anew when they are read, and are laid on their line twice over
    // before the sign of a zero has settled.
    const Bytes settled = inBlocks ? second : encode(*decode(second, kRevision));
    require(settled == encode(*decode(settled, kRevision)),
            "what was stored and read is stored the same again");

    // Pairs share what they can.
    const bool inFull = inBlocks && track.getChannelEventPackRevision() == kFlatRecords;
    if (inFull && cel::audit(track).empty())
        require(first == second, "a well-formed track is read as it was stored");
}

void requireReadable(const Cut& cut)
{
    std::string error;
    const auto again = cel::readCut(cel::writeCut(cut), error);
    require(again.has_value(), "a cut that was written can be read");
    const auto wellFormed = [](const auto& track) { return cel::audit(*track).empty(); };
    if (std::all_of(cut.tracks.begin(), cut.tracks.end(), wellFormed))
        require(again->findings.empty(), "nothing is wrong with a well-formed cut");
}

} // namespace cel::fuzz

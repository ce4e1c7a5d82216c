#include "fuzz/fuzz.h"
#include "interchange/cel_stream.h"

/// Any bytes as a whole stream of a cut.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    std::string error;
    const auto loaded = cel::readCut(bytesOf(data, size), error);
    require(loaded.has_value() == error.empty(), "a cut or an error, not both");
    if (!loaded)
        return 0;
    Choices choices(bytesOf(data, size));
    for (const auto& track : loaded->cut.tracks)
        examine(*track, choices);
    const auto again = cel::readCut(cel::writeCut(loaded->cut), error);
    require(again.has_value(), "a cut that was written can be read");
    require(!loaded->findings.empty() || again->findings.empty(),
            "nothing is wrong with what was written of a cut without fault");
    return 0;
}

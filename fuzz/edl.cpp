#include "interchange/edl.h"
#include "fuzz/fuzz.h"

/// Any text as an edit list of the CMX3600 kind.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    std::string error;
    const auto imported = cel::importEdl(textOf(data, size), std::nullopt, error);
    require(imported.has_value() == error.empty(), "a cut or an error, not both");
    if (!imported)
        return 0;
    Choices choices(bytesOf(data, size));
    for (const auto& track : imported->cut.tracks)
        examine(*track, choices);
    requireReadable(imported->cut);
    cel::importEdl(cel::exportEdl(imported->cut).text, imported->cut.rate, error);
    return 0;
}

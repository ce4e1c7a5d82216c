#include "fuzz/subtitle_files.h"

/// Any bytes as a WebVTT file.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    std::string error;
    const auto read = cel::readWebVtt(textOf(data, size), error);
    require(read.has_value() == error.empty(), "cues or an error, not both");
    if (read)
        examine(*read);
    return 0;
}

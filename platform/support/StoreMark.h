#pragma once

#include "platform/support/IdStamp.h"

#include <cstdint>

namespace cel {

/// Which store file it is, and which of its states.
struct StoreMark
{
    IdStamp store{0, 0, 0};

    /// Drawn at random with every save, 63 bits. Not counted: a count would come again when an
    /// older copy of the file is put back and saved to.
    std::uint64_t generation = 0;

    bool operator==(const StoreMark&) const = default;
};

} // namespace cel

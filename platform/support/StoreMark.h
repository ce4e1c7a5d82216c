#pragma once

#include "platform/support/IdStamp.h"

#include <cstdint>

namespace cel {

/// Which store file it is, and which of its states: grows by one with every save.
struct StoreMark
{
    IdStamp store{0, 0, 0};
    std::uint64_t generation = 0;

    bool operator==(const StoreMark&) const = default;
};

} // namespace cel

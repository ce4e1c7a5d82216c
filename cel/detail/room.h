#pragma once

#include "cel/ChannelEvent.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace cel::detail {

/// Makes room for a whole track at once and an eighth more, so that the first edits of a loaded or
/// copied track do not move it. Keeps what is there already.
inline void reserveWithRoom(std::vector<ChannelEvent>& events, std::size_t count)
{
    if (count > events.capacity())
        events.reserve(count + count / 8);
}

/// Makes room for `count` more events, growing as a vector grows; afterwards they can be added
/// without a failure.
inline void reserveMore(std::vector<ChannelEvent>& events, std::size_t count)
{
    const std::size_t needed = events.size() + count;
    if (needed > events.capacity())
        events.reserve(std::max(needed, events.size() * 2));
}

} // namespace cel::detail

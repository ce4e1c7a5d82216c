#pragma once

#include "cel/Cel.h"

#include "cel/detail/event_array.h"

/// Takes an event into both counts of a track, or out of them.
inline void Cel::adjustEventCounts(const ChannelEvent& event, bool add)
{
    // A file may have said anything, so the counts wrap rather than overflow.
    const auto adjust = [add](std::int32_t& count, bool counts) {
        const std::uint32_t step = add ? 1U : ~0U;
        count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + (counts ? step : 0U));
    };
    const Cookie cookie = event.strip_name();
    adjust(eventCount_, cel::detail::countsAsMaterial(cookie));
    adjust(blackEventCount_, cookie.isBlack());
}

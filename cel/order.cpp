#include "cel/Cel.h"

#include "cel/inspect.h"
#include "platform/foundation/compare.h"
#include "platform/support/Log.h"

#include <cmath>

bool Cel::checkEventOrder() const
{
    for (std::size_t i = 0; i + 1 < events_.size(); ++i) {
        const double here = events_[i].edit_time();
        const double next = events_[i + 1].edit_time();
        // Kept: inside a section the times must not run back; between two they must not leave a
        // hole.
        const bool inside = i % 2 == 0;
        if (inside ? valGreaterThanVal(here, next) : valGreaterThanVal(next, here))
            return false;
    }
    return true;
}

bool cel::sectionsMeet(const Cel& track)
{
    return track.checkEventOrder();
}

void Cel::fixOutOfOrderEvents()
{
    bool announced = false;
    for (std::size_t i = 1; i < events_.size(); ++i) {
        const double before = events_[i - 1].edit_time();
        ChannelEvent& event = events_[i];
        if (!valLessThanVal(event.edit_time(), before))
            continue;
        if (!announced)
            LogBoth("Cel::unpack() : Fixing out of order events\n");
        announced = true;
        event.strip_time(event.strip_time() + (before - event.edit_time()));
        event.edit_time(before);
    }
}

bool Cel::checkForZeroUtrs() const
{
    for (std::size_t i = 0; i + 1 < events_.size(); i += 2) {
        const ChannelEvent& in = events_[i];
        if (!(std::fabs(events_[i + 1].edit_time() - in.edit_time()) < cel::kTimeEpsilon) ||
            in.strip_name().isBlack())
            continue;
        LogBoth("Warning: While chequerboarding, found non-black zero-length UTR at %.6f in a cel "
                "with %d events, duration %.6f\n",
                in.edit_time(), numEvents(), get_end_time());
        return true;
    }
    return false;
}

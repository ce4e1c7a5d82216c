#include "cel/Cel.h"

#include "cel/detail/event_array.h"
#include "cel/detail/faults.h"

using cel::detail::fail;
using cel::detail::kCelModule;

int Cel::check_ceh(const ce_handle& h) const
{
    return h.its_cel_.get() == this && h.its_cel_id_ == id_ && h.index_ >= 0 &&
           h.index_ < numEvents();
}

ce_handle Cel::handleAt(std::int64_t index) const
{
    // A handle may change the track that it was asked of; const says no more than that asking
    // does not.
    return {const_cast<Cel&>(*this), static_cast<int>(index)};
}

ce_handle Cel::get_start_ceh() const
{
    return events_.empty() ? ce_handle() : handleAt(0);
}

ce_handle Cel::get_end_ceh() const
{
    return events_.empty() ? ce_handle() : handleAt(numEvents() - 1);
}

ce_handle Cel::get_next_ceh(const ce_handle& h, ce_info filter) const
{
    if (!check_ceh(h))
        fail("Cel::get_next_ceh: invalid ce_handle", kCelModule, __LINE__);
    ce_handle next = h.next();
    while (next.valid() && (next.get_ce_info() & filter) == 0)
        ++next.index_;
    return next;
}

ce_handle Cel::get_prev_ceh(const ce_handle& h, ce_info filter) const
{
    if (!check_ceh(h))
        fail("Cel::get_prev_ceh: invalid ce_handle", kCelModule, __LINE__);
    ce_handle previous = h.prev();
    while (previous.valid() && (previous.get_ce_info() & filter) == 0)
        --previous.index_;
    return previous;
}

ce_handle Cel::find_ceh(double t, ce_info filter) const
{
    return handleAt(cel::detail::findEvent(events_, t, filter, -1));
}

void Cel::find_ceh_seeded(ce_handle& h, double t, ce_info filter) const
{
    const bool seeded = check_ceh(h);
    if (!seeded)
        h = handleAt(-1);
    h.index_ = cel::detail::findEvent(events_, t, filter, seeded ? h.index_ : -1);
}

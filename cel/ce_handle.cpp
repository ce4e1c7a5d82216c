#include "cel/ce_handle.h"

#include "cel/Cel.h"
#include "cel/detail/event_array.h"
#include "cel/detail/faults.h"

#include <algorithm>
#include <limits>

using cel::detail::fail;
using cel::detail::kHandleModule;

namespace {

int saturated(std::int64_t index)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<int>(std::clamp<std::int64_t>(index, Limits::min(), Limits::max()));
}

} // namespace

ce_handle::ce_handle() = default;
ce_handle::ce_handle(const ce_handle&) = default;
ce_handle::ce_handle(ce_handle&&) noexcept = default;
ce_handle& ce_handle::operator=(const ce_handle&) = default;
ce_handle& ce_handle::operator=(ce_handle&&) noexcept = default;
ce_handle::~ce_handle() = default;

ce_handle::ce_handle(const Kt::Ptr<Cel>& cel, int index)
    : index_(index)
{
    set_its_cel(cel);
}

ce_handle::ce_handle(Cel& cel, int index)
    : its_cel_(&cel)
    , index_(index)
    , its_cel_id_(cel.getID())
{
}

void ce_handle::set_its_cel(const Kt::Ptr<Cel>& cel)
{
    its_cel_ = cel;
    its_cel_id_ = cel ? cel->getID() : 0;
}

int ce_handle::valid() const
{
    return index_ >= 0 && its_cel_ && its_cel_->getID() == its_cel_id_ &&
           index_ < its_cel_->numEvents();
}

void ce_handle::requireSameIdentity(const char* message) const
{
    if (!its_cel_ || its_cel_->getID() != its_cel_id_)
        fail(message, kHandleModule, __LINE__);
}

void ce_handle::requireLikeHandles(const ce_handle& other, const char* message) const
{
    if (its_cel_id_ != other.its_cel_id_)
        fail(message, kHandleModule, __LINE__);
}

ChannelEvent& ce_handle::event(const char* message) const
{
    if (!valid())
        fail(message, kHandleModule, __LINE__);
    return *its_cel_->getChanEventPtr(index_);
}

Cel& ce_handle::track() const
{
    return its_cel_ ? *its_cel_ : Cel::noTrack();
}

ce_handle ce_handle::at(std::int64_t index) const
{
    ce_handle moved = *this;
    moved.index_ = saturated(index);
    return moved;
}

// ---- movement ---------------------------------------------------------------------------------

ce_handle ce_handle::operator++()
{
    requireSameIdentity("ce_handle::operator++: wrong cel id");
    index_ = saturated(std::int64_t(index_) + 1);
    return *this;
}

ce_handle ce_handle::operator--()
{
    requireSameIdentity("ce_handle::operator--: wrong cel id");
    index_ = saturated(std::int64_t(index_) - 1);
    return *this;
}

ce_handle ce_handle::operator+(int n) const
{
    requireSameIdentity("ce_handle::operator+: wrong cel id");
    return at(std::int64_t(index_) + n);
}

ce_handle ce_handle::operator-(int n) const
{
    requireSameIdentity("ce_handle::operator-: wrong cel id");
    return at(std::int64_t(index_) - n);
}

void ce_handle::increment(ce_info filter)
{
    requireSameIdentity("ce_handle::increment: wrong cel id");
    step(filter, +1);
}

void ce_handle::decrement(ce_info filter)
{
    // Kept: says operator--, as it always did.
    requireSameIdentity("ce_handle::operator--: wrong cel id");
    step(filter, -1);
}

void ce_handle::step(ce_info filter, int by)
{
    const std::span events = std::as_const(*its_cel_).events();
    const auto count = static_cast<std::int64_t>(events.size());
    std::int64_t index = std::int64_t(index_) + by;
    if (filter != any_event)
        while (index >= 0 && index < count &&
               (events[static_cast<std::size_t>(index)].info() & filter) == 0)
            index += by;
    index_ = saturated(index);
}

ce_handle ce_handle::next() const
{
    requireSameIdentity("ce_handle::next: wrong cel id");
    return at(std::int64_t(index_) + 1);
}

ce_handle ce_handle::prev() const
{
    requireSameIdentity("ce_handle::prev: wrong cel id");
    return at(std::int64_t(index_) - 1);
}

ce_handle ce_handle::get_start_ceh() const
{
    requireSameIdentity("ce_handle::get_start_ceh: wrong cel id");
    return its_cel_->get_start_ceh();
}

ce_handle ce_handle::get_end_ceh() const
{
    requireSameIdentity("ce_handle::get_end_ceh: wrong cel id");
    return its_cel_->get_end_ceh();
}

bool ce_handle::is_in_point() const
{
    requireSameIdentity("ce_handle::is_in_point: wrong cel id");
    return get_ce_info() == in_point;
}

bool ce_handle::is_out_point() const
{
    requireSameIdentity("ce_handle::is_out_point: wrong cel id");
    return get_ce_info() == out_point;
}

bool ce_handle::is_level_change() const
{
    requireSameIdentity("ce_handle::is_level_change: wrong cel id");
    return get_ce_info() == level_change;
}

ce_handle ce_handle::matching_in_ceh() const
{
    requireSameIdentity("ce_handle::matching_in_ceh: wrong cel id");
    return valid() ? at(cel::detail::matchingIn(its_cel_->events(), index_)) : *this;
}

ce_handle ce_handle::matching_out_ceh() const
{
    requireSameIdentity("ce_handle::matching_out_ceh: wrong cel id");
    return valid() ? at(cel::detail::matchingOut(its_cel_->events(), index_)) : *this;
}

// ---- comparison -------------------------------------------------------------------------------

bool ce_handle::operator<(const ce_handle& other) const
{
    requireLikeHandles(other, "ce_handle::operator<: have to compare like ce_handles");
    return index_ < other.index_;
}

bool ce_handle::operator<=(const ce_handle& other) const
{
    return *this < other || *this == other;
}

bool ce_handle::operator>(const ce_handle& other) const
{
    requireLikeHandles(other, "ce_handle::operator>: have to compare like ce_handles");
    return index_ > other.index_;
}

bool ce_handle::operator>=(const ce_handle& other) const
{
    requireLikeHandles(other, "ce_handle::operator>=: have to compare like ce_handles");
    return index_ > other.index_ || *this == other;
}

int ce_handle::operator-(const ce_handle& other) const
{
    requireLikeHandles(other, "ce_handle::operator-: have to compare like ce_handles");
    return saturated(std::int64_t(index_) - other.index_);
}

bool ce_handle::operator==(const ce_handle& other) const
{
    return its_cel_id_ == other.its_cel_id_ && index_ == other.index_ && its_cel_ == other.its_cel_;
}

// ---- trim selection ---------------------------------------------------------------------------

void ce_handle::select_trim(trim_type trim)
{
    ChannelEvent& selected = event("ce_handle::select_trim: invalid ce_handle");
    if (selected.get_trim_type() == trim)
        return;
    selected.set_trim(trim);
    its_cel_->make_dirty();
}

void ce_handle::deselect_all_trims()
{
    requireSameIdentity("ce_handle::get_start_ceh: wrong cel id");
    bool changed = false;
    for (int i = 0; i < its_cel_->numEvents(); ++i) {
        ChannelEvent& selected = *its_cel_->getChanEventPtr(i);
        changed |= selected.get_trim_type() != trim_none;
        selected.set_trim(trim_none);
    }
    if (changed)
        its_cel_->make_dirty();
}

ce_handle ce_handle::find_next_trim() const
{
    ce_handle h = next();
    while (h.valid() && h.get_trim_type() == trim_none)
        ++h.index_;
    return h;
}

ce_handle ce_handle::find_next_trim_mark() const
{
    ce_handle h = next();
    const std::span events = std::as_const(*its_cel_).events();
    const auto count = static_cast<int>(events.size());
    int in = h.valid() ? cel::detail::matchingIn(events, h.index_) : -1;
    for (; h.index_ >= 0 && h.index_ < count; ++h.index_) {
        const ChannelEvent& event = events[static_cast<std::size_t>(h.index_)];
        if (event.info() == in_point)
            in = h.index_;
        if (cel::detail::trimMark(event, in < 0 ? nullptr : &events[static_cast<std::size_t>(in)]))
            break;
    }
    return h;
}

int ce_handle::get_trim_mark() const
{
    get_trim_type(); // refuses a handle without an event
    const std::span events = std::as_const(*its_cel_).events();
    const int in = cel::detail::matchingIn(events, index_);
    return cel::detail::trimMark(events[static_cast<std::size_t>(index_)],
                                 in < 0 ? nullptr : &events[static_cast<std::size_t>(in)]);
}

#include "cel/Cel.h"

#include "cel/detail/faults.h"
#include "cel/detail/trims.h"

#include <algorithm>
#include <cmath>

using cel::kTimeEpsilon;
using cel::detail::fail;
using cel::detail::feedsBlack;
using cel::detail::kCelModule;
using cel::detail::RippleTrims;
using cel::detail::TrimScan;
using cel::detail::TrimSelection;

namespace {

/// Takes the trim marks of a track in their order, two by two, and limits an amount to the room
/// that they have.
class TrimLimiter
{
public:
    TrimLimiter(const Cel& track, double d)
        : track_(track)
        , d_(d)
    {
    }

    void addMark(int index)
    {
        if (first_ < 0) {
            first_ = index;
            return;
        }
        limitBefore();
        if (d_ > 0)
            d_ = std::min(d_, edit(index) - edit(index - 1));
        first_ = -1;
    }

    double allowed()
    {
        if (first_ >= 0) {
            const bool rolls = track_.getChanEventPtr(first_)->get_trim_type() == trim_roll_black;
            if (d_ > 0 && rolls)
                d_ = std::min(d_, edit(first_ + 1) - edit(first_));
            limitBefore();
        }
        // Times that are none leave no room that could be told.
        return std::fabs(d_) < kTimeEpsilon || !std::isfinite(d_) ? 0.0 : d_;
    }

private:
    void limitBefore()
    {
        if (d_ < 0 && first_ > 0)
            d_ = std::max(d_, edit(first_ - 1) - edit(first_));
    }

    double edit(int index) const
    {
        const ChannelEvent* event = track_.getChanEventPtr(index);
        if (!event)
            fail("Cel::get_edit_time: invalid ce_handle", kCelModule, __LINE__);
        return event->edit_time();
    }

    const Cel& track_;
    double d_;
    int first_ = -1; ///< mark that waits for its partner
};

} // namespace

double Cel::trim(ce_handle& h, double d, trim_type type)
{
    return trimAux(h, d, type, true);
}

double Cel::trimRaw(ce_handle& h, double d, trim_type type)
{
    return trimAux(h, d, type, false);
}

double Cel::trimAux(ce_handle& h, double d, trim_type type, bool keepFrame)
{
    if (events_.empty())
        return d;
    if (!check_ceh(h))
        fail("Cel::trim: ceh invalid", kCelModule, __LINE__);
    h = h.matching_in_ceh();
    if (!check_ceh(h)) // without an in point in front: the complaint of what is read of it first
        fail(keepFrame ? "Cel::get_edit_time: invalid ce_handle"
                       : "Cel::get_strip_velocity: invalid ce_handle",
             kCelModule, __LINE__);
    if (!std::isfinite(d))
        return 0.0;
    if (keepFrame) {
        // A section shorter than a frame is lengthened to one, whatever was asked for.
        const double shortest =
            h.get_edit_time() - h.matching_out_ceh().get_edit_time() + resolution_;
        d = std::max(d, shortest);
        if (std::fabs(d) < kTimeEpsilon)
            return d;
        if (!std::isfinite(d))
            return 0.0;
    }

    RippleTrims(events_).trim(static_cast<std::size_t>(h.index_), d, type);
    dirty_ = 1;
    return d;
}

double Cel::feedInBlack(ce_handle& h, double d)
{
    if (!check_ceh(h))
        fail("Cel::feedInBlack: invalid ceh", kCelModule, __LINE__);
    h = h.matching_in_ceh();
    if (!check_ceh(h))
        fail("Cel::feedInBlack: invalid ceh", kCelModule, __LINE__);
    if (feedsBlack(h.get_trim_type()))
        dirty_ = 1;
    return RippleTrims(events_).feedBlack(static_cast<std::size_t>(h.index_), d);
}

double Cel::do_trim_test(double d)
{
    return scanTrims(d).allowed;
}

ce_handle Cel::findFirstTrim()
{
    const ce_handle h = get_start_ceh();
    return events_.empty() || h.get_trim_type() != trim_none ? h : h.find_next_trim();
}

ce_handle Cel::findFirstTrimMark()
{
    const ce_handle h = get_start_ceh();
    return events_.empty() || h.get_trim_mark() != 0 ? h : h.find_next_trim_mark();
}

void Cel::deselect_all_trims()
{
    if (!events_.empty())
        get_start_ceh().deselect_all_trims();
}

TrimScan Cel::scanTrims(double d) const
{
    TrimScan scan;
    TrimLimiter limiter(*this, std::isfinite(d) ? d : 0.0);
    const auto isSelected = [](const ChannelEvent& event) {
        return event.get_trim_type() != trim_none;
    };
    // Only a section with a selection has marks, up to the next in point.
    for (int next = 0; next < numEvents();) {
        const auto found = std::find_if(events_.begin() + next, events_.end(), isSelected);
        if (found == events_.end())
            break;
        const auto selected = static_cast<int>(found - events_.begin());
        const int in = cel::detail::matchingIn(events_, selected);
        const int end = cel::detail::nextIn(events_, selected + 1);
        for (int i = std::max(in, next); i < end; ++i) {
            const ChannelEvent& event = events_[static_cast<std::size_t>(i)];
            if (isSelected(event))
                scan.selected.push_back({i, in, event.get_trim_type()});
            if (cel::detail::trimMark(event, in < 0 ? nullptr : &events_[std::size_t(in)]))
                limiter.addMark(i);
        }
        next = end;
    }
    scan.allowed = limiter.allowed();
    return scan;
}

double Cel::do_trim(double d)
{
    if (!std::isfinite(d))
        return 0.0;
    const TrimScan scan = scanTrims(d);
    if (scan.selected.empty())
        return scan.allowed;
    // The first selection stands for itself: what is wrong with it is found before any other moves
    // an event, since only those in front of all sections have none.
    const TrimSelection& first = scan.selected.front();
    if (scan.selected.size() == 1 || first.in < 0) {
        ce_handle in = handleAt(first.index).matching_in_ceh();
        if (feedsBlack(first.type))
            feedInBlack(in, scan.allowed);
        else
            trimAux(in, scan.allowed, first.type, false);
        return scan.allowed;
    }

    RippleTrims trims(events_);
    for (const TrimSelection& selected : scan.selected) {
        const auto in = static_cast<std::size_t>(selected.in);
        const bool feeds = feedsBlack(selected.type);
        if (feeds)
            trims.feedBlack(in, scan.allowed);
        else
            trims.trim(in, scan.allowed, selected.type);
        if (!feeds || feedsBlack(events_[in].get_trim_type()))
            dirty_ = 1;
    }
    return scan.allowed;
}

#include "cel/Cel.h"

#include "cel/detail/event_array.h"
#include "cel/detail/faults.h"

#include <algorithm>
#include <cmath>

using cel::kTimeEpsilon;
using cel::detail::fail;
using cel::detail::kCelModule;

namespace {

/// How far a black may be fed in at the head of a track.
constexpr double kUnlimitedFeed = -10000000.0;

bool feedsBlack(trim_type trim)
{
    return trim == trim_black || trim == trim_roll_black;
}

/// Lays a section that was trimmed by `d`: with `trim_start` the material before its in point
/// appears or goes, else its end moves.
void trimSection(std::span<ChannelEvent> section, double d, trim_type type)
{
    ChannelEvent& in = section.front();
    const double speed = cel::detail::effectiveSpeed(in);
    if (type == trim_start)
        in.strip_time(in.strip_time() - speed * d);
    cel::detail::shiftEditTimes(section.subspan(1), d);
    cel::detail::layOnStripLine(section, speed);
}

/// How far the in point may move before it meets the event in front of it, as a negative amount.
double roomForBlack(cel::detail::ConstEventSpan events, std::size_t in)
{
    return in == 0 ? kUnlimitedFeed : events[in - 1].edit_time() - events[in].edit_time();
}

/// Moves the in point that begins the span by its own black selection, with `trim_black` all that
/// follows too. @return whether what follows the span is to move along.
bool feedBlack(std::span<ChannelEvent> section, double d)
{
    ChannelEvent& in = section.front();
    const bool all = in.get_trim_type() == trim_black;
    if (all) {
        cel::detail::shiftEditTimes(section, d);
    } else if (in.get_trim_type() == trim_roll_black) {
        in.edit_time(in.edit_time() + d);
        in.strip_time(in.strip_time() + d);
    }
    return all;
}

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
        return std::fabs(d_) < kTimeEpsilon ? 0.0 : d_;
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
    if (!check_ceh(h))
        fail("Cel::trim: ceh invalid", kCelModule, __LINE__);
    if (!std::isfinite(d))
        return 0.0;
    if (keepFrame) {
        // A section shorter than a frame is lengthened to one, whatever was asked for.
        const double shortest =
            h.get_edit_time() - h.matching_out_ceh().get_edit_time() + resolution_;
        d = std::max(d, shortest);
        if (std::fabs(d) < kTimeEpsilon)
            return d;
    }

    const int last = std::min(cel::detail::matchingOut(events_, h.index_), numEvents() - 1);
    const std::span events(events_);
    const auto first = static_cast<std::size_t>(h.index_);
    const auto length = static_cast<std::size_t>(last - h.index_) + 1;
    trimSection(events.subspan(first, length), d, type);
    cel::detail::shiftEditTimes(events.subspan(first + length), d);
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
    const auto in = static_cast<std::size_t>(h.index_);
    const double fed = std::max(d, roomForBlack(events_, in));
    const std::span fromHere = std::span(events_).subspan(in);
    if (feedsBlack(fromHere.front().get_trim_type()))
        dirty_ = 1;
    feedBlack(fromHere, fed);
    return fed;
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

Cel::TrimScan Cel::scanTrims(double d) const
{
    TrimScan scan;
    TrimLimiter limiter(*this, std::isfinite(d) ? d : 0.0);
    const ChannelEvent* in = nullptr;
    bool insideSection = false;
    for (int i = 0; i < numEvents(); ++i) {
        const ChannelEvent& event = events_[static_cast<std::size_t>(i)];
        const ce_info kind = event.info();
        if (kind == in_point) {
            scan.onlyWholeSections &= !insideSection;
            insideSection = true;
            in = &event;
        }
        if (event.get_trim_type() != trim_none) {
            scan.selected.push_back(i);
            scan.onlyWholeSections &= insideSection;
        }
        if (cel::detail::trimMark(event, in))
            limiter.addMark(i);
        if (kind == out_point)
            insideSection = false;
    }
    scan.onlyWholeSections &= !insideSection;
    scan.allowed = limiter.allowed();
    return scan;
}

double Cel::do_trim(double d)
{
    if (!std::isfinite(d))
        return 0.0;
    const TrimScan scan = scanTrims(d);
    if (scan.onlyWholeSections)
        trimSelectedSections(scan);
    else
        trimOneByOne(scan);
    return scan.allowed;
}

void Cel::trimOneByOne(const TrimScan& scan)
{
    if (!scan.selected.empty() && cel::detail::matchingIn(events_, scan.selected.front()) < 0) {
        const ChannelEvent& first = events_[static_cast<std::size_t>(scan.selected.front())];
        fail(feedsBlack(first.get_trim_type()) ? "Cel::feedInBlack: invalid ceh"
                                               : "Cel::trim: ceh invalid",
             kCelModule, __LINE__);
    }
    for (const int selected : scan.selected) {
        ce_handle in = handleAt(selected).matching_in_ceh();
        const trim_type type = events_[static_cast<std::size_t>(selected)].get_trim_type();
        if (feedsBlack(type))
            feedInBlack(in, scan.allowed);
        else
            trimAux(in, scan.allowed, type, false);
    }
}

void Cel::trimSelectedSections(const TrimScan& scan)
{
    // One pass: what all trims before a section moved it by is added once.
    const std::span events(events_);
    double offset = 0.0;
    std::size_t moved = 0;
    const auto moveUpTo = [&](std::size_t end) {
        if (end <= moved)
            return;
        if (offset != 0.0)
            cel::detail::shiftEditTimes(events.subspan(moved, end - moved), offset);
        moved = end;
    };
    for (const int selected : scan.selected) {
        const auto in = static_cast<std::size_t>(cel::detail::matchingIn(events_, selected));
        const auto end = static_cast<std::size_t>(cel::detail::matchingOut(events_, selected)) + 1;
        moveUpTo(end);
        const std::span section = events.subspan(in, end - in);
        const trim_type type = events[static_cast<std::size_t>(selected)].get_trim_type();
        if (feedsBlack(type)) {
            const double fed = std::max(scan.allowed, roomForBlack(events_, in));
            if (feedsBlack(section.front().get_trim_type()))
                dirty_ = 1;
            offset += feedBlack(section, fed) ? fed : 0.0;
        } else {
            trimSection(section, scan.allowed, type);
            offset += scan.allowed;
            dirty_ = 1;
        }
    }
    moveUpTo(events.size());
}

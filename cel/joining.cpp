#include "cel/Cel.h"

#include "cel/detail/Additions.h"
#include "cel/detail/faults.h"
#include "cel/detail/room.h"
#include "platform/foundation/compare.h"
#include "platform/support/Log.h"

#include <cmath>

using cel::kEndlessTime;
using cel::kTimeEpsilon;
using cel::detail::fail;
using cel::detail::kCelModule;

namespace {

/// Sum of two counts. Files may have said anything, so it wraps rather than overflow.
std::int32_t sumOfCounts(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

} // namespace

Kt::Ptr<Cel> Cel::emptyTrackFor(std::size_t events) const
{
    Kt::Ptr<Cel> track(new Cel(0, resolution_));
    cel::detail::reserveWithRoom(track->events_, events);
    return track;
}

Kt::Ptr<Cel> Cel::copy() const
{
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size());
    const auto eventAt = [this](std::size_t i) -> const ChannelEvent& { return events_[i]; };
    const auto asItIs = [](ChannelEvent&, std::size_t) {};
    track->addEvents(events_.size(), eventAt, asItIs, cel::detail::leaveRefused);
    return track;
}

void Cel::slide(double offset)
{
    // Kept: does not make the track dirty.
    if (std::isfinite(offset))
        cel::detail::shiftEditTimes(events_, offset);
}

void Cel::weld(Cel* other, double offset)
{
    if (!(offset >= -kTimeEpsilon))
        fail("Cel::join: offset must be greater than zero", kCelModule, __LINE__);
    if (!other)
        return;
    // Kept: by the length of the track, not by its end, also when it does not begin at 0.
    const double shift = (events_.empty() ? 0.0 : get_end_time() - get_start_time()) + offset;
    const std::size_t count = other->events_.size();
    cel::detail::reserveMore(events_, count);
    const auto eventAt = [other](std::size_t i) -> const ChannelEvent& {
        return other->events_[i];
    };
    const auto moveBehind = [shift](ChannelEvent& event, std::size_t) {
        event.edit_time(event.edit_time() + shift);
    };
    addEvents(count, eventAt, moveBehind, cel::detail::leaveRefused);
}

Kt::Ptr<Cel> Cel::appendCel(const Kt::Ptr<Cel>& other) const
{
    const std::size_t added = other ? other->events_.size() : 0;
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size() + added);
    track->events_.assign(events_.begin(), events_.end());
    track->eventCount_ = eventCount_;
    track->blackEventCount_ = blackEventCount_;
    if (other) {
        track->events_.insert(track->events_.end(), other->events_.begin(), other->events_.end());
        track->eventCount_ = sumOfCounts(eventCount_, other->eventCount_);
        track->blackEventCount_ = sumOfCounts(blackEventCount_, other->blackEventCount_);
    }
    return track;
}

Kt::Ptr<Cel> Cel::add_black_to_ends(int which, char type) const
{
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size() + 4);
    const Cookie black = Cookie::typeFromChar(type) == kAudioCookie ? audio_black : video_black;
    const auto addBlackAt = [&](double t) {
        for (const ce_info kind : {in_point, out_point})
            track->addEvent(ChannelEvent(t, 0.0, black, 1.0F, kind, IdStamp(0, 0, 0), 0));
    };
    if (which & kBlackAtStart)
        addBlackAt(get_start_time());
    for (const ChannelEvent& event : events_)
        track->addEvent(event);
    if ((which & kBlackAtEnd) && !events_.empty())
        addBlackAt(get_end_time());
    return track;
}

// ---- overlay ----------------------------------------------------------------------------------

Kt::Ptr<Cel> Cel::overlay(const Kt::Ptr<Cel>& other, bool copyTheirObjects) const
{
    if (!other)
        return copy();
    Kt::Ptr<Cel> track;
    if (events_.empty() || get_end_time() == get_start_time())
        track = other->copy();
    else if (other->events_.empty())
        track = copy();
    else if (other->get_start_time() + kTimeEpsilon >= get_end_time())
        track = appendCel(other);
    else
        return merge(*other, copyTheirObjects);
    if (copyTheirObjects)
        track->copyObjects();
    return track;
}

namespace {

/// One of the two tracks that are merged: where it stands, and the events it supplies.
class MergeSide
{
public:
    MergeSide(std::span<const ChannelEvent> events, bool copyObjects)
        : events_(events)
        , copyObjects_(copyObjects)
    {
    }

    bool exhausted() const { return next_ == events_.size(); }
    double time() const { return exhausted() ? kEndlessTime : events_[next_].edit_time(); }

    /// Adds the next event and those at the same time behind it.
    void supplyRun(Cel& track)
    {
        const double latest = time() + kTimeEpsilon;
        do {
            track.addEvent(take());
        } while (!exhausted() && latest >= time());
    }

private:
    ChannelEvent take()
    {
        ChannelEvent event = events_[next_++];
        if (event.info() & in_point) {
            copied_ = copyObjects_ && event.copyObjects();
            material_ = event.strip_name();
        } else if (copied_) {
            event.strip_name(material_);
        }
        return event;
    }

    std::span<const ChannelEvent> events_;
    bool copyObjects_;
    std::size_t next_ = 0;
    bool copied_ = false;
    Cookie material_;
};

} // namespace

Kt::Ptr<Cel> Cel::merge(const Cel& other, bool copyTheirObjects) const
{
    Kt::Ptr<Cel> track = emptyTrackFor(events_.size() + other.events_.size());
    MergeSide own(events_, false);
    MergeSide theirs(other.events_, copyTheirObjects);
    while (!own.exhausted() || !theirs.exhausted()) {
        const bool both = !own.exhausted() && !theirs.exhausted();
        if (both && valEqualsVal(own.time(), theirs.time())) {
            vond_printf("Cel::overlay: failed because %lg and %lg\n", own.time(), theirs.time());
            return {};
        }
        const bool ownFirst = both ? own.time() < theirs.time() : theirs.exhausted();
        (ownFirst ? own : theirs).supplyRun(*track);
    }
    return track;
}

// ---- objects of events ------------------------------------------------------------------------

bool Cel::changeObjects(bool (ChannelEvent::*change)())
{
    bool any = false;
    bool sectionChanged = false;
    Cookie material;
    for (ChannelEvent& event : events_) {
        if (event.info() & in_point) {
            sectionChanged = (event.*change)();
            material = event.strip_name();
            any |= sectionChanged;
        } else if (sectionChanged) {
            event.strip_name(material);
        }
    }
    if (any)
        dirty_ = 1;
    return any;
}

bool Cel::copyObjects()
{
    return changeObjects(&ChannelEvent::copyObjects);
}

bool Cel::deleteObjects()
{
    return changeObjects(&ChannelEvent::deleteObjects);
}

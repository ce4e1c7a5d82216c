#include "cel/Cel.h"

#include "cel/detail/Compaction.h"
#include "cel/detail/Qualifies.h"
#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <algorithm>

using cel::kTimeEpsilon;
using cel::detail::BlackGap;
using cel::detail::isAfter;
using cel::detail::Qualifies;

namespace {

/// Whether a section ends with the first event and the next begins with the second.
bool isCut(const ChannelEvent& out, const ChannelEvent& in)
{
    return out.info() == out_point && in.info() == in_point;
}

bool bothBlack(const ChannelEvent& out, const ChannelEvent& in)
{
    return out.strip_name().isBlack() && in.strip_name().isBlack();
}

bool isHole(const ChannelEvent& out, const ChannelEvent& in)
{
    return isAfter(in.edit_time(), out.edit_time());
}

} // namespace

// ---- joining black -----------------------------------------------------------------------------

/// The pass that merges black with black and lets it grow over holes. However many sections become
/// one, each of their events is looked at and laid once.
class Cel::BlackJoining
{
public:
    BlackJoining(Cel& track, RemovedObjects& removed)
        : track_(track)
        , events_(track.events_)
        , pass_(track, removed)
    {
    }

    void run(const Qualifies& qualifies)
    {
        while (pass_.read < events_.size()) {
            const bool atCut = pass_.write > 0 && isCut(lastOut(), nextIn());
            if (!atCut || !qualifies(lastOut().edit_time()) || !join())
                keep(1);
        }
    }

private:
    ChannelEvent& lastOut() { return events_[pass_.write - 1]; }
    ChannelEvent& nextIn() { return events_[pass_.read]; }

    bool join();
    void mergeNext(std::size_t length);
    void keep(std::size_t count);
    void layUpToHere();

    Cel& track_;
    std::vector<ChannelEvent>& events_;
    Compaction pass_;
    std::size_t in_ = 0; ///< in point of the section that the last kept event belongs to
    bool hasIn_ = false;
    std::size_t laidTo_ = 0; ///< its events in front of this are black at normal speed already
};

/// @return whether there was black to join at the cut.
bool Cel::BlackJoining::join()
{
    const auto end =
        static_cast<std::size_t>(cel::detail::matchingOut(events_, static_cast<int>(pass_.read)));
    if (!hasIn_ || end == events_.size())
        return false;
    const std::size_t length = end + 1 - pass_.read;
    if (bothBlack(lastOut(), nextIn())) {
        mergeNext(length);
    } else if (!isHole(lastOut(), nextIn())) {
        return false;
    } else if (lastOut().strip_name().isBlack()) {
        lastOut().edit_time(nextIn().edit_time());
        laidTo_ = std::min(laidTo_, pass_.write - 1);
    } else if (nextIn().strip_name().isBlack()) {
        nextIn().edit_time(lastOut().edit_time());
        keep(length);
    } else {
        return false;
    }
    layUpToHere();
    track_.dirty_ = 1;
    return true;
}

/// The section that comes next goes on in the one in front of it, the cut between them goes.
void Cel::BlackJoining::mergeNext(std::size_t length)
{
    track_.adjustEventCounts(lastOut(), false);
    laidTo_ = std::min(laidTo_, --pass_.write);
    pass_.drop(1);
    pass_.keep(length - 1);
    lastOut().strip_name(events_[in_].strip_name());
}

void Cel::BlackJoining::keep(std::size_t count)
{
    for (; count > 0; --count) {
        if (nextIn().info() == in_point) {
            in_ = laidTo_ = pass_.write;
            hasIn_ = true;
        }
        pass_.keep(1);
    }
}

void Cel::BlackJoining::layUpToHere()
{
    const ChannelEvent& in = events_[in_];
    for (; laidTo_ < pass_.write; ++laidTo_) {
        ChannelEvent& event = events_[laidTo_];
        event.velocity(1.0F);
        event.strip_time((event.edit_time() - in.edit_time()) + in.strip_time());
    }
}

// ---- simplification ---------------------------------------------------------------------------

bool Cel::canSimplifyBlack() const
{
    if (pendingInIndex_ != -1)
        return false;
    for (std::size_t i = 0; i + 1 < events_.size(); ++i)
        if (isCut(events_[i], events_[i + 1]) &&
            (bothBlack(events_[i], events_[i + 1]) || isHole(events_[i], events_[i + 1])))
            return true;
    return false;
}

void Cel::simplifyBlack(const Range& range)
{
    std::vector<BlackGap> holes;
    const Cookie black = getBlackCookie();
    RemovedObjects removed(*this);
    closeBlack(range, black, removed, holes);
}

void Cel::closeBlack(const Range& range, const Cookie& black, RemovedObjects& removed,
                     std::vector<BlackGap>& holes)
{
    if (!canSimplifyBlack())
        return;
    // All room is made before anything changes.
    const Qualifies qualifies(range);
    collectHoles(qualifies, black, holes);
    cel::detail::reserveMore(events_, 2 * holes.size());

    BlackJoining(*this, removed).run(qualifies);
    collectHoles(qualifies, black, holes);
    fillGaps(holes);
}

void Cel::collectHoles(const Qualifies& qualifies, const Cookie& black,
                       std::vector<BlackGap>& holes) const
{
    holes.clear();
    for (std::size_t i = 0; i + 1 < events_.size(); ++i) {
        const ChannelEvent& out = events_[i];
        const ChannelEvent& in = events_[i + 1];
        if (isCut(out, in) && isHole(out, in) && qualifies(out.edit_time()) &&
            !out.strip_name().isBlack() && !in.strip_name().isBlack())
            holes.push_back({i, black, false});
    }
}

Kt::Ptr<Cel> Cel::simplify_black(const Range& range) const
{
    Kt::Ptr<Cel> track = copy();
    track->simplifyBlack(range);
    return track;
}

// ---- predicates -------------------------------------------------------------------------------

bool Cel::is_empty() const
{
    return events_.empty();
}

bool Cel::is_black(const Range& range) const
{
    const Qualifies qualifies(range);
    const bool any = std::any_of(events_.begin(), events_.end(), [&](const ChannelEvent& event) {
        return qualifies(event.edit_time());
    });
    return any && contains_only_black(range);
}

bool Cel::contains_only_black(const Range& range) const
{
    const Qualifies qualifies(range);
    return std::none_of(events_.begin(), events_.end(), [&](const ChannelEvent& event) {
        return qualifies(event.edit_time()) && !event.strip_name().isBlack();
    });
}

bool Cel::isEmpty(const Range& range) const
{
    const bool whole = range == Editable::invalidRange();
    return !anyMaterial([&](double start, double end) {
        const double overlap =
            whole ? end - start : std::min(end, range.end()) - std::max(start, range.start());
        return overlap > kTimeEpsilon;
    });
}

bool Cel::is_essentially_empty() const
{
    return isEmpty(Editable::invalidRange());
}

template <class Test>
bool Cel::anyMaterial(const Test& test) const
{
    std::size_t out = 0;
    for (std::size_t i = 0; i < events_.size(); ++i) {
        const ChannelEvent& in = events_[i];
        if (in.info() != in_point || in.strip_name().isBlack())
            continue;
        if (out <= i)
            out = static_cast<std::size_t>(cel::detail::matchingOut(events_, static_cast<int>(i)));
        if (out < events_.size() && test(in.edit_time(), events_[out].edit_time()))
            return true;
    }
    return false;
}

#include "cel/Cel.h"

#include "cel/detail/Compaction.h"
#include "cel/detail/Qualifies.h"
#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <algorithm>

using cel::kTimeEpsilon;
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

/// Lays a section of black at normal speed from its in point on.
void layBlack(std::span<ChannelEvent> section)
{
    for (ChannelEvent& event : section)
        event.velocity(1.0F);
    cel::detail::layOnStripLine(section, 1.0);
}

} // namespace

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
    if (!canSimplifyBlack())
        return;
    // All room is made before anything changes.
    const Qualifies qualifies(range);
    std::vector<BlackGap> holes;
    collectHoles(qualifies, holes);
    cel::detail::reserveMore(events_, 2 * holes.size());

    Compaction pass(*this);
    while (pass.read < events_.size()) {
        const bool atCut = pass.write > 0 && isCut(events_[pass.write - 1], events_[pass.read]);
        if (atCut && qualifies(events_[pass.write - 1].edit_time()))
            joinBlack(pass);
        else
            pass.keep(1);
    }
    pass.finish();
    collectHoles(qualifies, holes);
    fillGaps(holes);
    pass.destroyRemoved();
}

void Cel::collectHoles(const Qualifies& qualifies, std::vector<BlackGap>& holes) const
{
    holes.clear();
    for (std::size_t i = 0; i + 1 < events_.size(); ++i) {
        const ChannelEvent& out = events_[i];
        const ChannelEvent& in = events_[i + 1];
        if (isCut(out, in) && isHole(out, in) && qualifies(out.edit_time()) &&
            !out.strip_name().isBlack() && !in.strip_name().isBlack())
            holes.push_back({i, getBlackCookie(), false});
    }
}

void Cel::joinBlack(Compaction& pass)
{
    ChannelEvent& out = events_[pass.write - 1];
    ChannelEvent& in = events_[pass.read];
    const std::size_t length =
        static_cast<std::size_t>(cel::detail::matchingOut(events_, static_cast<int>(pass.read))) +
        1 - pass.read;
    const int sectionBefore = cel::detail::matchingIn(events_, static_cast<int>(pass.write) - 1);
    const bool whole = sectionBefore >= 0 && pass.read + length <= events_.size();
    const bool extendsBackwards = isHole(out, in) && in.strip_name().isBlack();

    auto first = static_cast<std::size_t>(std::max(sectionBefore, 0));
    if (whole && bothBlack(out, in)) {
        adjustEventCounts(out, false);
        --pass.write;
        pass.drop(1);
        pass.keep(length - 1);
        events_[pass.write - 1].strip_name(events_[first].strip_name());
    } else if (whole && isHole(out, in) && out.strip_name().isBlack()) {
        out.edit_time(in.edit_time());
    } else if (whole && extendsBackwards) {
        first = pass.write;
        in.edit_time(out.edit_time());
        pass.keep(length);
    } else {
        pass.keep(1);
        return;
    }
    layBlack(std::span(events_).subspan(first, pass.write - first));
    dirty_ = 1;
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

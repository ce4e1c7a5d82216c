#include "cel/Cel.h"

#include "cel/detail/Compaction.h"
#include "cel/detail/Qualifies.h"
#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"
#include "platform/foundation/compare.h"

#include <algorithm>

using cel::kTimeEpsilon;
using cel::detail::BlackGap;
using cel::detail::Qualifies;

bool Cel::simplify(Simplification::eType type, const Range& range)
{
    const std::size_t before = events_.size();
    switch (type) {
    case Simplification::kAll:
        simplifyAll(range);
        break;
    case Simplification::kZeroLength:
        simplifyZeroLengthSections(range);
        break;
    case Simplification::kBlack:
        simplifyBlack(range);
        break;
    case Simplification::kQuantiseInPlace:
        quantiseInPlace();
        break;
    case Simplification::kMatchFrameCuts:
        simplifyMatchFrameCuts(range);
        break;
    }
    // Kept: events that only moved are no change.
    return events_.size() != before;
}

void Cel::simplifyAll(const Range& range)
{
    // All room that any of the steps may need comes first, then nothing fails in the middle.
    RemovedObjects removed(*this);
    std::vector<BlackGap> gaps;
    gaps.reserve(mostGaps());
    cel::detail::reserveMore(events_, 2 * gaps.capacity());

    dropZeroLengthSections(range, removed);
    closeBlack(range, getBlackCookie(), removed, gaps);
    mergeCuts(
        range, [this](std::size_t out) { return isMatchFrameCut(int(out)); }, removed);
    // Kept: the whole track, whatever the range.
    tidyGaps(Editable::invalidRange(), gaps);
    tidyBlackVelocities();
    quantiseInPlace();
}

/// The gaps that simplifications of the track may come to fill, at most.
std::size_t Cel::mostGaps() const
{
    std::size_t gaps = 0;
    for (std::size_t i = 0; i < events_.size(); ++i) {
        const ChannelEvent& event = events_[i];
        // Where in and out points do not take turns the tidying pairs events by index, so that
        // any two of them may have a gap between.
        if (event.info() != (i % 2 == 0 ? in_point : out_point))
            return events_.size() / 2;
        const bool hole = i > 0 && i % 2 == 0 && event.edit_time() > events_[i - 1].edit_time();
        if (hole || (i % 2 == 0 && event.strip_name().isEffect()))
            ++gaps;
    }
    return gaps;
}

// ---- sections of no length --------------------------------------------------------------------

void Cel::simplifyZeroLengthSections(const Range& range)
{
    RemovedObjects removed(*this);
    dropZeroLengthSections(range, removed);
}

void Cel::dropZeroLengthSections(const Range& range, RemovedObjects& removed)
{
    const Qualifies qualifies(range);
    // One pass: what stays moves up over what went, earlier by the length of all that went.
    Compaction pass(*this, removed);
    while (pass.read + 1 < events_.size()) {
        ChannelEvent in = events_[pass.read];
        ChannelEvent out = events_[pass.read + 1];
        in.edit_time(in.edit_time() + pass.shift);
        out.edit_time(out.edit_time() + pass.shift);
        if (qualifies(in.edit_time()) && in.sub_frame_cut(out, kTimeEpsilon) &&
            !bordersEffects(pass.write, pass.read)) {
            pass.drop(2);
            pass.shift += in.edit_time() - out.edit_time();
        } else {
            pass.keep(2);
        }
    }
}

bool Cel::bordersEffects(std::size_t kept, std::size_t index) const
{
    // `kept` events stand in front of the section; behind it nothing was taken out yet.
    const bool isFirst = kept < 2;
    const bool isLast = index + 2 >= events_.size();
    const bool effectBefore = !isFirst && events_[kept - 1].strip_name().isEffect();
    const bool effectBehind = !isLast && events_[index + 2].strip_name().isEffect();
    if (isFirst)
        return effectBehind;
    return isLast ? effectBefore : effectBefore && effectBehind;
}

// ---- cuts after which the same material plays on ------------------------------------------------

void Cel::simplifyMatchFrameCuts(const Range& range)
{
    RemovedObjects removed(*this);
    mergeCuts(
        range, [this](std::size_t out) { return isMatchFrameCut(int(out)); }, removed);
}

template <class IsNeedless>
void Cel::mergeCuts(const Range& range, const IsNeedless& isNeedless, RemovedObjects& removed)
{
    if (events_.size() < 3)
        return;
    const Qualifies qualifies(range);
    Compaction pass(*this, removed);
    pass.keep(2);
    while (pass.read + 1 < events_.size()) {
        // The test reads both sections around the cut where they will stand.
        const std::size_t out = pass.write - 1;
        pass.bringUp(2);
        if (qualifies(events_[out].edit_time()) && isNeedless(out)) {
            // What goes is the cut: the out point in front of it and the in point behind it.
            std::swap(events_[out], events_[pass.read + 1]);
            pass.drop(2);
        } else {
            pass.settle(2);
        }
    }
}

// ---- tidying ------------------------------------------------------------------------------------

void Cel::simplifyTidy(const Range& range)
{
    std::vector<BlackGap> gaps;
    tidyGaps(range, gaps);
}

void Cel::tidyGaps(const Range& range, std::vector<BlackGap>& gaps)
{
    const Qualifies qualifies(range);
    gaps.clear();
    for (std::size_t out = 1; out + 2 < events_.size(); out += 2) {
        const ChannelEvent& before = events_[out];
        const ChannelEvent& next = events_[out + 1];
        const bool meet = valEqualsVal(before.edit_time(), next.edit_time());
        const bool effects = before.strip_name().isEffect() && next.strip_name().isEffect();
        if (!qualifies(next.edit_time()) ||
            (meet ? !effects : !(next.edit_time() > before.edit_time())))
            continue;
        const bool sound = before.strip_name().type() == kAudioCookie;
        gaps.push_back({out, sound ? audio_black : video_black, meet});
    }
    fillGaps(gaps);
}

void Cel::fillGaps(const std::vector<BlackGap>& gaps)
{
    if (gaps.empty())
        return;
    // From the end, so that every event moves once and to its final place.
    cel::detail::reserveMore(events_, 2 * gaps.size());
    std::size_t read = events_.size();
    events_.insert(events_.end(), 2 * gaps.size(), events_.back());
    std::size_t write = events_.size();
    for (auto gap = gaps.rbegin(); gap != gaps.rend(); ++gap) {
        const std::size_t behind = gap->out + 1;
        std::move_backward(events_.begin() + static_cast<std::ptrdiff_t>(behind),
                           events_.begin() + static_cast<std::ptrdiff_t>(read),
                           events_.begin() + static_cast<std::ptrdiff_t>(write));
        write -= read - behind;
        read = behind;
        const double start = events_[gap->out].edit_time();
        const double end = gap->empty ? start : events_[write].edit_time();
        const auto [in, out] = cel::detail::blackSection(gap->black, start, end);
        events_[--write] = out;
        events_[--write] = in;
        adjustEventCounts(in, true);
        adjustEventCounts(out, true);
        if (pendingInIndex_ >= static_cast<std::int32_t>(behind))
            pendingInIndex_ += 2;
    }
    dirty_ = 1;
}

void Cel::tidyBlackVelocities()
{
    for (std::size_t i = 0; i + 1 < events_.size(); ++i) {
        ChannelEvent& in = events_[i];
        ChannelEvent& out = events_[i + 1];
        if (!in.strip_name().isBlack() || in.strip_name().compare(out.strip_name()) != 0 ||
            in.info() != in_point || out.info() != out_point)
            continue;
        const double strip = in.strip_time() + (out.edit_time() - in.edit_time());
        if (in.velocity() == 1.0F && out.velocity() == 1.0F && out.strip_time() == strip)
            continue;
        in.velocity(1.0F);
        out.velocity(1.0F);
        out.strip_time(strip);
        dirty_ = 1;
    }
}

// ---- is there anything to simplify? -------------------------------------------------------------

bool Cel::hasRedundantCuts() const
{
    for (std::size_t i = 0; i + 1 < events_.size(); ++i)
        if (events_[i].redundant(events_[i + 1]))
            return true;
    return false;
}

bool Cel::hasSubFrameCuts() const
{
    for (std::size_t i = 0; i + 1 < events_.size(); ++i)
        if (events_[i].sub_frame_cut(events_[i + 1], kTimeEpsilon))
            return true;
    return false;
}

bool Cel::hasRemovableCuts(int mode) const
{
    for (std::size_t i = 1; i + 2 < events_.size(); ++i)
        if (events_[i].removable_with(events_[i - 1], events_[i + 1], events_[i + 2], mode))
            return true;
    return false;
}

Kt::Ptr<Cel> Cel::simplify(int mode, bool black, bool zeroLength) const
{
    Kt::Ptr<Cel> track = copy();
    const auto& events = track->events_;
    const auto isNeedless = [&events, mode](std::size_t out) {
        return events[out].removable_with(events[out - 1], events[out + 1], events[out + 2],
                                          mode) != 0;
    };
    {
        RemovedObjects removed(*track);
        track->mergeCuts(Editable::invalidRange(), isNeedless, removed);
    }
    if (black)
        track->simplifyBlack(Editable::invalidRange());
    if (zeroLength)
        track->simplifyZeroLengthSections(Editable::invalidRange());
    return track;
}

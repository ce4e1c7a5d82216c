#include "cel/detail/trims.h"

#include <algorithm>
#include <cmath>

namespace cel::detail {

namespace {

/// How far black may be fed in at the head of a track.
constexpr double kUnlimitedFeed = -10000000.0;

} // namespace

void RippleTrims::trim(std::size_t in, double d, trim_type type)
{
    settleUpTo(in + 1);
    ChannelEvent& start = events_[in];
    const double speed = effectiveSpeed(start);
    if (type == trim_start)
        start.strip_time(start.strip_time() - speed * d);
    moved_ += d;
    if (line_.end <= in)
        line_.end = static_cast<std::size_t>(matchingOut(events_, static_cast<int>(in))) + 1;
    line_ = {line_.end, moved_, start.edit_time(), start.strip_time(), speed};
}

double RippleTrims::feedBlack(std::size_t in, double d)
{
    settleUpTo(in + 1);
    ChannelEvent& start = events_[in];
    const double room = in == 0 ? kUnlimitedFeed : events_[in - 1].edit_time() - start.edit_time();
    const double fed = std::max(d, room);
    const trim_type own = start.get_trim_type();
    if (!std::isfinite(fed))
        return 0.0;
    if (feedsBlack(own))
        start.edit_time(start.edit_time() + fed);
    if (own == trim_black)
        moved_ += fed;
    else if (own == trim_roll_black)
        start.strip_time(start.strip_time() + fed);
    return fed;
}

void RippleTrims::settleUpTo(std::size_t end)
{
    const std::size_t endOfLine = std::clamp(line_.end, settled_, std::max(settled_, end));
    for (; settled_ < endOfLine; ++settled_) {
        ChannelEvent& event = events_[settled_];
        const double laidAt = event.edit_time() + line_.moved;
        event.strip_time((laidAt - line_.edit) * line_.speed + line_.strip);
        event.edit_time(event.edit_time() + moved_);
    }
    if (end > settled_ && moved_ != 0.0)
        shiftEditTimes(events_.subspan(settled_, end - settled_), moved_);
    settled_ = std::max(settled_, end);
}

} // namespace cel::detail

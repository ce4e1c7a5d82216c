#include "cel/detail/RollBuilder.h"

#include "cel/detail/counts.h"
#include "cel/detail/room.h"
#include "cel/detail/sections.h"

#include <utility>

using cel::detail::eventAt;
using cel::detail::isAfter;

Cel::RollBuilder::Shot::Shot(const Cel& track, const cel::detail::Section& where)
    : source(&track)
    , section(where)
    , in(eventAt(track.events_, where.in))
    , out(eventAt(track.events_, where.out))
{
}

Cel::RollBuilder::RollBuilder(const Cel& like, TagBag* store, double start, std::size_t events)
    : track_(new Cel(0, like.resolution_))
    , black_(like.getBlackCookie())
    , reached_(start)
{
    cel::detail::reserveWithRoom(track_->events_, events);
    track_->objectStore(store);
    if (store)
        track_->journal_ = &journal_;
}

Cel::RollBuilder::~RollBuilder()
{
    if (track_ && track_->objectStore())
        journal_.takeBack(*track_->objectStore());
}

Kt::Ptr<Cel> Cel::RollBuilder::finish()
{
    track_->journal_ = nullptr;
    return std::move(track_);
}

Cel::Rolls Cel::RollBuilder::inTurn(const Cel& track, TagBag* store,
                                    void (RollBuilder::*lay)(const Shot&))
{
    // On each roll a rest takes the place of the shot that lies opposite; another may end it.
    const std::size_t events = track.events_.size() + 4;
    RollBuilder a(track, store, track.get_start_time(), events);
    RollBuilder b(track, store, track.get_start_time(), events);
    RollBuilder* plays = &a;
    RollBuilder* rests = &b;
    for (cel::detail::Shots shots(track.events_); !shots.done(); shots.next()) {
        (plays->*lay)({track, shots.shot()});
        std::swap(plays, rests);
    }
    a.restUntil(track.get_end_time());
    b.restUntil(track.get_end_time());
    return {a.finish(), b.finish()};
}

void Cel::RollBuilder::lay(const Shot& shot)
{
    if (!isAfter(shot.out.edit_time(), shot.in.edit_time()))
        return;
    restUntil(shot.in.edit_time());
    ChannelEvent in = shot.in;
    copyObject(shot, in);
    append(in);
    for (int i = shot.section.in + 1; i < shot.section.out; ++i) {
        const ChannelEvent& change = eventAt(shot.source->events_, i);
        if (change.info() == level_change && !isAfter(in.edit_time(), change.edit_time()) &&
            !isAfter(change.edit_time(), shot.out.edit_time()))
            append(change);
    }
    ChannelEvent out = shot.out;
    out.editGraph(ChannelEvent::newId());
    append(out);
    reachTo(out.edit_time());
}

/// As sections that are put into a track get theirs.
void Cel::RollBuilder::copyObject(const Shot& shot, ChannelEvent& in)
{
    if (!track_->objectStore()) {
        // What the hook says of a track that keeps no objects, without a handle for each shot.
        if (in.editGraph().getMagicType() == cel::detail::kTemporaryId)
            in.editGraph(ChannelEvent::newId());
        return;
    }
    const ChannelEvent& sourceIn = eventAt(shot.source->events_, shot.section.in);
    const ChannelEvent& sourceOut = eventAt(shot.source->events_, shot.section.out);
    const double length = in.edit_time() - shot.out.edit_time();
    const double share = length / (sourceIn.edit_time() - sourceOut.edit_time());
    const bool keepsTail =
        in.edit_time() != sourceIn.edit_time() && shot.out.edit_time() == sourceOut.edit_time();
    const ParamResizeMethod method = keepsTail ? kResizeKeepTail : kResizeKeepHead;
    static const IdMap kNoneAssigned;
    track_->copySegmentObject(shot.source->handleAt(shot.section.in), in, kNoneAssigned, share,
                              method);
    if (share != 1.0)
        track_->resizeSegmentObject(in.editGraph(), share, method);
}

void Cel::RollBuilder::layBetweenFades(const Shot& shot)
{
    const auto fadesFrom = [](const ChannelEvent& end) {
        return end.audioRamp_DurationQFrames() == 0 ? end.level_sc() : 0.0F;
    };
    restUntil(shot.in.edit_time());
    appendMark(shot.in.edit_time(), 0.0F, fadesFrom(shot.in));
    append(shot.in);
    append(shot.out);
    appendMark(shot.out.edit_time(), fadesFrom(shot.out), 0.0F);
    reachTo(shot.out.edit_time());
}

void Cel::RollBuilder::restUntil(double time)
{
    if (!cel::isRealTime(reached_) || !cel::isRealTime(time) || !isAfter(time, reached_))
        return;
    const auto [in, out] = cel::detail::blackSection(black_, reached_, time);
    append(in);
    append(out);
    reached_ = time;
}

/// Sections that overlap, as on a damaged track, never take anything back.
void Cel::RollBuilder::reachTo(double time)
{
    if (!isAfter(reached_, time))
        reached_ = time;
}

void Cel::RollBuilder::append(const ChannelEvent& event)
{
    track_->events_.push_back(event);
    track_->adjustEventCounts(event, true);
}

/// Black of no length, of a level at its start and one at its end.
void Cel::RollBuilder::appendMark(double time, float first, float last)
{
    auto [in, out] = cel::detail::blackSection(black_, time, time);
    in.level_sc(first);
    out.level_sc(last);
    append(in);
    append(out);
}

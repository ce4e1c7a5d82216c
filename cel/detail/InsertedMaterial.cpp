#include "cel/detail/InsertedMaterial.h"

#include "cel/detail/ObjectJournal.h"
#include "cel/detail/grid.h"
#include "platform/support/Log.h"
#include "platform/support/TagBag.h"

#include <algorithm>

using cel::detail::effectiveSpeed;
using cel::detail::isAfter;
using cel::detail::levelAt;
using cel::detail::toGrid;

/// The part of a source section that lies in the range, in times of the source.
struct Cel::InsertedMaterial::Clip
{
    Clip(const ChannelEvent& in, const ChannelEvent& out, const Range& range)
        : headCut(isAfter(range.start(), in.edit_time()))
        , tailCut(isAfter(out.edit_time(), range.end()))
        , start(headCut ? range.start() : in.edit_time())
        , end(tailCut ? range.end() : out.edit_time())
        , share(headCut || tailCut ? (end - start) / (out.edit_time() - in.edit_time()) : 1.0)
    {
    }

    ParamResizeMethod method() const
    {
        return headCut && !tailCut ? kResizeKeepTail : kResizeKeepHead;
    }

    bool headCut; ///< the section begins before the range
    bool tailCut; ///< the section ends after the range
    double start;
    double end;
    double share; ///< of the section's duration
};

/// As long as it lives, objects are copied as they were before the edit.
class Cel::InsertedMaterial::FormerObjects
{
public:
    explicit FormerObjects(cel::detail::ObjectJournal* journal)
        : journal_(journal)
    {
        if (journal_)
            journal_->copiesFormerStates(true);
    }
    FormerObjects(const FormerObjects&) = delete;
    FormerObjects& operator=(const FormerObjects&) = delete;
    ~FormerObjects()
    {
        if (journal_)
            journal_->copiesFormerStates(false);
    }

private:
    cel::detail::ObjectJournal* const journal_;
};

Cel::InsertedMaterial::InsertedMaterial(Cel& track, const Range& range, double at,
                                        const IdMap& idMap, const Cookie& black)
    : track_(track)
    , range_(range)
    , at_(at)
    , idMap_(idMap)
    , black_(black)
    , reached_(range.start())
{
}

Cel::InsertedMaterial::~InsertedMaterial()
{
    for (; !shared_.empty(); shared_.pop_back())
        takeBack(shared_.back());
}

void Cel::InsertedMaterial::takeBack(const Shared& shared) noexcept
{
    if (shared.made.valid()) {
        track_.destroySegmentObject(shared.made);
    } else if (shared.resized.valid() && shared.share > 0.0) {
        try {
            track_.resizeSegmentObject(shared.resized, 1.0 / shared.share, shared.method);
        } catch (...) {
            return; // what the hook refuses stays as it is
        }
    }
}

double Cel::InsertedMaterial::onTrack(double sourceTime) const
{
    return toGrid(sourceTime + (at_ - range_.start()), track_.resolution_);
}

bool Cel::InsertedMaterial::build(const Cel* source)
{
    const FormerObjects former(track_.journal_);
    const double half = track_.resolution_ * 0.5;
    const bool covered = source && source->numEvents() > 0 &&
                         range_.end() > source->get_start_time() + half &&
                         range_.start() < source->get_end_time() - half;
    if (covered)
        return buildSections(*source);
    buildBlack();
    return true;
}

void Cel::InsertedMaterial::buildBlack()
{
    const double start = toGrid(at_, track_.resolution_);
    const double length = toGrid(range_.length(), track_.resolution_);
    cel::detail::appendBlack(events_, black_, start, start + length);
}

bool Cel::InsertedMaterial::buildSections(const Cel& source)
{
    const std::span events = source.events();
    const double half = track_.resolution_ * 0.5;
    int first = cel::detail::findEvent(events, range_.start() + half, in_point, -1);
    int last = cel::detail::findEvent(events, range_.end() - half, in_point, -1);
    if (first < 0)
        first = cel::detail::nextIn(events, 0);
    if (last < 0)
        last = cel::detail::matchingIn(events, source.numEvents() - 1);
    if (first == source.numEvents() || last < 0) {
        LogBoth("Cel::insert() assertion failed (srcInH.valid() && srcOutH.valid())\n");
        return false;
    }
    // A range shorter than a frame may lie across a cut.
    last = std::max(first, last);

    events_.reserve(static_cast<std::size_t>(last - first) + 6);
    for (int in = first; in <= last;) {
        const int out = cel::detail::matchingOut(events, in);
        if (out == source.numEvents())
            break;
        addSection(source, in, out);
        in = cel::detail::nextIn(events, out + 1);
    }
    fillUpTo(range_.end());
    // A stretch that the frames swallow is still as long as was asked for.
    if (events_.empty())
        buildBlack();
    return true;
}

void Cel::InsertedMaterial::addSection(const Cel& source, int in, int out)
{
    const std::span events = source.events();
    const ChannelEvent& sourceIn = events[static_cast<std::size_t>(in)];
    const ChannelEvent& sourceOut = events[static_cast<std::size_t>(out)];
    const Cookie material = sourceIn.strip_name();
    // What this track cannot hold stays out; the next fill puts black in its place.
    const bool refused = !material.isBlack() && !track_.canReferTo(material.type());
    if (refused || isAfter(range_.start(), sourceOut.edit_time()))
        return;

    const Clip clip(sourceIn, sourceOut, range_);
    fillUpTo(clip.start);
    addIn(source, in, sourceOut, clip);
    for (const ChannelEvent& change :
         events.subspan(static_cast<std::size_t>(in) + 1, static_cast<std::size_t>(out - in) - 1)) {
        if ((change.info() & in_point) || isAfter(clip.start, change.edit_time()) ||
            isAfter(change.edit_time(), clip.end))
            continue;
        events_.push_back(change);
        events_.back().edit_time(onTrack(change.edit_time()));
    }
    addOut(sourceIn, sourceOut, clip);
    reached_ = clip.end;
    hasSection_ = true;
}

void Cel::InsertedMaterial::addIn(const Cel& source, int in, const ChannelEvent& sourceOut,
                                  const Clip& clip)
{
    const ChannelEvent& sourceIn = source.events_[static_cast<std::size_t>(in)];
    ChannelEvent event = sourceIn;
    event.edit_time(onTrack(clip.start));
    if (clip.headCut) {
        event.strip_time(sourceIn.strip_time() +
                         effectiveSpeed(sourceIn) * (clip.start - sourceIn.edit_time()));
        event.level_sc(levelAt(sourceIn, sourceOut, clip.start));
        event.audioRampWord(0);
    }
    if (clip.tailCut)
        cel::detail::limitRamp(event, clip.end - clip.start, track_.resolution_);
    if (!hasSection_)
        event.editGraph(ChannelEvent::newId());
    if (!event.strip_name().isBlack())
        shareObject(source.handleAt(in), event, clip);
    events_.push_back(event);
}

void Cel::InsertedMaterial::addOut(const ChannelEvent& sourceIn, const ChannelEvent& sourceOut,
                                   const Clip& clip)
{
    ChannelEvent event = sourceOut;
    event.edit_time(onTrack(clip.end));
    event.editGraph(ChannelEvent::newId());
    if (clip.tailCut) {
        event.strip_time(sourceIn.strip_time() +
                         effectiveSpeed(sourceIn) * (clip.end - sourceIn.edit_time()));
        event.level_sc(levelAt(sourceIn, sourceOut, clip.end));
    }
    if (clip.headCut || clip.tailCut)
        cel::detail::limitRamp(event, clip.end - clip.start, track_.resolution_);
    events_.push_back(event);
}

void Cel::InsertedMaterial::shareObject(const ce_handle& source, ChannelEvent& event,
                                        const Clip& clip)
{
    const IdStamp original = source.getEffectGraph();
    const auto assigned = idMap_.find(original);
    // What stands under the assigned identity is shared as it is.
    const bool wasThere = assigned != idMap_.end() && track_.journal_ &&
                          track_.journal_->keeps(*track_.objectStore(), assigned->second);
    shared_.emplace_back(); // room for what the hooks do
    Shared& shared = shared_.back();
    track_.copySegmentObject(source, event, idMap_, clip.share, clip.method());
    // One that this edit brought along with another is still this section's to give up.
    if (event.editGraph() != original && (!wasThere || track_.journal_->made(event.editGraph())))
        shared.made = event.editGraph();
    if (clip.share == 1.0 || wasThere)
        return;
    track_.resizeSegmentObject(event.editGraph(), clip.share, clip.method());
    shared.resized = event.editGraph();
    shared.share = clip.share;
    shared.method = clip.method();
}

void Cel::InsertedMaterial::fillUpTo(double sourceTime)
{
    const double target = onTrack(sourceTime);
    const double from = events_.empty() ? onTrack(range_.start()) : events_.back().edit_time();
    const double missing = sourceTime - reached_;
    reached_ = sourceTime;
    if (!isAfter(target, from))
        return;
    if (events_.empty() || toGrid(missing, track_.resolution_) > 0.0) {
        cel::detail::appendBlack(events_, black_, from, target);
        return;
    }
    // Less than half a frame short: the section in front goes on.
    ChannelEvent& out = events_.back();
    out.strip_time(out.strip_time() + effectiveSpeed(out) * missing);
    out.edit_time(target);
}

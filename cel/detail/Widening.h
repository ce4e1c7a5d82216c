#pragma once

#include "cel/Cel.h"
#include "cel/detail/shots.h"

#include <cstddef>
#include <vector>

/// Gives the shots of a track handles. First it works out how far each goes, then effect objects
/// are fitted, which may fail and is taken back then; moving the events cannot fail.
class Cel::Widening
{
public:
    explicit Widening(Cel& track)
        : track_(track)
        , events_(track.events_)
    {
    }

    /// Works out where each shot will begin and end. @return how many ends move.
    int plan(double before, double after);

    /// Carries out what was planned.
    void carryOut();

private:
    /// A shot and the times that it will have.
    struct Wide
    {
        cel::detail::Section shot;
        double start;
        double end;
    };

    /// Frames by which the ends of a shot would like to grow.
    struct Wish
    {
        double before = 0.0;
        double after = 0.0;
    };

    /// An effect object that follows its section.
    struct Resize
    {
        IdStamp id;
        double share;
        ParamResizeMethod method;
    };

    Wish wishOf(const cel::detail::Section& shot, double before, double after) const;
    bool isFree(int from, int to) const;
    double framesBetween(double from, double to) const;
    void growHead(Wide& shot, double frames, double notBefore) const;
    void growTail(Wide& shot, double frames, double notAfter) const;
    void share(Wide& earlier, double after, Wide& later, double before) const;
    bool headGrows(const Wide& wide) const
    {
        return wide.start != cel::detail::eventAt(events_, wide.shot.in).edit_time();
    }
    bool tailGrows(const Wide& wide) const
    {
        return wide.end != cel::detail::eventAt(events_, wide.shot.out).edit_time();
    }

    std::vector<Resize> resizesOfObjects() const;
    void fitObjects(const std::vector<Resize>& resizes);
    void takeBack(const Resize& resize) noexcept;
    void moveEvents(RemovedObjects& removed);
    void limitBlack(Compaction& pass, std::size_t end, double from, double to);

    Cel& track_;
    std::vector<ChannelEvent>& events_;
    std::vector<Wide> plan_;
};

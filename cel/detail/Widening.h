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
    /// A shot with the times that it has and will have.
    struct Wide
    {
        Wide(const cel::detail::Section& section, double in, double out)
            : shot(section)
            , formerStart(in)
            , formerEnd(out)
        {
        }

        bool headGrows() const { return start != formerStart; }
        bool tailGrows() const { return end != formerEnd; }

        cel::detail::Section shot;
        double formerStart;
        double formerEnd;
        double start = formerStart;
        double end = formerEnd;
        int blackFrom = 0; ///< from here on there is nothing but black in front of it
        int blackTo = 0;   ///< up to here there is nothing but black behind it
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
    bool opensBlack(int index) const;
    int blackInFront(int from, int shot) const;
    int blackBehind(int from, int to) const;
    double timeAt(int index) const;
    double framesBetween(double from, double to) const;
    void growHead(Wide& shot, double frames, double notBefore) const;
    void growTail(Wide& shot, double frames, double notAfter) const;
    void growBetween(Wide* earlier, double after, Wide* later, double before) const;

    std::vector<Resize> resizesOfObjects() const;
    void fitObjects(const std::vector<Resize>& resizes);
    void takeBack(const Resize& resize) noexcept;
    void moveEvents(RemovedObjects& removed);
    void limitBetween(Compaction& pass, const Wide* earlier, const Wide* later);
    void limitBlack(Compaction& pass, int end, double from, double to);

    Cel& track_;
    std::vector<ChannelEvent>& events_;
    std::vector<Wide> plan_;
};

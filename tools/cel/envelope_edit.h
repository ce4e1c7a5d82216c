#pragma once

#include "tools/cel/listed_sections.h"
#include "tracks/AudLevelsCel.h"

#include <cstddef>

namespace cel::tool {

/// The level envelope of a track while the track is edited: what moves on the track moves on the
/// envelope. A track without one stays without, until material comes that has one.
class EnvelopeEdit
{
public:
    /// @param levels  the envelope to be changed, or an invalid one.
    /// @param flat    what a track without one plays as.
    EnvelopeEdit(const AudLevelsCel& levels, const AudLevelsCel& flat)
        : levels_(levels)
        , flat_(flat)
    {
    }

    const AudLevelsCel& levels() const { return levels_; }

    void remove(const TimeRange& range);

    /// Opens a gap and puts the levels of material there. @param source  the envelope of the
    /// material; an invalid one plays at unity.
    void insert(const AudLevelsCel& source, const TimeRange& range, double at);
    void insertBlack(double at, double length);

    /// Overwrites from a place on; nothing moves.
    void replace(const AudLevelsCel& source, const TimeRange& range, double at);
    void replaceByBlack(double at, double length);

    enum class End { head, tail };

    /// Makes the stretch of a section longer at an end, over which the level holds that the section
    /// has there, or shorter when `by` is negative; what follows moves.
    void lengthen(const TimeRange& section, double by, End end);

    /// Moves all nodes.
    void move(double by);

    /// Turns the stretch from `start` to `end` around.
    void mirror(double start, double end);

    /// Makes a stretch last `length`, turned around if wanted; what follows moves.
    void rescale(const TimeRange& range, double length, bool backwards);

    /// A copy of a stretch as an envelope of its own that begins at `at`; invalid without levels.
    AudLevelsCel taken(const TimeRange& range, double at) const;

    /// A node at a time, in place of one that is there.
    void draw(double at, float level);

    /// One level over a stretch between guards; nothing moves.
    void hold(const TimeRange& range, float level);

private:
    void requireOne();

    double quantum() const;

    /// An envelope of one level everywhere.
    AudLevelsCel constant(float level, bool black) const;

    AudLevelsCel levels_;
    AudLevelsCel flat_;
};

/// Whether two envelopes have the same nodes.
bool sameNodes(const AudLevelsCel::Store& a, const AudLevelsCel::Store& b);

/// Takes out nodes behind which another one at the same time has the same level, unless only the
/// first is a guard: a stream keeps the first of them alone, and that is to be the guard.
void mergeCoincident(AudLevelsCel levels);

} // namespace cel::tool

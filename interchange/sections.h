#pragma once

#include "cel/Cel.h"

#include <functional>
#include <string>
#include <vector>

namespace cel {

/// The events of one section of a track.
struct Section
{
    const ChannelEvent& in;
    const ChannelEvent& out;
    std::size_t index; ///< of the in point
    bool levelChanges; ///< whether level changes stand between the two

    bool isBlack() const { return in.strip_name().isBlack(); }

    /// Speed at which it plays; one that was never set is normal speed.
    double speed() const;

    /// Whether the source runs from in to out at that one speed, to half a frame of `frame`
    /// seconds.
    bool runsEvenly(double frame) const;
};

/// Calls `each` with every section of a track, whatever its events look like, and `stray` with
/// every event that belongs to none.
void walkSections(const Cel& track, const std::function<void(const Section&)>& each,
                  const std::function<void(const ChannelEvent&)>& stray);

/// Something about a section that a form of text cannot hold.
struct SectionLoss
{
    const char* kind; ///< of a ledger entry
    std::string text;
};

/// What no edit list in text can say of a section: fades, effects, switched off, speed marks.
std::vector<SectionLoss> lossesInText(const Section& section);

} // namespace cel

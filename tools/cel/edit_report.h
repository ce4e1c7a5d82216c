#pragma once

#include "interchange/cut_levels.h"
#include "tools/cel/json.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/terminal.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cel::tool {

/// What an edit did to one track.
struct EditedTrack
{
    std::size_t index; ///< in the cut
    std::string done;  ///< "removed ... to ..."
    TimeRange markBefore;
    TimeRange markAfter;
    Kt::Ptr<Cel> before;
    Kt::Ptr<Cel> after;              ///< the same track edited, or the track that was made from it
    std::vector<Kt::Ptr<Cel>> rolls; ///< new tracks that it was laid out on
    bool changed = false;            ///< whether the edited track holds other events than before
    bool taken = false;              ///< whether `after` was taken out and the edited track stays
    std::size_t attached = 0;        ///< objects that belong to the track besides its sections
    AudLevelsCel levelsBefore = AudLevelsCel::createInvalid();
    AudLevelsCel levelsAfter = AudLevelsCel::createInvalid(); ///< of `after`
    std::size_t newlyOffFrames = 0; ///< events that the edit left between two frames
};

/// Whether two tracks hold the same events, bit for bit.
bool sameEvents(const Cel& a, const Cel& b);

/// Whether the edited track's level envelope has other nodes than before.
bool levelsChanged(const EditedTrack& track);

/// The neighbourhood of the edit before and after it, one below the other on the same scale.
std::string drawEdit(const Cut& cut, const std::vector<EditedTrack>& tracks,
                     const Terminal& terminal);

/// What was done to each track, with its length and its sections before and after.
std::string describeEdit(const Cut& cut, const std::vector<EditedTrack>& tracks);
Json editAsJson(const Cut& cut, const std::vector<EditedTrack>& tracks);

} // namespace cel::tool

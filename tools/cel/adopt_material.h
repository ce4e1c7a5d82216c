#pragma once

#include "interchange/Cut.h"

#include <string>

namespace cel::tool {

/// Lets a track of one cut name its material as another cut does: every clip gets the Cookie that
/// it has in `table`, where it is added if need be. A clip that is missing in its own table is
/// added under its number.
/// @param origin  where the track comes from, for such a clip's name; may be empty.
/// One pass over the events, O(log clips) each.
void adoptMaterial(Cel& track, const MaterialTable& from, MaterialTable& table,
                   const std::string& origin);

/// The same for two tracks that are to be compared: subtitles become material by their text, so
/// that a changed word shows.
void adoptForComparison(Cel& track, const MaterialTable& from, MaterialTable& table);

/// `adoptMaterial`, unless neither of the two cuts knows any clip by name: numbers that mean
/// nothing to either are better left as they are.
void adoptNamedMaterial(Cel& track, const MaterialTable& from, MaterialTable& table,
                        const std::string& origin);

/// What a person knows the material of a Cookie by: the clip's name, else its reel, else the
/// Cookie's text; "black", and "nothing" for the invalid Cookie. Fit to be printed.
std::string describeMaterial(const Cookie& cookie, const MaterialTable& table);

} // namespace cel::tool

#pragma once

#include "tools/cel/cut_files.h"
#include "tools/cel/track_edit.h"

#include <string>
#include <vector>

namespace cel::tool {

/// Where the material for an edit comes from, as typed.
struct MaterialRequest
{
    std::vector<std::string> from;  ///< a track of the edited cut, or a file and a track of it
    std::vector<std::string> range; ///< two positions on it, or nothing for all of it
    std::string black;              ///< a length
};

/// "V1,A1" taken apart.
std::vector<std::string> splitNames(const std::string& names);

/// The tracks that such a list names; a track whose name has a comma is meant as a whole.
/// @throws Failure `kUsage` for a track that there is not.
std::vector<std::size_t> tracksOfList(const Cut& cut, const std::string& names);

/// The material for each of the tracks that are edited, in their order; clips of another cut are
/// added to the edited cut's table.
/// @param opened  the file of the edited cut. @param cut  the edited cut itself.
/// @param tracks  places in `cut.tracks`; `--from` must name as many.
/// @throws Failure `kUsage` for what the request asks in vain, `kUnreadable` for its file.
std::vector<MaterialStretch> collectMaterial(const OpenedCut& opened, Cut& cut,
                                             const std::vector<std::size_t>& tracks,
                                             const MaterialRequest& request);

} // namespace cel::tool

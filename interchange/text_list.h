#pragma once

#include "interchange/Cut.h"
#include "interchange/LossLedger.h"
#include "platform/support/frame_duration.h"

#include <optional>
#include <string>
#include <string_view>

class TextFile;

namespace cel {

struct TextListImport
{
    Cut cut;
    LossLedger losses;
};

/// Reads a text file of one or more text edit lists (a "CEL_REVISION" line begins each, an
/// "END_CHANNEL" line may end it) into a track each. A bad pair is reported with its line and left
/// out, and a section's speed is carried through to its out point.
std::optional<TextListImport> importTextList(TextFile& file, std::string& error);

struct TextListExport
{
    LossLedger losses;
};

/// Appends the tracks of the cut to the file as blocks, each ended by "END_CHANNEL" but the last.
/// @param standard  of the frame units; without it, the nearest one to each track's frames.
TextListExport exportTextList(const Cut& cut, TextFile& file,
                              std::optional<Kt::Ed2Support::TVStd> standard = std::nullopt);

} // namespace cel

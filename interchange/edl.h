#pragma once

#include "interchange/Cut.h"
#include "interchange/LossLedger.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace cel {

struct EdlImport
{
    Cut cut;
    LossLedger losses;
    bool rateGuessed = false; ///< no rate was given; `rateReason` says where the rate comes from
    std::string rateReason;
};

/// Reads a CMX3600 edit list. Record times are rebased to 0 at the earliest one; the start timecode
/// keeps where that was. Each channel becomes a track. Dissolves, wipes and keys become a cut at
/// their start. Whatever cannot be carried is in the ledger.
/// @param rate  frames a second; without it, guessed from the highest frame number and FCM lines.
/// @return nothing, with `error` naming the line, when the text holds no event that can be read.
std::optional<EdlImport> importEdl(std::string_view text, std::optional<FrameRate> rate,
                                   std::string& error);

struct EdlExport
{
    std::string text;
    LossLedger losses;      ///< lines are those of `text`
    std::size_t tracks = 0; ///< of the cut that the list names
};

/// Writes a cut as CMX3600 edit list, channels V, A and A2 and so on, at the cut's rate and
/// timecode.
EdlExport exportEdl(const Cut& cut);

} // namespace cel

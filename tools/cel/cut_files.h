#pragma once

#include "interchange/Cut.h"
#include "interchange/LossLedger.h"
#include "interchange/cel_store.h"
#include "interchange/cel_stream.h"
#include "interchange/subtitle_cues.h"
#include "platform/support/TextFile.h"
#include "platform/support/frame_duration.h"
#include "tools/cel/file_kinds.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// The one place where the commands read and write cuts.
namespace cel::tool {

/// What to say behind a name that is to be one of such a file and is not.
inline constexpr const char* kWrongResult =
    ": the result is a track stream or a store; let its name end in .cel or .celdb";

/// The same behind the name of a damaged file that was to be written over.
inline constexpr const char* kStaysDamaged =
    ": the file is damaged and stays as it is; another name saves what can be read of it";

/// A cut as it came out of a file.
struct OpenedCut
{
    FileKind kind = FileKind::stream;
    Cut cut;
    LossLedger losses;                 ///< what its form holds and a cut cannot
    std::vector<LoadFinding> findings; ///< what is damaged in the file
    std::string rateReason;            ///< where the frame rate comes from
};

/// Reads a cut of any kind, which its content tells, and its name where that is not enough.
/// @param rate  frame rate for an edit list or subtitles, which have none of their own.
/// @param check  how closely a store is looked at.
/// @throws Failure `kUnreadable` with the name of the file, `kUsage` for a rate that a file with
/// one of its own does not need.
OpenedCut openCut(const std::string& path, const std::optional<FrameRate>& rate = std::nullopt,
                  StoreCheck check = StoreCheck::rows);

/// The cues of a subtitle file.
struct OpenedSubtitles
{
    FileKind kind = FileKind::subRip;
    SubtitleImport import;
};

/// Reads a subtitle file alone. @throws Failure `kUnreadable`, also for files of other kinds.
OpenedSubtitles openSubtitles(const std::string& path);

/// The same beside a cut that is open: an edit list, which has no frame rate of its own, is read at
/// the rate of that cut.
OpenedCut openBeside(const OpenedCut& other, const std::string& path);

/// A cut made ready to be written as a file of some kind.
struct WrittenCut
{
    FileKind kind = FileKind::stream;
    const Cut* cut = nullptr;
    TextFile text;          ///< of the kinds that are text
    LossLedger losses;      ///< what the kind cannot hold
    std::size_t tracks = 0; ///< of the cut that it holds
};

/// Nothing is on the disk yet; `cut` must live until `saveWritten`.
/// @throws Failure `kUsage` when a text kind could hold no track of the cut.
/// @param standard  of the frame units of a text edit list; the nearest to the cut's without it.
WrittenCut writeAs(FileKind kind, const Cut& cut,
                   std::optional<Kt::Ed2Support::TVStd> standard = std::nullopt);

/// Puts it on the disk in one step: on a failure an old file of that name is as it was. A stream
/// goes into a store where the name ends in ".celdb" or the file is a store already.
/// @param guard  whether a stream or a store may be written that would damage one of the tracks.
/// @throws Failure `kUnwritable` with the name of the file and the reason.
void saveWritten(WrittenCut& written, const std::string& path, SaveGuard guard);

/// Saves a cut whole: over the file that it came from in the form of that file, else in the form
/// that the name of the result ends in.
/// @return what that form cannot hold.
/// @throws Failure as `saveWritten`; `kUnwritable` rather than write over a file that is damaged.
LossLedger saveCutBack(const OpenedCut& opened, const Cut& cut, const std::string& openedPath,
                       const std::string& path, SaveGuard guard);

/// Ends a command that would go on with nothing: a damaged file of which no track could be read.
/// @throws Failure `kUnreadable`.
void requireReadTracks(const OpenedCut& opened, const std::string& path);

/// Prints what a command answers and, of a damaged file, that it is one.
/// @return the exit code: `kFindings` for a damaged file.
int answer(const std::string& text, const OpenedCut& opened, const std::string& path);

/// Saves a cut that a command changed, in place when there is no `output`.
/// @return "Saved cut.cel.\n".
/// @throws Failure as `saveCutBack`, `kUsage` for a form that cannot hold the cut.
std::string saveChanges(const OpenedCut& opened, const std::string& openedPath,
                        const std::string& output, SaveGuard guard);

/// Whether both name one file.
bool samePath(const std::string& a, const std::string& b);

/// The places in `cut.tracks` of the tracks of these names, or of all when there are no names.
/// @throws Failure `kUsage` for a name that no track has, with those that there are.
std::vector<std::size_t> chosenTracks(const Cut& cut, const std::vector<std::string>& names);

} // namespace cel::tool

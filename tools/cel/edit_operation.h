#pragma once

#include <span>
#include <string>
#include <vector>

namespace cel::tool {

class TrackEdit;

/// An argument of an operation, as its help shows it.
struct EditArgument
{
    const char* name; ///< "A"; in brackets when it may be left out
    const char* help;
};

/// What an operation takes besides its arguments.
enum EditOptions : unsigned {
    kTakesNothing = 0,
    kTakesMaterial = 1, ///< --from and --range: material of another track
    kTakesBlack = 2,    ///< --black: a length of black in place of material
    kTakesRange = 4,    ///< --range: a stretch of the track itself
    kTakesLevels = 8,   ///< --level: factors for the levels
    kMakesTrack = 16,   ///< --to: the result is a track of its own, the edited one stays
    kMakesRolls = 32,   ///< the same with two tracks of the cut, which --to may name
};

/// An operation of `cel edit`: how it is typed, what it is for, and what does it.
struct EditOperation
{
    const char* name;
    const char* help;
    std::vector<EditArgument> arguments;
    unsigned options;
    const char* example; ///< what stands behind "cel edit cut.cel "

    /// Does it on one track in memory, and says what was done: "removed ... to ...".
    /// @throws Failure `kUsage` for arguments that do not fit the track, `kUnwritable` when the
    /// track is of no shape for it.
    std::string (*run)(TrackEdit& edit);

    const char* notes = ""; ///< what its help says besides, in lines
};

/// The operations, family by family.
struct EditFamily
{
    const char* name;
    std::span<const EditOperation> operations;
};
std::vector<EditFamily> editFamilies();

std::span<const EditOperation> rangeOperations();
std::span<const EditOperation> materialOperations();
std::span<const EditOperation> trimOperations();
std::span<const EditOperation> wholeTrackOperations();
std::span<const EditOperation> crossfadeOperations();

} // namespace cel::tool

#pragma once

#include "tools/cel/edit_operation.h"
#include "tools/cel/envelope_edit.h"
#include "tools/cel/track_edit.h"
#include "tracks/level_accuracy.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cel::tool {

/// What was typed for an operation of `cel levels` besides its arguments.
struct LevelsOptions
{
    std::string within; ///< --within: decibels
    std::string area;   ///< --area: seconds times level
};

/// What a thinning did to the sound.
struct Thinning
{
    std::size_t gone = 0;
    LevelError worst; ///< against the envelope as it was
};

/// The options of an operation, besides those of `EditOptions`.
enum LevelsOptionBits : unsigned {
    kTakesThinning = 1U << 16, ///< --within and --area
};

/// An operation of `cel levels` that changes an envelope. Its arguments are read by a `TrackEdit`,
/// which leaves the track itself as it is.
struct LevelsOperation
{
    const char* name;
    const char* help;
    std::vector<EditArgument> arguments;
    unsigned options;
    const char* example; ///< what stands behind "cel levels cut.cel "

    /// Does it in memory, and says what was done. @throws Failure `kUsage` for arguments that do
    /// not fit.
    std::string (*run)(TrackEdit& edit, EnvelopeEdit& envelope, const LevelsOptions& options,
                       std::optional<Thinning>& thinning);

    const char* notes = "";
};

std::span<const LevelsOperation> levelsOperations();

} // namespace cel::tool

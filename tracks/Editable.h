#pragma once

#include "platform/export.h"
#include "platform/foundation/NumRange.h"

/// Root of all handles on tracks that can be edited: event lists, level envelopes, subtitles.
///
/// The edit operations themselves are declared by each handle class with the same names; a handle
/// is a value, and what it copies is the track it refers to, so this root has nothing to copy.
class CEL_API Editable
{
public:
    /// Which stretch `getExtents` measures.
    enum ExtentType : int {
        kAllEvents = 0,   ///< from the first event to the end of the track
        kSignificant = 1, ///< from the first to the last event that is not black
    };

    /// How `replace` overwrites a stretch; values other than 0 switch off the keeping of effects
    /// on replaced material.
    enum ReplaceFlags : int { kReplacePlain = 0 };

    Editable() = default;
    Editable(const Editable&) {}
    Editable& operator=(const Editable&) { return *this; }
    virtual ~Editable() = default;

    /// The range that means "no extent"; passed to a simplification it means the whole track.
    static NumRange<double, Ordered> invalidRange() { return {1e99, 1e99}; }
};

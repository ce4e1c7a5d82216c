#pragma once

#include "tracks/ManagedCel.h"

/// Handle on a track of effects.
class CEL_API VFXCel : public ManagedCel
{
public:
    /// A track without a list, under a fresh identity: not `valid()` until it gets one.
    VFXCel();

    /// Both make the same; the name tells what the caller means to do with it.
    static VFXCel createInvalid() { return {}; }
    static VFXCel createValidButEmpty() { return {}; }

    /// A track of its own with the same events and identity.
    VFXCel clone() const;

    bool is_dummy() const { return false; }
    void is_dummy(bool) {}

    /// Simplifies as a track of effects needs it, in place of the general one (through a
    /// `ManagedCel` that one runs): all of it means black and sections of no length, in the range.
    /// Kept: any other type works on the whole track, whatever the range, and nobody is told.
    /// @return whether the number of events changed.
    bool simplify(Simplification::eType type, const Range& range);

private:
    explicit VFXCel(Rep* rep)
        : ManagedCel(rep)
    {
    }
};

#pragma once

#include "tracks/ManagedCel.h"

/// Handle on a video track.
class CEL_API VidCel : public ManagedCel
{
public:
    /// A track without a list, under a fresh identity: not `valid()` until it gets one.
    VidCel();

    /// Both make the same; the name tells what the caller means to do with it.
    static VidCel createInvalid() { return {}; }
    static VidCel createValidButEmpty() { return {}; }

    /// A track of its own with the same events and identity.
    VidCel clone() const;

    bool is_dummy() const { return false; }
    void is_dummy(bool) {}

private:
    explicit VidCel(Rep* rep)
        : ManagedCel(rep)
    {
    }
};

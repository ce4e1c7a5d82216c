#pragma once

#include "platform/support/IdStamp.h"

/// Gives an object an identity of its own: a fresh stamp, until it is given another.
class Identified
{
public:
    Identified() = default;
    explicit Identified(const IdStamp& id)
        : id_(id)
    {
    }

    const IdStamp& id() const { return id_; }
    void id(const IdStamp& id) { id_ = id; }

private:
    IdStamp id_;
};

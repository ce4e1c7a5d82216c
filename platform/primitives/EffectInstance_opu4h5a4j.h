#pragma once

#include "platform/export.h"
#include "platform/primitives/ParamResizeMethod.h"
#include "platform/support/IdStamp.h"
#include "platform/support/Taggable.h"

#include <map>

/// An effect as a track sees it: an object of the store that may take other tracks as inputs.
class CEL_PLATFORM_API EffectInstance_opu4h5a4j : public Taggable
{
public:
    /// Whether the effect is marked as having track inputs; the following ask only then.
    virtual bool hasTrackInputs() const = 0;
    virtual unsigned getNumTrackInputs() const = 0;

    /// Identity of input `index`'s track; the null stamp past the last one.
    virtual IdStamp getInputTrackId(unsigned index) const = 0;

    /// Replaces the identities of inputs that the map knows.
    virtual void remapInputIDs(const std::map<IdStamp, IdStamp>& idMap) = 0;

    /// Fits the parameters to a duration of `share` times the former one.
    virtual void resizeParameters(double share, ParamResizeMethod method) = 0;

protected:
    ~EffectInstance_opu4h5a4j() override = default;
};

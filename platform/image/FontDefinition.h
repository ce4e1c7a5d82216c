#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/Ptr.h"
#include "platform/support/JSON.h"

/// A colour: red, green, blue and opacity, each from 0 to 1.
struct RGBAColour
{
    float red = 0.0F;
    float green = 0.0F;
    float blue = 0.0F;
    float alpha = 1.0F;

    bool operator==(const RGBAColour&) const = default;
};

/// How a text is set: face, size, and the colours behind and of the letters.
struct CEL_PLATFORM_API FontDefinition
{
    LightweightString<wchar_t> faceName;

    /// Height in relation to what the place of use takes for normal: 1 is that, 0 says nothing.
    float size = 1.0F;

    RGBAColour background{0.0F, 0.0F, 0.0F, 0.0F};
    RGBAColour foreground{1.0F, 1.0F, 1.0F, 1.0F};

    bool operator==(const FontDefinition&) const = default;

    /// Takes over the members "face", "size", "background" and "foreground" that the object has;
    /// fields whose member is missing or no number stay as they are.
    /// @return whether a face was named.
    bool read(const Kt::Ptr<JSON::Element>& element);

    /// Adds those four members to the object that is open.
    void write(JSON::Builder& builder) const;
};

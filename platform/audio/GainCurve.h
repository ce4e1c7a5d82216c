#pragma once

#include "platform/export.h"

namespace Aud::GainCurve {

/// Shape of an audio ramp; stored in two bits.
enum eCurveType : int { kLinear = 0, kConstantPower = 1, kConstantGain = 2, kSCurve = 3 };

/// Mapping between a gain's magnitude (1 is unity) and its position U on a gain curve.
template <int Version>
class Curve;

/// The curve in use: U is the fourth root of the magnitude, so equal steps of a fader sound alike.
template <>
class CEL_PLATFORM_API Curve<2>
{
public:
    /// Monotone; 0 and 1 map to themselves. Negative magnitudes and NaN give 0.
    static float mapMagnitudeToUValue(double magnitude);

    /// The inverse: U to the fourth power. Negative positions and NaN give 0.
    static double mapUValueToMagnitude(double position);
};

} // namespace Aud::GainCurve

#include "platform/audio/GainCurve.h"

#include <cmath>

namespace Aud::GainCurve {

float Curve<2>::mapMagnitudeToUValue(double magnitude)
{
    if (!(magnitude > 0.0))
        return 0.0F;
    return static_cast<float>(std::sqrt(std::sqrt(magnitude)));
}

double Curve<2>::mapUValueToMagnitude(double position)
{
    if (!(position > 0.0))
        return 0.0;
    const double square = position * position;
    return square * square;
}

} // namespace Aud::GainCurve

#pragma once

#include "tests/support/track_model.h"

#include <cmath>

/// What the rules of the model are made of.
namespace cel::test::model {

inline constexpr double kNear = 1e-6;
inline constexpr double kUnset = 2e81;
inline constexpr int kIn = 1, kLevel = 2, kOut = 4;

inline bool after(double a, double b)
{
    return a > b + kNear;
}
inline bool same(double a, double b)
{
    return a == b || std::fabs(a - b) <= kNear;
}
inline bool real(double t)
{
    return std::fabs(t) <= 1e12;
}
inline bool isUnset(float velocity)
{
    return velocity == 220966.0F;
}
inline double speed(const ModelEvent& event)
{
    return isUnset(event.velocity) ? 1.0 : double(event.velocity);
}

inline bool qualifies(const ModelTrack::Range& range, double t)
{
    return (range.start() == 1e99 && range.end() == 1e99) ||
           (t >= range.start() - kNear && t <= range.end() + kNear);
}

/// An identifier that was never there before, of magic type 1.
inline IdStamp freshId()
{
    IdStamp id;
    id.setMagicType(1);
    return id;
}

inline ModelEvent event(int kind, double edit, double strip, const Cookie& material,
                        double velocity)
{
    ModelEvent made;
    made.kind = kind;
    made.edit = edit;
    made.strip = strip;
    made.material = material;
    made.velocity = float(velocity);
    made.id = freshId();
    return made;
}

inline std::vector<ModelEvent> blackSection(const Cookie& black, double from, double to)
{
    return {event(kIn, from, 0, black, 1), event(kOut, to, to - from, black, 1)};
}

} // namespace cel::test::model

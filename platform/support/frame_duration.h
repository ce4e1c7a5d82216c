#pragma once

namespace Kt::Ed2Support {

/// Television standard of a text edit list.
enum TVStd : int {
    kFilm = 0,     ///< 24 frames a second
    kPal = 1,      ///< 25
    kNtsc = 2,     ///< 30000/1001
    kFilmNtsc = 3, ///< 24000/1001
};

} // namespace Kt::Ed2Support

namespace Kt {

/// Duration of one frame of a standard, in seconds; an unknown standard counts as PAL.
constexpr double getFrameDuration(Ed2Support::TVStd standard)
{
    switch (standard) {
    case Ed2Support::kFilm:
        return 1.0 / 24.0;
    case Ed2Support::kNtsc:
        return 1001.0 / 30000.0;
    case Ed2Support::kFilmNtsc:
        return 1001.0 / 24000.0;
    case Ed2Support::kPal:
        break;
    }
    return 0.04;
}

} // namespace Kt

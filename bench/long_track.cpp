#include "bench/long_track.h"

namespace cel::bench {

Kt::Ptr<Cel> longTrack(std::size_t sections, unsigned char version)
{
    Random random(sections);
    std::uniform_int_distribution<int> frames(50, 200);
    std::uniform_int_distribution<int> shots(1, 100);
    const Kt::Ptr<Cel> track(new Cel(static_cast<int>(2 * sections), kFrame));
    for (std::size_t i = 0; i < sections; ++i) {
        Cookie material = i % 4 == 3 ? video_black : Cookie(kVideoCookie, shots(random), 0, 0);
        material.setVersion(version);
        track->appendEventPair(material, frames(random) * kFrame, frames(random) * kFrame, -1.0);
    }
    return track;
}

} // namespace cel::bench

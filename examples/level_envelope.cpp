#include "tracks/AudLevelsCel.h"
#include "tracks/level_accuracy.h"

#include <cmath>
#include <cstdio>

int main()
{
    AudLevelsCel envelope(0.04);   // 25 frames a second, so guards keep 10 ms from a cut
    for (int i = 0; i <= 200; ++i) // a fader's ride: a node every 50 ms
        envelope.insertNode({0.05 * i, static_cast<float>(0.6 + 0.4 * std::cos(0.06 * i)),
                             AudLevelsCel::Store::kOrdinary, false});
    const AudLevelsCel::Store ride = envelope.snapshot();
    for (const double decibels : {0.1, 0.5, 1.0}) {
        AudLevelsCel thin = envelope.clone();
        thin.thinToWithin(decibels);
        const cel::LevelError worst = cel::worstLevelError(ride, thin.snapshot());
        std::printf("within %.1f dB: %2zu of %zu nodes, worst %.3f dB at %.2f s\n", decibels,
                    thin.snapshot().size(), ride.size(), worst.decibels, worst.time);
    }
    envelope.remove({4.0, 6.0}); // the cut at 4 s jumps from one level to the other
    std::printf("before the cut %.3f, behind it %.3f\n",
                static_cast<double>(envelope.levelAt(3.995)),
                static_cast<double>(envelope.levelAt(4.0)));
}

#include "cel/Cel.h"

#include <cstdio>

int main()
{
    const Kt::Ptr<Cel> track(new Cel(0, 0.04)); // 25 frames a second
    const Cookie harbour('V', 1, 0, 0);
    const Cookie gulls('V', 2, 0, 0);
    track->appendEventPair(harbour, 10.0, 4.0, -1.0); // plays from 10 s of the shot, for 4 s
    track->appendEventPair(gulls, 30.0, 3.0, -1.0);
    track->remove({2.0, 5.0}); // cuts both shots and closes the gap
    for (ce_handle in = track->get_start_ceh(); in.valid(); in.increment(in_point))
        std::printf("%s  %.2f to %.2f s, from %.2f s of the shot\n",
                    in.get_strip_cookie().asString(true).c_str(), in.get_edit_time(),
                    in.matching_out_ceh().get_edit_time(), in.get_strip_time(in.get_edit_time()));
}

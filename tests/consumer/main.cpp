// What a first program outside does with a cut: read an edit list, look at a track.
#include "cel/version.h"
#include "interchange/edl.h"

#include <cstdio>

int main()
{
    const char* list =
        "TITLE: OUTSIDE\n"
        "001  A001     V     C        00:00:01:00 00:00:03:00 01:00:00:00 01:00:02:00\n";
    std::string error;
    const auto import = cel::importEdl(list, cel::FrameRate{}, error);
    if (!import || import->cut.tracks.size() != 1)
        return 1;
    std::printf("cel %s: %s lasts %.2f s\n", celDllVersionStr(), import->cut.title.c_str(),
                import->cut.duration());
    return import->cut.duration() == 2.0 ? 0 : 1;
}

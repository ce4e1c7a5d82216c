// What a first program outside does with a cut: read an edit list, look at a track,
// keep it in a store.
#include "cel/version.h"
#include "interchange/cel_store.h"
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
    if (!cel::saveStoredCut(import->cut, "outside.celdb", cel::SaveGuard::refuse, error) ||
        !cel::loadStoredCut("outside.celdb", error)) {
        std::printf("%s\n", error.c_str());
        return 1;
    }
    return import->cut.duration() == 2.0 ? 0 : 1;
}

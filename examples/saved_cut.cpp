#include "interchange/Cut.h"
#include "interchange/cel_stream.h"

#include <cstdio>

int main()
{
    cel::Cut cut;            // 25 frames a second, unless `cut.rate` says otherwise
    cut.startFrame = 90'000; // its timecode begins at 01:00:00:00
    const Cookie harbour = cut.materials.add({kVideoCookie, "HARBOUR", "TAPE1", ""});
    cut.addTrack(kVideoCookie)->appendEventPair(harbour, 10.0, 4.0, -1.0);
    std::string error; // says what was not saved, and why
    if (!cel::saveCut(cut, "saved_cut.cel", cel::SaveGuard::refuse, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    const auto loaded = cel::loadCut("saved_cut.cel", error);
    if (loaded && loaded->findings.empty()) // nothing in the file is damaged
        std::printf("%s ends at %s\n", loaded->cut.tracks[0]->editChannelName().c_str(),
                    loaded->cut.timecodeAt(loaded->cut.duration()).c_str());
}

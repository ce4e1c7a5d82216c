#include "interchange/cel_stream.h"

#include "interchange/cel_stream_format.h"
#include "platform/support/object_stream.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

namespace cel {

namespace {

/// Writes a whole cut. @return where each track's layer begins.
std::vector<std::size_t> packCut(const Cut& cut, StreamFile& file)
{
    PStream stream(file);
    writeObjectStreamHeader(stream);
    writeCutLayer(cut, stream);
    writeMaterialLayer(cut, stream);
    std::vector<std::size_t> places;
    places.reserve(cut.tracks.size());
    for (const Kt::Ptr<Cel>& track : cut.tracks) {
        places.push_back(file.bytes().size());
        track->STRM_hierarchyPack(stream);
    }
    writeObjectLayers(cut, stream);
    return places;
}

} // namespace

std::vector<std::byte> writeCut(const Cut& cut)
{
    const UnsavedMarks marks(cut, UnsavedMarks::changedTracks);
    StreamFile file;
    packCut(cut, file);
    return {file.bytes().begin(), file.bytes().end()};
}

bool saveCut(const Cut& cut, const std::filesystem::path& path, SaveGuard guard, std::string& error)
{
    UnsavedMarks marks(cut, UnsavedMarks::allTracks);
    StreamFile file;
    const auto places = packCut(cut, file);
    if (guard == SaveGuard::refuse) {
        const std::string damage =
            cut.tracks.size() > kMostTracks
                ? "it has more than " + std::to_string(kMostTracks) + " tracks"
                : damageOfSaving(cut, places, file);
        if (!damage.empty()) {
            error = pathToUtf8(path) + " was not written, since it would damage the cut: " + damage;
            return false;
        }
    }
    const SaveResult saved = saveFile(path, file.bytes());
    if (!saved) {
        error = saved.error;
        return false;
    }
    marks.forget();
    return true;
}

} // namespace cel

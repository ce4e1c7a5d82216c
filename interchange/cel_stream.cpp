#include "interchange/cel_stream.h"

#include "interchange/cel_stream_format.h"
#include "interchange/track_guard.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

namespace cel {

namespace {

void packCutLayer(const Cut& cut, PStream& stream)
{
    StreamFile& file = stream.file();
    stream << LightweightString<char>(cut.title);
    file.setLong(cut.rate.numerator);
    file.setLong(cut.rate.denominator);
    file.setCookedChar(cut.rate.dropFrame ? 1 : 0);
    file.setUnsigned64(static_cast<std::uint64_t>(cut.startFrame));
    file.setUnsignedLong(static_cast<std::uint32_t>(cut.tracks.size()));
}

/// Writes a whole cut. @return where each track's layer begins.
std::vector<std::size_t> packCut(const Cut& cut, StreamFile& file)
{
    PStream stream(file);
    writeObjectStreamHeader(stream);
    writeLayer(stream, kCutLayer, [&cut](PStream& body) {
        packCutLayer(cut, body);
        return kCutRevision;
    });
    writeLayer(stream, kMaterialLayer, [&cut](PStream& body) {
        cut.materials.pack(body);
        return MaterialTable::kRevision;
    });
    std::vector<std::size_t> places;
    places.reserve(cut.tracks.size());
    for (const Kt::Ptr<Cel>& track : cut.tracks) {
        places.push_back(file.bytes().size());
        track->STRM_hierarchyPack(stream);
    }
    return places;
}

/// Marks tracks as changed when it goes: packing a track marks it as saved long before it is.
class UnsavedMarks
{
public:
    enum Which { allTracks, changedTracks };

    UnsavedMarks(const Cut& cut, Which which)
    {
        dirty_.reserve(cut.tracks.size());
        for (const Kt::Ptr<Cel>& track : cut.tracks)
            if (which == allTracks || track->is_dirty())
                dirty_.push_back(track);
    }
    UnsavedMarks(const UnsavedMarks&) = delete;
    UnsavedMarks& operator=(const UnsavedMarks&) = delete;
    ~UnsavedMarks()
    {
        for (const Kt::Ptr<Cel>& track : dirty_)
            track->make_dirty();
    }

    void forget() { dirty_.clear(); }

private:
    std::vector<Kt::Ptr<Cel>> dirty_;
};

/// Decodes what was packed of each track and names those that would not come back as they are.
std::string damageOfSaving(const Cut& cut, const std::vector<std::size_t>& places,
                           StreamFile& packed)
{
    if (cut.tracks.size() > kMostTracks)
        return "it has more than " + std::to_string(kMostTracks) + " tracks";
    std::string damage;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        PStream stream(packed);
        packed.seek(places[i]);
        const Kt::Ptr<Cel> decoded = trackForLayer(stream, Cel::shortLayerName());
        decoded->STRM_hierarchyUnpack(stream);
        const std::string difference = whatDiffers(*cut.tracks[i], *decoded, cut.rate);
        if (difference.empty())
            continue;
        const std::string name(cut.tracks[i]->editChannelName().view());
        damage.append(damage.empty() ? "track " : "; track ").append(name).append(": ");
        damage += difference;
    }
    return damage;
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
        const std::string damage = damageOfSaving(cut, places, file);
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

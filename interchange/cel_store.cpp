#include "interchange/cel_store.h"

#include "interchange/cel_stream_format.h"
#include "interchange/text_lines.h"
#include "platform/support/PStream.h"
#include "platform/support/object_file.h"
#include "platform/support/utf8.h"
#include "tracks/ManagedCel.h"

#include <algorithm>
#include <set>
#include <utility>

namespace cel {

namespace {

constexpr const char* kTrackRole = "track";

bool isPlaceOfTrack(const IdStamp& owner, std::string_view role)
{
    return !owner.valid() && role == kTrackRole;
}

std::string objectText(const IdStamp& id, std::string_view className)
{
    std::string text = id.valid() ? "object " + std::string(id.asString().view()) : "object";
    if (!className.empty())
        text += " (class " + asOneLine(className, 40) + ")";
    return text;
}

class StoreReader
{
public:
    /// @throws nothing; the file's own faults go to the findings.
    bool read(ObjectFile& file, std::string& error)
    {
        const auto reader = [this](const ObjectRow& row) { readRow(row); };
        if (!file.readAll(names_, reader, damaged_, error))
            return false;
        result_.cut.stored = file.mark();
        for (const ObjectFinding& finding : damaged_)
            reportDamage(finding);
        placeTracks();
        placeObjects();
        if (!head_.sawCut && !head_.sawMaterials && result_.cut.tracks.empty()) {
            error = "it holds nothing that can be read as a cut";
            return false;
        }
        completeCut(result_.cut, head_, reporter());
        return true;
    }

    /// Adds what is wrong with the structure of the file.
    void examine(ObjectFile& file)
    {
        ObjectFile::Findings found;
        file.examine(found);
        for (const ObjectFinding& finding : found)
            report("file", finding.text);
    }

    LoadedCut take() { return std::move(result_); }

private:
    struct Built
    {
        CutObject object;
        Kt::Ptr<Cel> track;
        std::size_t order = 0; ///< in the file
    };

    void readRow(const ObjectRow& row)
    {
        if (row.id == kCutId && row.className == kCutLayer)
            return readHead(row, readCutLayer);
        if (row.id == kMaterialsId && row.className == kMaterialLayer)
            return readHead(row, readMaterialLayer);
        Built built;
        built.order = built_.size();
        std::string notes;
        built.object = readObject(row, notes, buffer_);
        if (!notes.empty())
            report(objectText(row.id, row.className), noteText(notes));
        if (!CutObjects::allows(row.id)) {
            report(objectText(row.id, row.className),
                   "its identity belongs to the cut; it was given another");
            built.object.id = IdStamp();
        }
        built.track = Kt::dynamicCast<Cel>(built.object.object);
        const IdStamp id = built.object.id;
        built_.insert_or_assign(id, std::move(built));
    }

    template <class Read>
    void readHead(const ObjectRow& row, const Read& read)
    {
        buffer_.clear();
        buffer_.write(row.layers);
        PStream stream(buffer_);
        read(stream, result_.cut, head_, reporter());
    }

    /// Tracks in the order of their names; in that of the file where all names are lost.
    void placeTracks()
    {
        std::vector<ObjectName> places;
        for (const ObjectName& name : names_)
            if (isPlaceOfTrack(name.owner, name.role))
                places.push_back(name);
        std::sort(places.begin(), places.end());
        for (const ObjectName& place : places)
            if (!placeTrack(place.object))
                keepPlace(place);
        if (!places.empty())
            return;
        std::vector<std::pair<std::size_t, IdStamp>> unnamed;
        for (const auto& [id, built] : built_)
            if (built.track)
                unnamed.emplace_back(built.order, id);
        std::sort(unnamed.begin(), unnamed.end());
        for (const auto& [order, id] : unnamed)
            placeTrack(id);
    }

    /// @return whether the object is a track that has no place yet.
    bool placeTrack(const IdStamp& id)
    {
        const auto found = built_.find(id);
        if (found == built_.end() || !found->second.track)
            return false;
        result_.cut.tracks.push_back(std::move(found->second.track));
        built_.erase(found);
        return true;
    }

    /// What is named as a track and cannot be read as one keeps its name, so that who can read it
    /// finds it in its place.
    void keepPlace(const ObjectName& place)
    {
        const std::string track = "track " + std::to_string(place.position + 1);
        const auto found = built_.find(place.object);
        const bool damaged =
            std::any_of(damaged_.begin(), damaged_.end(), [&place](const ObjectFinding& finding) {
                return finding.object == place.object;
            });
        if (found == built_.end() && !damaged)
            return report(objectText(place.object, {}), track + " is missing");
        result_.cut.objects.name({place.owner, place.role, place.position}, place.object);
        if (found != built_.end())
            report(objectText(place.object, found->second.object.className),
                   track + " is none that is known here; it stays as it is");
    }

    void placeObjects()
    {
        for (auto& [id, built] : built_)
            result_.cut.objects.put(std::move(built.object));
        for (const ObjectName& name : names_)
            if (!isPlaceOfTrack(name.owner, name.role))
                result_.cut.objects.name({name.owner, name.role, name.position}, name.object);
    }

    void reportDamage(const ObjectFinding& finding)
    {
        if (!finding.object.valid() && finding.className.empty())
            return report("file", finding.text);
        std::string where = objectText(finding.object, finding.className);
        for (const ObjectName& name : names_)
            if (name.object == finding.object)
                where += ", " + asOneLine(name.role, 40) + " " + std::to_string(name.position + 1);
        report(where, finding.text);
    }

    CutReport reporter()
    {
        return [this](std::string_view where, std::string_view text) { report(where, text); };
    }

    void report(std::string_view where, std::string_view text)
    {
        result_.findings.push_back({std::nullopt, std::string(where), std::string(text)});
    }

    LoadedCut result_;
    CutHead head_;
    std::vector<ObjectName> names_;
    ObjectFile::Findings damaged_;
    std::map<IdStamp, Built> built_;
    StreamFile buffer_;
};

/// A cut as the rows and names of a store.
class PackedCut
{
public:
    explicit PackedCut(const Cut& cut)
        : objects_(cut.objects)
    {
        packer_.add(kCutId, kCutLayer, [&cut](PStream& stream) { writeCutLayer(cut, stream); });
        packer_.add(kMaterialsId, kMaterialLayer,
                    [&cut](PStream& stream) { writeMaterialLayer(cut, stream); });
        for (const auto& [id, object] : cut.objects.all()) {
            taken_.insert(id);
            packObject(object, packer_);
        }
        for (const Kt::Ptr<Cel>& track : cut.tracks)
            addTrack(*track);
    }

    std::vector<ObjectRow> rows() { return packer_.rows(); }

    /// Tracks have the places that are left by those that could not be read.
    /// @param sameStore  whether what could not be read is in the file that is saved to.
    std::vector<ObjectName> names(bool sameStore) const
    {
        std::vector<ObjectName> names;
        std::set<std::uint32_t> kept;
        for (const auto& [place, object] : objects_.names()) {
            if (isPlaceOfTrack(place.owner, place.role)) {
                const bool isThere =
                    objects_.find(object) || (sameStore && taken_.count(object) == 0);
                if (!isThere)
                    continue;
                kept.insert(place.position);
            }
            names.push_back({place.owner, place.role, place.position, object});
        }
        std::uint32_t position = 0;
        for (const IdStamp& track : tracks_) {
            while (kept.count(position) != 0)
                ++position;
            names.push_back({IdStamp(0, 0, 0), kTrackRole, position++, track});
        }
        return names;
    }

    StreamFile& file() { return packer_.file(); }
    /// Where the layers of each track begin in it.
    const std::vector<std::size_t>& trackPlaces() const { return trackPlaces_; }

private:
    void addTrack(const Cel& track)
    {
        IdStamp id = track.editChannelId();
        if (!id.valid() || !taken_.insert(id).second)
            id = ManagedCel::Rep::createId();
        trackPlaces_.push_back(packer_.add(id, track));
        tracks_.push_back(id);
    }

    const CutObjects& objects_;
    ObjectPacker packer_;
    std::set<IdStamp> taken_{kCutId, kMaterialsId};
    std::vector<IdStamp> tracks_;
    std::vector<std::size_t> trackPlaces_;
};

bool write(PackedCut& packed, const std::filesystem::path& path, StoreMark& mark,
           std::string& error)
{
    std::error_code ignored;
    if (std::filesystem::symlink_status(path, ignored).type() ==
        std::filesystem::file_type::not_found)
        return createObjectFile(path, packed.rows(), packed.names(false), mark, error);
    const std::unique_ptr<ObjectFile> file = openObjectFile(path, error);
    if (!file)
        return false;
    const bool same = file->mark().store == mark.store;
    if (!file->replaceAll(packed.rows(), packed.names(same), mark, error))
        return false;
    mark = file->mark();
    return true;
}

} // namespace

std::optional<LoadedCut> loadStoredCut(const std::filesystem::path& path, std::string& error,
                                       StoreCheck check)
{
    const std::unique_ptr<ObjectFile> file = openObjectFile(path, error);
    if (!file)
        return std::nullopt;
    StoreReader reader;
    if (!reader.read(*file, error)) {
        error = pathToUtf8(path) + ": " + error;
        return std::nullopt;
    }
    if (check == StoreCheck::structure)
        reader.examine(*file);
    return reader.take();
}

bool saveStoredCut(const Cut& cut, const std::filesystem::path& path, SaveGuard guard,
                   std::string& error, StoreMark* saved)
{
    UnsavedMarks marks(cut, UnsavedMarks::allTracks);
    PackedCut packed(cut);
    if (guard == SaveGuard::refuse) {
        const std::string damage = damageOfSaving(cut, packed.trackPlaces(), packed.file());
        if (!damage.empty()) {
            error = pathToUtf8(path) + " was not written, since it would damage the cut: " + damage;
            return false;
        }
    }
    StoreMark mark = cut.stored;
    if (!write(packed, path, mark, error))
        return false;
    marks.forget();
    if (saved)
        *saved = mark;
    return true;
}

} // namespace cel

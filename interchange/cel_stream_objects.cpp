// The layers of a cut's stream that hold what belongs to its tracks.

#include "interchange/cel_stream_format.h"
#include "interchange/text_lines.h"
#include "platform/support/PStream.h"
#include "platform/support/layers.h"
#include "platform/support/object_file.h"

#include <utility>

namespace cel {

namespace {

constexpr unsigned char kObjectRevision = 1;

using Place = CutObjects::Place;

void writeObject(const CutObjects& objects, const ObjectRow& row, PStream& stream)
{
    StreamFile& file = stream.file();
    row.id.pack(stream);
    stream << LightweightString<char>(row.className);
    file.setCookedChar(static_cast<char>(row.revision));
    std::vector<const Place*> places;
    for (const auto& [place, object] : objects.names())
        if (object == row.id)
            places.push_back(&place);
    file.setUnsignedLong(static_cast<std::uint32_t>(places.size()));
    for (const Place* place : places) {
        place->owner.pack(stream);
        stream << LightweightString<char>(place->role);
        file.setUnsignedLong(place->position);
    }
    file.write(row.layers);
}

struct UnpackedObject
{
    CutObject object;
    std::vector<Place> places;
};

/// Reads all but the object itself, whose layers follow.
UnpackedObject unpackHead(PStream& stream, unsigned char revision)
{
    StreamFile& file = stream.file();
    UnpackedObject read;
    LightweightString<char> text;
    read.object.id.unpack(stream, revision);
    stream >> text;
    read.object.className = text.view();
    read.object.revision = static_cast<unsigned char>(file.getCookedChar());
    // The count is not trusted: a name that the layer does not hold ends the list.
    for (std::uint32_t left = file.getUnsignedLong(); left > 0 && !file.faulted(); --left) {
        Place place;
        place.owner.unpack(stream, revision);
        stream >> text;
        place.role = text.view();
        place.position = file.getUnsignedLong();
        if (!file.faulted())
            read.places.push_back(std::move(place));
    }
    return read;
}

/// "levels of track A1 (layer O)"; by its identity when it belongs to no track that was read.
std::string objectText(const Cut& cut, const UnpackedObject& read)
{
    for (const Place& place : read.places)
        for (const Kt::Ptr<Cel>& track : cut.tracks)
            if (place.owner.valid() && track->editChannelId() == place.owner)
                return asOneLine(place.role, 20) + " of track " +
                       asOneLine(track->editChannelName().view(), 40) + " (" +
                       layerText(kObjectLayer) + ")";
    return "object " + std::string(read.object.id.asString().view()) + " (" +
           layerText(kObjectLayer) + ")";
}

} // namespace

void writeObjectLayers(const Cut& cut, PStream& stream)
{
    for (const auto& [id, object] : cut.objects.all()) {
        ObjectPacker packer;
        packObject(object, packer);
        const std::vector<ObjectRow> rows = packer.rows();
        writeLayer(stream, kObjectLayer, [&](PStream& body) {
            writeObject(cut.objects, rows.front(), body);
            return kObjectRevision;
        });
    }
}

void readObjectLayer(PStream& stream, Cut& cut, const CutReport& report)
{
    std::string where = layerText(kObjectLayer);
    readLayer(stream, kObjectLayer, [&](const LayerFrame& frame) {
        UnpackedObject read = unpackHead(stream, frame.revision);
        where = objectText(cut, read);
        if (frame.revision != kObjectRevision)
            report(where, "it has the unknown revision " + std::to_string(frame.revision));
        if (stream.file().faulted() || !read.object.id.valid()) {
            stream.file().clearFault();
            return report(where, "it ends too early or has no identity; it was left out");
        }
        if (!CutObjects::allows(read.object.id)) {
            report(where, "its identity belongs to the cut; it was given another");
            read.object.id = IdStamp();
        }
        std::string notes;
        StreamFile buffer;
        const ObjectRow row{read.object.id, read.object.className, read.object.revision,
                            stream.file().take(stream.remaining())};
        read.object = readObject(row, notes, buffer);
        // The checksum of the layer around it says the same, and what is damaged is not worth
        // keeping as it is.
        if (frame.checksumMatches && !notes.empty())
            report(where, noteText(notes));
        else if (read.object.object)
            read.object.layers.clear();
        if (cut.objects.find(read.object.id))
            return report(where, "a second object of its identity was left out");
        for (const Place& place : read.places)
            cut.objects.name(place, read.object.id);
        cut.objects.put(std::move(read.object));
    });
    reportNotes(stream, where, report);
}

} // namespace cel

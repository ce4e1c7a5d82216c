#include "interchange/CutObjects.h"

#include "platform/foundation/Exception.h"
#include "platform/support/PStream.h"
#include "platform/support/Taggable.h"
#include "platform/support/object_file.h"

#include <algorithm>
#include <utility>

namespace cel {

namespace {

std::vector<std::byte> packed(const Streamable& object)
{
    StreamFile file;
    PStream stream(file);
    object.STRM_hierarchyPack(stream);
    return {file.bytes().begin(), file.bytes().end()};
}

} // namespace

CutObject readObject(const ObjectRow& row, std::string& notes, StreamFile& buffer)
{
    CutObject read{row.id, nullptr, std::string(row.className), row.revision, {}, {}};
    try {
        read.object = buildObject(row, notes, buffer);
    } catch (const Kt::Exception::Base& fault) {
        notes = std::string("it cannot be read: ") + fault.what();
    }
    if (!read.object || !notes.empty())
        read.layers.assign(row.layers.begin(), row.layers.end());
    if (read.object && !notes.empty())
        read.packedThen = packed(*read.object);
    return read;
}

void packObject(const CutObject& object, ObjectPacker& packer)
{
    const bool asItWasRead =
        !object.object || (!object.layers.empty() && packed(*object.object) == object.packedThen);
    if (asItWasRead)
        packer.add({object.id, object.className, object.revision, object.layers});
    else
        packer.add(object.id, *object.object);
}

TagBase CutObjects::openObject(const IdStamp& id)
{
    const CutObject* const found = find(id);
    return found ? TagBase(id, Kt::dynamicCast<Taggable>(found->object)) : TagBase();
}

void CutObjects::storeObject(const TagBase& tag)
{
    if (tag.valid())
        put(tag.id(), Kt::Ptr<Streamable>(tag.object()));
}

Kt::Ptr<Taggable> CutObjects::extractObject(const IdStamp& id)
{
    const TagBase tag = openObject(id);
    if (tag.valid())
        remove(id);
    return tag.object();
}

bool CutObjects::allows(const IdStamp& id)
{
    return id.valid() && id != kCutId && id != kMaterialsId;
}

void CutObjects::put(CutObject object)
{
    if (!allows(object.id))
        return;
    // The former object goes last: its destructor may use this store.
    std::swap(objects_[object.id], object);
}

void CutObjects::put(const IdStamp& id, const Kt::Ptr<Streamable>& object)
{
    CutObject known;
    known.id = id;
    known.object = object;
    known.className = object->hierarchyName(true, true).view();
    const CutObject* const former = find(id);
    if (former && former->object && former->className == known.className) {
        known.revision = former->revision;
        known.layers = former->layers;
        known.packedThen = former->packedThen;
    }
    put(std::move(known));
}

void CutObjects::name(const Place& place, const IdStamp& object)
{
    names_[place] = object;
}

void CutObjects::remove(IdStamp id)
{
    const auto former = objects_.extract(id); // goes last
    std::erase_if(names_, [&id](const auto& name) { return name.second == id; });
}

const CutObject* CutObjects::find(const IdStamp& id) const
{
    const auto found = objects_.find(id);
    return found == objects_.end() ? nullptr : &found->second;
}

const CutObject* CutObjects::find(const Place& place) const
{
    const auto found = names_.find(place);
    return found == names_.end() ? nullptr : find(found->second);
}

} // namespace cel

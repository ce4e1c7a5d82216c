#include "interchange/CutObjects.h"

#include "platform/support/Taggable.h"

#include <utility>

namespace cel {

TagBase CutObjects::openObject(const IdStamp& id)
{
    const CutObject* const found = find(id);
    return found ? TagBase(id, Kt::dynamicCast<Taggable>(found->object)) : TagBase();
}

void CutObjects::storeObject(const TagBase& tag)
{
    if (tag.valid() && tag.id().valid())
        put(tag.id(), Kt::Ptr<Streamable>(tag.object()));
}

Kt::Ptr<Taggable> CutObjects::extractObject(const IdStamp& id)
{
    const TagBase tag = openObject(id);
    if (tag.valid())
        remove(id);
    return tag.object();
}

void CutObjects::put(CutObject object)
{
    // The former object goes last: its destructor may use this store.
    std::swap(objects_[object.id], object);
}

void CutObjects::put(const IdStamp& id, const Kt::Ptr<Streamable>& object)
{
    CutObject known;
    known.id = id;
    known.object = object;
    known.className = object->hierarchyName(true, true).view();
    put(std::move(known));
}

void CutObjects::name(const Place& place, const IdStamp& object)
{
    names_[place] = object;
}

void CutObjects::remove(const IdStamp& id)
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

#include "interchange/CutObjects.h"

#include <utility>

namespace cel {

void CutObjects::put(CutObject object)
{
    const IdStamp id = object.id;
    objects_.insert_or_assign(id, std::move(object));
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
    objects_.erase(id);
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

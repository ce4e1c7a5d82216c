#include "cel/detail/ObjectJournal.h"

#include <algorithm>

namespace cel::detail {

bool ObjectJournal::keeps(TagBag& store, const IdStamp& id) const
{
    return store.openObject(id).valid() && !goes(id);
}

void ObjectJournal::store(TagBag& store, const std::vector<TagBase>& objects)
{
    const std::size_t before = made_.size();
    try {
        for (const TagBase& tag : objects) {
            if (goes(tag.id())) {
                displaced_.push_back(store.openObject(tag.id()));
                going_.erase(tag.id());
            }
            // Noted first: to destroy what is not there does nothing.
            made_.push_back(tag.id());
            known_.insert(tag.id());
            store.storeObject(tag);
        }
    } catch (...) {
        destroyMade(store, before);
        throw;
    }
}

void ObjectJournal::remember(const IdStamp& id, const Kt::Ptr<Taggable>& object)
{
    if (!made(id) && !formerOf(object))
        former_.push_back({object, Kt::dynamicCast<Taggable>(object->clone(Streamable::builder))});
}

Kt::Ptr<Taggable> ObjectJournal::original(const Kt::Ptr<Taggable>& object) const
{
    const Former* former = copiesFormerStates_ ? formerOf(object) : nullptr;
    return former ? former->state : object;
}

const ObjectJournal::Former* ObjectJournal::formerOf(const Kt::Ptr<Taggable>& object) const
{
    const auto found = std::find_if(former_.begin(), former_.end(),
                                    [&](const Former& former) { return former.object == object; });
    return found == former_.end() ? nullptr : &*found;
}

void ObjectJournal::takeBack(TagBag& store) noexcept
{
    destroyMade(store, 0);
    for (; !former_.empty(); former_.pop_back()) {
        const auto& [object, state] = former_.back();
        try {
            object->assign(state.get());
        } catch (...) {
            continue; // it keeps what it has; the others still get theirs
        }
    }
}

void ObjectJournal::destroyMade(TagBag& store, std::size_t from) noexcept
{
    for (; made_.size() > from; made_.pop_back()) {
        known_.erase(made_.back());
        store.destroyObject(made_.back());
        if (displaced_.empty() || !(displaced_.back().id() == made_.back()))
            continue;
        try {
            store.storeObject(displaced_.back());
        } catch (...) {
            // A store that has no room for what it held a moment ago cannot be helped.
        }
        displaced_.pop_back();
    }
}

} // namespace cel::detail

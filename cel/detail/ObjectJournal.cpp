#include "cel/detail/ObjectJournal.h"

#include <algorithm>

namespace cel::detail {

void ObjectJournal::store(TagBag& store, const std::vector<TagBase>& objects)
{
    const std::size_t before = made_.size();
    try {
        for (const TagBase& tag : objects) {
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
    const bool known = made(id) || std::any_of(former_.begin(), former_.end(),
                                               [&](const auto& e) { return e.first == object; });
    if (!known)
        former_.emplace_back(object, Kt::dynamicCast<Taggable>(object->clone(Streamable::builder)));
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
    }
}

} // namespace cel::detail

#pragma once

#include "platform/foundation/Ptr.h"
#include "platform/support/TagBag.h"
#include "platform/support/Taggable.h"

#include <cstddef>
#include <set>
#include <utility>
#include <vector>

namespace cel::detail {

/// What an edit does to the objects of a store, so that it can be taken back.
class ObjectJournal
{
public:
    ObjectJournal() = default;
    ObjectJournal(const ObjectJournal&) = delete;
    ObjectJournal& operator=(const ObjectJournal&) = delete;

    /// Stores objects under identities that had none: all of them, or none when that fails.
    void store(TagBag& store, const std::vector<TagBase>& objects);

    /// Whether the edit stored an object under an identity.
    bool made(const IdStamp& id) const { return known_.contains(id); }

    /// Remembers the state of an object that is about to change, unless the edit made it.
    void remember(const IdStamp& id, const Kt::Ptr<Taggable>& object);

    /// Destroys what was stored, the last first, and gives back what changed its former state.
    void takeBack(TagBag& store) noexcept;

private:
    void destroyMade(TagBag& store, std::size_t from) noexcept;

    std::vector<IdStamp> made_; ///< in their order
    std::set<IdStamp> known_;   ///< the same, to look them up
    std::vector<std::pair<Kt::Ptr<Taggable>, Kt::Ptr<Taggable>>> former_; ///< object, its state
};

} // namespace cel::detail

#pragma once

#include "platform/foundation/Ptr.h"
#include "platform/support/TagBag.h"
#include "platform/support/Taggable.h"

#include <cstddef>
#include <set>
#include <vector>

namespace cel::detail {

/// What an edit does to the objects of a store, so that it can be taken back.
class ObjectJournal
{
public:
    ObjectJournal() = default;
    ObjectJournal(const ObjectJournal&) = delete;
    ObjectJournal& operator=(const ObjectJournal&) = delete;

    /// Objects that go when the edit is complete: until then they stand, and yet their identities
    /// count as free.
    void goesInTheEnd(const IdStamp& id) { going_.insert(id); }

    /// Whether its object still goes: nothing was stored under its identity since.
    bool goes(const IdStamp& id) const { return going_.contains(id); }

    /// Whether an object stands under an identity and stays there.
    bool keeps(TagBag& store, const IdStamp& id) const;

    /// Stores objects under free identities: all of them, or none when that fails.
    void store(TagBag& store, const std::vector<TagBase>& objects);

    /// Whether the edit stored an object under an identity.
    bool made(const IdStamp& id) const { return known_.contains(id); }

    /// Remembers the state of an object that is about to change, unless the edit made it.
    void remember(const IdStamp& id, const Kt::Ptr<Taggable>& object);

    /// While material is put in, copies are made of objects as they were before the edit: what its
    /// cuts did to the track's own is no change of the material.
    void copiesFormerStates(bool copies) { copiesFormerStates_ = copies; }

    /// What to copy an object from.
    Kt::Ptr<Taggable> original(const Kt::Ptr<Taggable>& object) const;

    /// Destroys what was stored, the last first, and gives back what changed its former state.
    void takeBack(TagBag& store) noexcept;

private:
    struct Former
    {
        Kt::Ptr<Taggable> object;
        Kt::Ptr<Taggable> state;
    };

    const Former* formerOf(const Kt::Ptr<Taggable>& object) const;
    void destroyMade(TagBag& store, std::size_t from) noexcept;

    std::vector<IdStamp> made_; ///< in their order
    std::set<IdStamp> known_;   ///< the same, to look them up
    std::set<IdStamp> going_;
    std::vector<TagBase> displaced_; ///< those of them whose identities were given away
    std::vector<Former> former_;     ///< what the edit changed
    bool copiesFormerStates_ = false;
};

} // namespace cel::detail

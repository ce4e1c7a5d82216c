#pragma once

#include "platform/export.h"
#include "platform/foundation/Ptr.h"
#include "platform/support/IdStamp.h"

#include <memory>

class Taggable;

/// An object together with the identity under which a store keeps it.
class CEL_PLATFORM_API TagBase
{
public:
    /// The invalid tag: no object.
    TagBase();
    TagBase(const IdStamp& id, const Kt::Ptr<Taggable>& object);
    TagBase(const TagBase&);
    TagBase(TagBase&&) noexcept;
    TagBase& operator=(const TagBase&);
    TagBase& operator=(TagBase&&) noexcept;
    ~TagBase();

    bool valid() const;
    const IdStamp& id() const { return id_; }
    const Kt::Ptr<Taggable>& object() const { return object_; }

private:
    IdStamp id_{0, 0, 0};
    Kt::Ptr<Taggable> object_;
};

/// Store of objects by identity. An object that is open is shared, not copied: everybody who opens
/// an identity gets the same object. Not to be used from two threads at once.
class CEL_PLATFORM_API TagBag
{
public:
    virtual ~TagBag() = default;

    /// @return a tag on the object, invalid when the store has none under that identity.
    virtual TagBase openObject(const IdStamp& id) = 0;

    /// Puts the tag's object under its identity, in place of what was there. An invalid tag and one
    /// with the null stamp store nothing.
    virtual void storeObject(const TagBase& tag) = 0;

    /// Takes the object out of the store and hands it over; null when there is none.
    virtual Kt::Ptr<Taggable> extractObject(const IdStamp& id) = 0;

    /// Takes the object out for good; unknown identities are ignored.
    virtual void destroyObject(const IdStamp& id) = 0;
};

namespace cel {

/// A store that lives in memory and ends with its owner.
CEL_PLATFORM_API std::unique_ptr<TagBag> makeMemoryTagBag();

} // namespace cel

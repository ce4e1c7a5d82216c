#pragma once

#include "platform/export.h"
#include "platform/support/Streamable.h"

class TagBag;

/// A streamable object that an object store can keep, and that may know the store it lives with.
class CEL_PLATFORM_API Taggable : public Streamable
{
public:
    Taggable() = default;

    /// A copy belongs to no store.
    Taggable(const Taggable& other)
        : Kt::InternalRefCount()
        , iObject()
        , Streamable(other)
    {
    }
    Taggable& operator=(const Taggable&) { return *this; }

    /// The store in which the object's own objects (effects) live; null when it has none.
    TagBag* objectStore() const { return store_; }
    /// @param store  not owned; outlives the object or is taken away first.
    void objectStore(TagBag* store) { store_ = store; }

    /// Name of the hierarchy above the class that asks: empty, since no class here has a layer.
    LightweightString<char> subHierarchyName(bool shortForm, bool withBase) const;

    /// Ends the chain of layer functions. Every class pushes its own entry to the back of the stack
    /// and then calls the function of its base; here the layers are written from the back, so that
    /// the base class's comes first.
    /// @param stack  null when there is nothing to write; empty afterwards.
    static void STRM_layerPack(const Taggable* object, PStream& stream, PackStack* stack);

    /// Begins the chain of reading; this class has no layer of its own.
    static void STRM_layerUnpack(Taggable* object, PStream& stream);

protected:
    ~Taggable() override = default;

private:
    TagBag* store_ = nullptr;
};

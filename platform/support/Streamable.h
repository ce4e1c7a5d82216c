#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/Ptr.h"

#include <cstdint>
#include <functional>
#include <list>

class PStream;

/// Root of all objects that the support library counts and hands around.
class CEL_PLATFORM_API iObject : public virtual Kt::InternalRefCount
{
protected:
    ~iObject() override = default;
};

/// Keeps the size that an object's layer had in the stream it was read from; 0 for a new object.
class CEL_PLATFORM_API StreamableChunkSizeHolder
{
public:
    std::uint64_t chunkSize() const { return chunkSize_; }
    void chunkSize(std::uint64_t bytes) { chunkSize_ = bytes; }

private:
    std::uint64_t chunkSize_ = 0;
};

/// What the layer functions of a class hierarchy hand to each other.
class StreamableTraitsBase
{
public:
    /// One class's share in packing an object: its layer's name, and the function that writes the
    /// body and answers with the revision it wrote.
    struct PackFunctionStackEntry
    {
        LightweightString<char> layerName;
        std::function<unsigned char(PStream&)> pack;
    };
};

/// An object that can be written to an object stream and built again from it.
///
/// Every class of its hierarchy that has something to store owns one *layer*: a short name, a
/// revision and the bytes. The layers of an object follow each other from the base class on.
class CEL_PLATFORM_API Streamable : public StreamableChunkSizeHolder, public virtual iObject
{
public:
    /// Tag that marks the constructors by which a stream builds an object it is about to fill.
    enum BuilderType { builder };

    using PackStack = std::list<StreamableTraitsBase::PackFunctionStackEntry>;

    /// An object of the same class and with the same state, not shared with anybody yet.
    virtual Kt::Ptr<Streamable> clone(BuilderType) const = 0;

    /// Takes over the state of `other`; an object of another class is left alone.
    virtual void assign(const Streamable* other) = 0;

    /// Names of the classes from the base on, joined by '.': the layers' short names or the class
    /// names, and with or without the base classes.
    virtual LightweightString<char> hierarchyName(bool shortForm, bool withBase) const = 0;

    /// Writes all layers of the object.
    virtual void STRM_hierarchyPack(PStream& stream) const = 0;

    /// Reads all layers of the object, which must come next in the stream. What is wrong with them
    /// is noted in the stream's error text.
    virtual void STRM_hierarchyUnpack(PStream& stream) = 0;

protected:
    ~Streamable() override = default;
};

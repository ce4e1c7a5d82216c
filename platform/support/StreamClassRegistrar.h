#pragma once

#include "platform/export.h"
#include "platform/support/Streamable.h"

/// Makes a class known to the object streams of the process: constructed as a static object, it
/// lets a reader build the class from the name that stands in the stream.
class CEL_PLATFORM_API StreamClassRegistrar
{
public:
    using Builder = Kt::Ptr<Streamable> (*)(PStream&);

    /// @param longName   the class's hierarchy of class names.
    /// @param shortName  the name of its layer; the first class registered under it stays.
    StreamClassRegistrar(const LightweightString<char>& longName,
                         const LightweightString<char>& shortName, Builder builder);

    /// The builder of a class by either of its names; null when no such class is registered.
    static Builder find(const LightweightString<char>& name);
};

#include "platform/support/StreamClassRegistrar.h"

#include <map>
#include <mutex>

namespace {

struct Registry
{
    std::mutex mutex;
    std::map<LightweightString<char>, StreamClassRegistrar::Builder> builders;
};

/// Made by whoever registers first, also before this file's own statics; never destroyed, since
/// static objects of other files may read streams in their destructors.
Registry& registry()
{
    static Registry& theRegistry = *new Registry;
    return theRegistry;
}

} // namespace

StreamClassRegistrar::StreamClassRegistrar(const LightweightString<char>& longName,
                                           const LightweightString<char>& shortName,
                                           Builder builder)
{
    const std::scoped_lock lock(registry().mutex);
    for (const auto& name : {longName, shortName}) {
        if (!name.empty())
            registry().builders.emplace(name, builder);
    }
}

StreamClassRegistrar::Builder StreamClassRegistrar::find(const LightweightString<char>& name)
{
    const std::scoped_lock lock(registry().mutex);
    const auto found = registry().builders.find(name);
    return found == registry().builders.end() ? nullptr : found->second;
}

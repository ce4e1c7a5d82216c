#include "platform/support/Notifier.h"

#include <map>
#include <mutex>

namespace {

struct Names
{
    std::mutex mutex;
    std::map<LightweightString<char>, NotifyMsgType> types;
};

/// Never destroyed: static objects of other files may ask in their destructors.
Names& names()
{
    static Names& theNames = *new Names;
    return theNames;
}

} // namespace

NotifyMsgTypeDictionary& NotifyMsgTypeDictionary::instance()
{
    static NotifyMsgTypeDictionary dictionary;
    return dictionary;
}

NotifyMsgType NotifyMsgTypeDictionary::type(const LightweightString<char>& name)
{
    const std::scoped_lock lock(names().mutex);
    const auto next = static_cast<NotifyMsgType>(names().types.size() + 1);
    return names().types.try_emplace(name, next).first->second;
}

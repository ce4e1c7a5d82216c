#include "platform/embedded/support/BurstLimiter.h"

namespace cel::detail {

namespace {

std::string keyOf(LogChannel channel, std::string_view kind)
{
    std::string key(1, static_cast<char>('0' + static_cast<int>(channel)));
    key.reserve(kind.size() + 1);
    for (const char character : kind) {
        const bool digit = character >= '0' && character <= '9';
        if (!digit)
            key += character;
        else if (key.back() != '#')
            key += '#';
    }
    return key;
}

} // namespace

bool BurstLimiter::admit(LogChannel channel, std::string_view kind, Time now)
{
    Burst& burst = bursts_[keyOf(channel, kind)];
    burst.last = now;
    if (burst.written < kWritten) {
        ++burst.written;
        return true;
    }
    if (burst.omitted.count++ == 0) {
        burst.omitted.channel = channel;
        burst.omitted.kind = kind;
    }
    return false;
}

std::vector<BurstLimiter::Omitted> BurstLimiter::endBurstsSilentSince(Time time)
{
    std::vector<Omitted> omitted;
    for (auto at = bursts_.begin(); at != bursts_.end();) {
        if (at->second.last > time) {
            ++at;
            continue;
        }
        if (at->second.omitted.count > 0)
            omitted.push_back(std::move(at->second.omitted));
        at = bursts_.erase(at);
    }
    return omitted;
}

} // namespace cel::detail

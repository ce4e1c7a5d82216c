#include "tools/cel/replay_levels_session.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <utility>

namespace cel::replay {

namespace {

template <class Bits, class Real>
std::string withBits(Real value, int digits)
{
    char text[64];
    std::string shown = std::isnan(value) ? (std::signbit(value) ? "-nan" : "nan") : "";
    if (shown.empty())
        shown.assign(
            text,
            std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr);
    const std::string bits(
        text, std::to_chars(text, text + sizeof text, std::bit_cast<Bits>(value), 16).ptr);
    return shown + '/' + std::string(2 * sizeof(Bits) - bits.size(), '0') + bits;
}

} // namespace

ScriptedLevels& LevelSession::levels(const Value& name)
{
    const auto found = levels_.find(name.text());
    if (found == levels_.end())
        throw ScriptError("no envelope is named \"" + name.text() + '"');
    return found->second;
}

void LevelSession::levels(const Value& name, const Kt::Ptr<AudLevelsCelRep>& state)
{
    levels_.insert_or_assign(name.text(), ScriptedLevels(state));
}

std::string LevelSession::takeLines()
{
    return std::exchange(held_, {});
}

std::string LevelSession::shown(double time)
{
    return withBits<std::uint64_t>(time, 17);
}

std::string LevelSession::shown(float level)
{
    return withBits<std::uint32_t>(level, 9);
}

} // namespace cel::replay

#include "interchange/edl_reels.h"

#include <algorithm>
#include <utility>

namespace cel {

namespace {

constexpr std::size_t kLongestReel = 8;
constexpr const char* kAuxiliary = "AX";

bool isReelCharacter(char c)
{
    return c > ' ' && c <= '~';
}

/// Whether a reel can be written as it is; black's name would be read as black.
bool fits(const std::string& reel)
{
    return !reel.empty() && reel.size() <= kLongestReel &&
           std::all_of(reel.begin(), reel.end(), isReelCharacter) &&
           !(reel.size() == 2 && (reel[0] | 0x20) == 'b' && (reel[1] | 0x20) == 'l');
}

} // namespace

void EdlReels::reserve(const std::string& reel)
{
    if (fits(reel))
        taken_.insert(reel);
}

EdlReels::Name EdlReels::nameOf(const std::string& reel)
{
    if (reel.empty())
        return {kAuxiliary, !std::exchange(toldAuxiliary_, true)};
    if (fits(reel))
        return {reel, false};
    const auto known = shortened_.find(reel);
    if (known != shortened_.end())
        return {known->second, false};

    std::string plain = reel;
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return !isReelCharacter(c); }, '_');
    std::string name = plain.substr(0, kLongestReel);
    for (std::size_t i = 2; taken_.contains(name); ++i) {
        const std::string number = std::to_string(i);
        name = plain.substr(0, kLongestReel - number.size()) + number;
    }
    taken_.insert(name);
    shortened_.emplace(reel, name);
    return {name, true};
}

} // namespace cel

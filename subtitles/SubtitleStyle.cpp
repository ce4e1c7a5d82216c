#include "subtitles/SubtitleStyle.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace {

/// In the order of their values, from 1 on. Kept: the text of 4 does not name its row, unlike its
/// neighbours'; stored styles have it so.
constexpr std::array<std::string_view, 9> kPositionTexts = {"LT", "LM", "LB", "L", "C",
                                                            "B",  "RT", "RM", "RB"};

} // namespace

LightweightString<char> SubtitleStyle::asString(ePosition position)
{
    const std::size_t index = std::size_t(position) - 1;
    return index < kPositionTexts.size() ? kPositionTexts[index] : std::string_view();
}

SubtitleStyle::ePosition SubtitleStyle::posFromString(const LightweightString<char>& text)
{
    for (std::size_t i = 0; i < kPositionTexts.size(); ++i)
        if (text.view() == kPositionTexts[i])
            return static_cast<ePosition>(i + 1);
    return kCentreBottom;
}

void SubtitleStyle::write(JSON::Builder& builder) const
{
    builder.add("name", name, true);
    builder.add("id", id, true);
    builder.add("pos", asString(pos), true);
    builder.startChild("font");
    font.write(builder);
    builder.endChild();
}

bool SubtitleStyle::read(const Kt::Ptr<JSON::Element>& element)
{
    if (!element)
        return false;
    name = element->getWString("name");
    id = element->getString("id");
    pos = posFromString(element->getString("pos"));
    font.read(element->getChild("font"));
    return valid();
}

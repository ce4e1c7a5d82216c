#include "platform/image/FontDefinition.h"

#include <charconv>
#include <cmath>

namespace {

void readNumber(const LightweightString<char>& text, float& value)
{
    float number = 0.0F;
    const auto digits = text.view();
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc() && end == digits.data() + digits.size() && std::isfinite(number))
        value = number;
}

void readColour(const Kt::Ptr<JSON::Element>& element, RGBAColour& colour)
{
    if (!element)
        return;
    std::size_t index = 0;
    for (float* part : {&colour.red, &colour.green, &colour.blue, &colour.alpha})
        if (const Kt::Ptr<JSON::Element> number = element->getChild(index++))
            readNumber(number->getString(), *part);
}

void writeColour(JSON::Builder& builder, const char* key, const RGBAColour& colour)
{
    builder.startArray(key);
    for (const float part : {colour.red, colour.green, colour.blue, colour.alpha})
        builder.add({}, part);
    builder.endArray();
}

} // namespace

bool FontDefinition::read(const Kt::Ptr<JSON::Element>& element)
{
    if (!element)
        return false;
    const auto face = element->getWString("face");
    if (!face.empty())
        faceName = face;
    readNumber(element->getString("size"), size);
    readColour(element->getChild("background"), background);
    readColour(element->getChild("foreground"), foreground);
    return !face.empty();
}

void FontDefinition::write(JSON::Builder& builder) const
{
    builder.add("face", faceName, true);
    builder.add("size", size);
    writeColour(builder, "background", background);
    writeColour(builder, "foreground", foreground);
}

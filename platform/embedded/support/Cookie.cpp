#include "platform/support/Cookie.h"

#include "platform/embedded/support/text_scan.h"

#include <charconv>
#include <string_view>

using cel::detail::takeCharacter;
using cel::detail::takeNumber;

namespace {

template <class T>
bool takeNext(std::string_view& text, T& number)
{
    return takeCharacter(text, ':') && takeNumber(text, number);
}

} // namespace

Cookie::Cookie(const LightweightString<char>& text, bool withVersion)
{
    std::string_view rest = text.view();
    std::uint8_t type = 0;
    std::uint8_t second = 0;
    std::uint8_t version = 0;
    int first = 0;
    int third = 0;
    const bool complete = takeNumber(rest, type) && takeNext(rest, first) &&
                          takeNext(rest, second) && takeNext(rest, third) &&
                          (rest.empty() || takeNext(rest, version)) && rest.empty();
    if (!complete)
        return;
    *this = Cookie(type, first, second, third);
    if (withVersion)
        setVersion(version);
}

LightweightString<char> Cookie::asString(bool withVersion) const
{
    char text[64];
    char* end = text;
    const auto put = [&](int number) {
        if (end != text)
            *end++ = ':';
        end = std::to_chars(end, text + sizeof(text), number).ptr;
    };
    put(type_);
    put(getInt1());
    put(second_);
    put(getInt3());
    if (withVersion)
        put(version_);
    return LightweightString<char>(std::string_view(text, static_cast<std::size_t>(end - text)));
}

#pragma once

#include <charconv>
#include <string_view>

namespace cel::detail {

/// Takes a whole number off the front of `text`; no blanks, no '+', no locale.
/// @return false when there is none, or none that `T` can hold.
template <class T>
bool takeNumber(std::string_view& text, T& number, int base = 10)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

/// Takes `character` off the front of `text`, if it stands there.
inline bool takeCharacter(std::string_view& text, char character)
{
    if (!text.starts_with(character))
        return false;
    text.remove_prefix(1);
    return true;
}

/// `text` without blanks and tabs at its ends.
inline std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace cel::detail

#include "platform/support/utf8.h"

#include <algorithm>
#include <iterator>

#include <utf8.h>

namespace cel {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

constexpr bool isHighSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool isLowSurrogate(std::uint32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

/// Takes one character off the front of `text`, which is not empty.
std::uint32_t takeCodePoint(std::wstring_view& text)
{
    const auto unit = static_cast<std::uint32_t>(text.front());
    text.remove_prefix(1);
    if (isHighSurrogate(unit) && !text.empty()) {
        const auto next = static_cast<std::uint32_t>(text.front());
        if (isLowSurrogate(next)) {
            text.remove_prefix(1);
            return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
        }
    }
    const bool valid = unit <= 0x10FFFF && !isHighSurrogate(unit) && !isLowSurrogate(unit);
    return valid ? unit : kReplacement;
}

void append(std::wstring& text, std::uint32_t codePoint)
{
    if (sizeof(wchar_t) == 2 && codePoint > 0xFFFF) {
        text += static_cast<wchar_t>(0xD7C0 + (codePoint >> 10));
        text += static_cast<wchar_t>(0xDC00 + (codePoint & 0x3FF));
    } else {
        text += static_cast<wchar_t>(codePoint);
    }
}

} // namespace

std::string toUtf8(std::wstring_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
        utf8::unchecked::append(takeCodePoint(text), std::back_inserter(result));
    return result;
}

std::wstring toWide(std::string_view text)
{
    // Most texts have no character of more than a byte, or only one far behind.
    const auto isLong = [](char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; };
    const auto firstLong = std::find_if(text.begin(), text.end(), isLong);
    std::wstring result(text.begin(), firstLong);
    if (firstLong == text.end())
        return result;
    const std::string valid = utf8::replace_invalid(text.substr(result.size()));
    result.reserve(result.size() + valid.size());
    for (auto at = valid.begin(); at != valid.end();)
        append(result, utf8::unchecked::next(at));
    return result;
}

std::filesystem::path toPath(std::wstring_view text)
{
#if defined(_WIN32)
    return std::filesystem::path(text);
#else
    return std::filesystem::path(toUtf8(text));
#endif
}

std::filesystem::path utf8ToPath(std::string_view text)
{
#if defined(_WIN32)
    return std::filesystem::path(toWide(text));
#else
    return std::filesystem::path(text);
#endif
}

std::wstring pathToWide(const std::filesystem::path& path)
{
#if defined(_WIN32)
    return path.native();
#else
    return toWide(path.native());
#endif
}

std::string pathToUtf8(const std::filesystem::path& path)
{
#if defined(_WIN32)
    return toUtf8(path.native());
#else
    return path.native();
#endif
}

} // namespace cel

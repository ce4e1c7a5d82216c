#include "tools/cel/text.h"

#include <utf8.h>

#include <charconv>
#include <cmath>
#include <iterator>

namespace cel::tool {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isBlank(char32_t c)
{
    return c == '\t' || c == '\n' || c == '\r';
}

bool steersTerminal(char32_t c)
{
    const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
    const bool breaksLine = c == 0x2028 || c == 0x2029;
    const bool turnsDirection = c == 0x061C || c == 0x200E || c == 0x200F ||
                                (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
    return isControl || breaksLine || turnsDirection;
}

bool beginsCodePoint(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

/// Bytes of the first `columns` code points.
std::size_t bytesOf(std::string_view text, std::size_t columns)
{
    std::size_t byte = 0;
    for (std::size_t seen = 0; byte < text.size(); ++byte)
        if (beginsCodePoint(text[byte]) && seen++ == columns)
            break;
    return byte;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string whole;
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(whole), kReplacement);
    std::string result;
    for (auto next = whole.begin(); next != whole.end();) {
        const char32_t c = utf8::unchecked::next(next);
        utf8::unchecked::append(isBlank(c)          ? U' '
                                : steersTerminal(c) ? kReplacement
                                                    : c,
                                std::back_inserter(result));
    }
    return result;
}

std::size_t columnsOf(std::string_view text)
{
    std::size_t columns = 0;
    for (const char byte : text)
        columns += beginsCodePoint(byte);
    return columns;
}

std::string clipped(std::string_view text, std::size_t columns)
{
    if (columnsOf(text) <= columns)
        return std::string(text);
    const bool roomForEllipsis = columns > 1;
    std::string result(text.substr(0, bytesOf(text, columns - roomForEllipsis)));
    return roomForEllipsis ? result + "…" : result;
}

std::string padded(std::string_view text, std::size_t columns)
{
    std::string result(text);
    const std::size_t used = columnsOf(text);
    if (used < columns)
        result.append(columns - used, ' ');
    return result;
}

std::string number(double value)
{
    if (std::fabs(value) < 1e9)
        value = std::round(value * 1e6) / 1e6 + 0.0; // not "-0"
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

std::string counted(long long count, std::string_view one)
{
    std::string digits = std::to_string(count);
    for (std::size_t from = digits.size(); from > 3 && digits[from - 4] != '-'; from -= 3)
        digits.insert(from - 3, 1, ',');
    return digits + " " + std::string(one) + (count == 1 ? "" : "s");
}

} // namespace cel::tool

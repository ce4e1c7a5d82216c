#include "interchange/text_lines.h"

#include <algorithm>

namespace cel {

namespace {

constexpr std::size_t kLongestQuote = 80;
constexpr std::string_view kBlanks = " \t";

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0x7F || (byte < 0x20 && c != '\t' && c != '\n' && c != '\r');
}

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t count = utf8CharacterBytes(text);
        if (count == 0)
            return false;
        text.remove_prefix(count);
    }
    return true;
}

std::string fromLatin1(std::string_view text)
{
    std::string result;
    result.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            result += c;
        } else {
            result += static_cast<char>(0xC0U | byte >> 6);
            result += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return result;
}

/// `text` without the part of a character that stands at its end.
std::string_view wholeCharacters(std::string_view text, std::size_t mostBytes)
{
    if (text.size() <= mostBytes)
        return text;
    std::size_t end = mostBytes;
    while (end > 0 && isContinuation(text[end]))
        --end;
    return text.substr(0, end);
}

} // namespace

std::size_t utf8CharacterBytes(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return 1;
    const std::size_t count = lead >= 0xC2 && lead < 0xE0   ? 2
                              : lead >= 0xE0 && lead < 0xF0 ? 3
                              : lead >= 0xF0 && lead < 0xF5 ? 4
                                                            : 0;
    if (count == 0 || text.size() < count)
        return 0;
    for (std::size_t i = 1; i < count; ++i)
        if (!isContinuation(text[i]))
            return 0;
    // Overlong forms, surrogates, and what lies beyond the last character.
    const auto second = static_cast<unsigned char>(text[1]);
    const bool wrong = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return wrong ? 0 : count;
}

CleanText cleanText(std::string_view text)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    CleanText clean;
    clean.wasLatin1 = !isUtf8(text);
    clean.text = clean.wasLatin1 ? fromLatin1(text) : std::string(text);
    for (char& c : clean.text)
        if (isControl(c)) {
            c = ' ';
            clean.hadControls = true;
        }
    return clean;
}

std::optional<std::string_view> LineReader::next()
{
    if (rest_.empty())
        return std::nullopt;
    const std::size_t end = std::min(rest_.find_first_of("\r\n"), rest_.size());
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end);
    if (rest_.starts_with("\r\n"))
        rest_.remove_prefix(2);
    else if (!rest_.empty())
        rest_.remove_prefix(1);
    ++number_;
    return line;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> wordsOf(std::string_view line)
{
    std::vector<std::string_view> words;
    for (std::size_t at = line.find_first_not_of(kBlanks); at != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

bool takePrefix(std::string_view& text, std::string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        const char c = text[i];
        if ((c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c) != prefix[i])
            return false;
    }
    text = trimmed(text.substr(prefix.size()));
    return true;
}

std::string quoted(std::string_view text)
{
    const std::string_view shown = wholeCharacters(text, kLongestQuote);
    return "\"" + std::string(shown) + (shown.size() < text.size() ? "...\"" : "\"");
}

std::string asOneLine(std::string_view text, std::size_t mostBytes)
{
    const std::string valid = isUtf8(text) ? std::string(text) : fromLatin1(text);
    std::string line(trimmed(wholeCharacters(valid, mostBytes)));
    for (char& c : line)
        if (isControl(c) || c == '\n' || c == '\r')
            c = ' ';
    return std::string(trimmed(line));
}

} // namespace cel

#include "interchange/subtitle_text.h"

#include "interchange/text_lines.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace cel {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD
constexpr char32_t kReplacementCharacter = 0xFFFD;

/// Windows-1252 from 0x80 to 0x9F; what it leaves undefined is a control character.
constexpr std::array<char16_t, 32> kWindowsCharacters = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void append(std::string& text, char32_t c)
{
    const auto tail = [c](int shift) { return static_cast<char>(0x80U | (c >> shift & 0x3FU)); };
    if (c < 0x80) {
        text += static_cast<char>(c);
    } else if (c < 0x800) {
        text += static_cast<char>(0xC0U | c >> 6);
        text += tail(0);
    } else if (c < 0x10000) {
        text += static_cast<char>(0xE0U | c >> 12);
        text.append({tail(6), tail(0)});
    } else {
        text += static_cast<char>(0xF0U | c >> 18);
        text.append({tail(12), tail(6), tail(0)});
    }
}

bool isPlain(char c)
{
    return (c >= ' ' && c < 0x7F) || c == '\n' || c == '\t';
}

/// Whether one of eight characters needs a closer look: control characters, line ends too, and what
/// is more than a byte long. Most of a file is passed over in such steps.
bool hasUncommon(const char* eight)
{
    std::uint64_t word = 0;
    std::memcpy(&word, eight, sizeof word);
    constexpr std::uint64_t kEach = 0x0101010101010101;
    const std::uint64_t belowBlank = (word - kEach * ' ') & ~word;
    const std::uint64_t isDelete = (word ^ kEach * 0x7F) - kEach;
    return ((belowBlank | isDelete | word) & kEach * 0x80) != 0;
}

/// Copies the text, mending what is not clean.
class Cleaner
{
public:
    explicit Cleaner(std::string_view bytes)
        : bytes_(bytes)
    {
        clean_.text.reserve(bytes.size());
    }

    DecodedText clean()
    {
        while (at_ < bytes_.size()) {
            const std::size_t from = at_;
            skipPlain();
            clean_.text.append(bytes_, from, at_ - from);
            if (at_ < bytes_.size())
                mendOne();
        }
        return std::move(clean_);
    }

    /// Characters of more than one byte that were well-formed.
    std::size_t longCharacters() const { return longCharacters_; }

private:
    void skipPlain()
    {
        for (;;) {
            while (bytes_.size() - at_ >= 8 && !hasUncommon(bytes_.data() + at_))
                at_ += 8;
            const std::size_t near = std::min(at_ + 8, bytes_.size());
            while (at_ < near && isPlain(bytes_[at_]))
                ++at_;
            if (at_ < near || at_ == bytes_.size())
                return;
        }
    }

    void mendOne()
    {
        const char c = bytes_[at_];
        if (c == '\r') {
            clean_.text += '\n';
            at_ += bytes_.substr(at_).starts_with("\r\n") ? 2 : 1;
            return;
        }
        const std::size_t size = utf8CharacterBytes(bytes_.substr(at_));
        if (size == 0 || c == '\0') {
            ++clean_.badCharacters;
            clean_.text += kReplacement;
            ++at_;
        } else if (size == 1 || isUpperControl(size)) {
            ++clean_.controls;
            clean_.text += ' ';
            at_ += size;
        } else {
            ++longCharacters_;
            clean_.text.append(bytes_, at_, size);
            at_ += size;
        }
    }

    /// U+0080 to U+009F.
    bool isUpperControl(std::size_t size) const
    {
        return size == 2 && bytes_[at_] == '\xC2' &&
               static_cast<unsigned char>(bytes_[at_ + 1]) < 0xA0;
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
    std::size_t longCharacters_ = 0;
    DecodedText clean_;
};

std::string fromWindows(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        append(text, byte >= 0x80 && byte < 0xA0 ? kWindowsCharacters[byte - 0x80U] : byte);
    }
    return text;
}

enum class ByteOrder { little, big };

DecodedText decodeUtf16(std::string_view bytes, ByteOrder order)
{
    const auto unitAt = [bytes, order](std::size_t i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        return static_cast<char32_t>(order == ByteOrder::little ? first | second << 8
                                                                : first << 8 | second);
    };
    const std::size_t units = bytes.size() / 2;
    std::size_t bad = bytes.size() % 2;
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < units; ++i) {
        char32_t c = unitAt(i);
        const bool high = c >= 0xD800 && c < 0xDC00;
        const bool low = c >= 0xDC00 && c < 0xE000;
        const char32_t next = high && i + 1 < units ? unitAt(i + 1) : 0;
        if (next >= 0xDC00 && next < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        } else if (high || low) {
            c = kReplacementCharacter;
            ++bad;
        }
        append(text, c);
    }
    DecodedText clean = Cleaner(text).clean();
    clean.badCharacters += bad;
    clean.encoding = order == ByteOrder::little ? "UTF-16 LE" : "UTF-16 BE";
    return clean;
}

/// Files begin with a digit or a letter of ASCII, of which UTF-16 makes two bytes.
std::optional<ByteOrder> byteOrderWithoutMark(std::string_view bytes)
{
    if (bytes.size() < 4)
        return std::nullopt;
    const auto isHalf = [bytes](std::size_t letter, std::size_t zero) {
        return bytes[letter] != 0 && bytes[zero] == 0 && bytes[letter + 2] != 0 &&
               bytes[zero + 2] == 0;
    };
    if (isHalf(0, 1))
        return ByteOrder::little;
    if (isHalf(1, 0))
        return ByteOrder::big;
    return std::nullopt;
}

DecodedText decodeBytes(std::string_view bytes)
{
    Cleaner cleaner(bytes);
    DecodedText clean = cleaner.clean();
    clean.encoding = "UTF-8";
    // A few bad bytes are damage; where they are the rule it is another encoding.
    const bool isOther =
        clean.badCharacters > cleaner.longCharacters() && bytes.find('\0') == bytes.npos;
    if (isOther) {
        clean = Cleaner(fromWindows(bytes)).clean();
        clean.encoding = "Windows-1252";
    }
    return clean;
}

} // namespace

DecodedText decodeSubtitles(std::string_view bytes)
{
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
    if (bytes.starts_with(kUtf8Mark))
        return decodeBytes(bytes.substr(kUtf8Mark.size()));
    if (bytes.starts_with("\xFF\xFE"))
        return decodeUtf16(bytes.substr(2), ByteOrder::little);
    if (bytes.starts_with("\xFE\xFF"))
        return decodeUtf16(bytes.substr(2), ByteOrder::big);
    if (const auto order = byteOrderWithoutMark(bytes))
        return decodeUtf16(bytes, *order);
    return decodeBytes(bytes);
}

std::string utf8Of(char32_t c)
{
    const bool exists = c < 0xD800 || (c >= 0xE000 && c < 0x110000);
    std::string text;
    append(text, exists ? c : kReplacementCharacter);
    return text;
}

LossLedger lossesOfDecoding(const DecodedText& decoded)
{
    LossLedger losses;
    if (decoded.encoding == "Windows-1252")
        losses.add(0, "text", "the file is no Unicode text; it was read as Windows-1252");
    if (decoded.badCharacters == 1)
        losses.add(0, "text", "a character is no " + decoded.encoding + "; it became U+FFFD");
    if (decoded.badCharacters > 1)
        losses.add(0, "text",
                   std::to_string(decoded.badCharacters) + " characters are no " +
                       decoded.encoding + "; they became U+FFFD");
    if (decoded.controls > 0)
        losses.add(0, "text",
                   "control characters that became blanks: " + std::to_string(decoded.controls));
    return losses;
}

std::optional<std::string_view> DecodedLines::next()
{
    if (rest_.empty())
        return std::nullopt;
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    ++number_;
    return line;
}

bool isBlankLine(std::string_view line)
{
    return line.find_first_not_of(" \t") == line.npos;
}

} // namespace cel

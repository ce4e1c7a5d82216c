#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the importers of text have in common: limits, lines, and texts quoted for a person.

namespace cel {

inline constexpr std::size_t kLargestTextBytes = std::size_t(64) << 20;
inline constexpr std::size_t kMostTextLines = 1'000'000;
inline constexpr std::size_t kLongestTextLine = 4096;

/// A text made safe to work with: valid UTF-8 without control characters.
struct CleanText
{
    std::string text;
    bool wasLatin1 = false;   ///< it was no UTF-8; bytes above 127 were read as Latin-1
    bool hadControls = false; ///< control characters became blanks
};
CleanText cleanText(std::string_view text);

/// Bytes of the UTF-8 character that a text begins with; 0 when it begins with none. The text is
/// not empty.
std::size_t utf8CharacterBytes(std::string_view text);

/// The lines of a text, one after the other; they may end in LF, CR LF or CR.
class LineReader
{
public:
    explicit LineReader(std::string_view text)
        : rest_(text)
    {
    }

    /// The next line without its end; nothing after the last one.
    std::optional<std::string_view> next();

    /// Number of the line that `next` gave last, from 1.
    std::size_t number() const { return number_; }

private:
    std::string_view rest_;
    std::size_t number_ = 0;
};

std::string_view trimmed(std::string_view text);

/// The words of a line.
std::vector<std::string_view> wordsOf(std::string_view line);

/// Takes `prefix` (in capitals; small letters match too) and the blanks after it off the front.
bool takePrefix(std::string_view& text, std::string_view prefix);

/// The text in double quotes, shortened when it is long.
std::string quoted(std::string_view text);

/// As one line of a text file in UTF-8: control characters become blanks, blanks at the ends go,
/// and what is too long is cut off between two characters.
std::string asOneLine(std::string_view text, std::size_t mostBytes);

} // namespace cel

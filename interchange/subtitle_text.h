#pragma once

#include "interchange/LossLedger.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// From the bytes of a subtitle file to lines of clean text.

namespace cel {

/// Text that is safe to work with: UTF-8, lines ended by '\n', no control characters but tabs.
struct DecodedText
{
    std::string text;
    std::string encoding;          ///< what the bytes were
    std::size_t badCharacters = 0; ///< became U+FFFD: no characters of that encoding, and NULs
    std::size_t controls = 0;      ///< control characters that became blanks
};

/// Reads UTF-8 and UTF-16 of both byte orders, with a byte-order mark or without. Bytes that are
/// mostly no UTF-8 are read as Windows-1252, in which most old subtitle files are written; line
/// ends may be LF, CR LF or CR. One pass for UTF-8.
DecodedText decodeSubtitles(std::string_view bytes);

/// What had to be replaced to make the text clean.
LossLedger lossesOfDecoding(const DecodedText& decoded);

/// The lines of decoded text.
class DecodedLines
{
public:
    explicit DecodedLines(std::string_view text)
        : rest_(text)
    {
    }

    /// The next line; nothing after the last.
    std::optional<std::string_view> next();

    /// Number of the line that `next` gave last, from 1.
    std::size_t number() const { return number_; }

private:
    std::string_view rest_;
    std::size_t number_ = 0;
};

/// A character as UTF-8; U+FFFD in place of what is none.
std::string utf8Of(char32_t c);

/// Whether a line has nothing to show.
bool isBlankLine(std::string_view line);

} // namespace cel

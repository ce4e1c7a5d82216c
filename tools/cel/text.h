#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text as it may go to a terminal. A column is a code point: exact for the scripts that edit lists
/// are written in, an approximation for wide and combining characters.
namespace cel::tool {

/// Text from a file, fit to be printed: what would steer a terminal (control characters, marks that
/// turn the writing direction) and what is no UTF-8 becomes U+FFFD, tabs and line ends a blank.
std::string printable(std::string_view text);

/// Number of code points of well-formed UTF-8.
std::size_t columnsOf(std::string_view text);

/// At most `columns` code points of the text; one that was cut ends in an ellipsis, if there is
/// room for more than that.
std::string clipped(std::string_view text, std::size_t columns);

/// The text with blanks up to `columns` code points; longer text stays as it is.
std::string padded(std::string_view text, std::size_t columns);

/// A number as a sentence shows it, to a millionth and independent of the locale; numbers from 1e9
/// on in full.
std::string number(double value);

/// "1 section", "2 sections", "27,965 frames": a count and what is counted.
std::string counted(long long count, std::string_view one);

} // namespace cel::tool

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Tables of cases as text, tests/data/tables/FILE.txt.
///
///     [cut]
///     inside | A0-4 B4-6 | cut 1 | A0-1 A1-4@1 B4-6 | 2
///
/// Columns stand between bars with a blank on either side; `\n` in one is a line break, `\xHH` a
/// byte. What a row leaves out at its end is empty. A line that begins with '#' is a comment.
namespace cel::test {

struct TableRow
{
    std::string place; ///< file and line, for messages
    std::vector<std::string> columns;

    /// The text of a column; empty when the row ends before it.
    const std::string& operator[](std::size_t column) const;

    /// A column as a number, also `inf` and `nan`.
    /// @throws std::invalid_argument for any other text.
    double number(std::size_t column) const;
    int integer(std::size_t column) const { return static_cast<int>(number(column)); }
};

/// The rows under a heading, or all of the file.
/// @throws std::runtime_error when there are none.
std::vector<TableRow> table(std::string_view file, std::string_view heading = {});

} // namespace cel::test

#include "tests/support/table.h"

#include <charconv>
#include <fstream>
#include <stdexcept>

namespace cel::test {

namespace {

/// A column without the blanks around it, and with the bytes that `\n` and `\xHH` stand for.
std::string columnOf(std::string_view text)
{
    const std::size_t from = std::min(text.find_first_not_of(' '), text.size());
    text = text.substr(from, text.find_last_not_of(' ') + 1 - from);
    std::string column;
    while (!text.empty()) {
        unsigned byte = 0;
        const bool hex = text.starts_with("\\x") && text.size() >= 4 &&
                         std::from_chars(&text[2], &text[2] + 2, byte, 16).ec == std::errc();
        const bool lineBreak = text.starts_with("\\n");
        column += hex ? static_cast<char>(byte) : lineBreak ? '\n' : text.front();
        text.remove_prefix(hex ? 4 : lineBreak ? 2 : 1);
    }
    return column;
}

std::vector<std::string> columnsOf(const std::string& line)
{
    constexpr std::string_view kBar = " | ";
    const std::string padded = " " + line + " "; // the first and the last column may be empty
    std::string_view rest = padded;
    std::vector<std::string> columns;
    for (std::size_t bar; (bar = rest.find(kBar)) != rest.npos; rest.remove_prefix(bar + 2))
        columns.push_back(columnOf(rest.substr(0, bar)));
    columns.push_back(columnOf(rest));
    return columns;
}

} // namespace

const std::string& TableRow::operator[](std::size_t column) const
{
    static const std::string none;
    return column < columns.size() ? columns[column] : none;
}

double TableRow::number(std::size_t column) const
{
    const std::string& text = (*this)[column];
    const char* const end = text.data() + text.size();
    double value = 0;
    if (std::from_chars(text.data(), end, value).ptr != end || text.empty())
        throw std::invalid_argument(place + ": no number: '" + text + "'");
    return value;
}

std::vector<TableRow> table(std::string_view file, std::string_view heading)
{
    const std::string name = std::string(file) + ".txt";
    std::ifstream stream(CEL_TEST_DATA "/tables/" + name);
    std::vector<TableRow> rows;
    bool wanted = heading.empty();
    int number = 1;
    for (std::string line; std::getline(stream, line); ++number) {
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[')
            wanted = heading.empty() || line == "[" + std::string(heading) + "]";
        else if (wanted)
            rows.push_back({name + ":" + std::to_string(number), columnsOf(line)});
    }
    if (rows.empty())
        throw std::runtime_error("no rows under [" + std::string(heading) + "] in " + name);
    return rows;
}

} // namespace cel::test

#include "tools/cel/section_table.h"

#include "tools/cel/text.h"

#include <algorithm>
#include <array>
#include <vector>

namespace cel::tool {

namespace {

constexpr std::size_t kColumns = 9;
using Row = std::array<std::string, kColumns>;

std::string describeLevel(const ListedSection& section)
{
    const std::string in = number(section.levelIn);
    const std::string out = number(section.levelOut);
    return in == out ? in : in + " to " + out;
}

Row rowOf(const Cut& cut, const ListedSection& section)
{
    Row row = {std::to_string(section.number), recordTimecode(cut, section.record.from),
               recordTimecode(cut, section.record.to)};
    if (!section.black && section.cookie.type() != kSubtitleCookie) {
        row[3] = sourceTimecode(cut, section.source.from);
        row[4] = sourceTimecode(cut, section.source.to);
        row[7] = describeSpeed(section.speed);
    }
    row[5] = section.material ? printable(section.material->reel) : "";
    row[6] = section.label();
    row[8] = describeLevel(section);
    return row;
}

} // namespace

std::string sectionTable(const Cut& cut, std::size_t track, const TimeRange& stretch)
{
    std::vector<Row> rows = {
        {"#", "record in", "record out", "source in", "source out", "reel", "clip", "speed",
         "level"},
    };
    for (const ListedSection& section : sectionsOf(*cut.tracks[track], cut.materials))
        if (shows(section, stretch))
            rows.push_back(rowOf(cut, section));

    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], columnsOf(row[i]));

    std::string table;
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < kColumns; ++i)
            line += padded(row[i], widths[i]) + "  ";
        table += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return table;
}

} // namespace cel::tool

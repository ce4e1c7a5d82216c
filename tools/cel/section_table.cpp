#include "tools/cel/section_table.h"

#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <array>
#include <vector>

namespace cel::tool {

namespace {

constexpr std::size_t kColumns = 10;
using Row = std::array<std::string, kColumns>;

std::string describeLevel(const ListedSection& section)
{
    const std::string in = number(section.levelIn);
    const std::string out = number(section.levelOut);
    return in == out ? in : in + " to " + out;
}

/// "00:00:00:10 out"; empty without fades.
std::string describeFades(const Cut& cut, const ListedSection& section)
{
    std::string text;
    if (!section.black && section.fadeIn > 0)
        text = describeLength(cut.rate, section.fadeIn) + " in";
    if (!section.black && section.fadeOut > 0)
        text += (text.empty() ? "" : ", ") + describeLength(cut.rate, section.fadeOut) + " out";
    return text;
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
    row[9] = describeFades(cut, section);
    return row;
}

} // namespace

std::string sectionTable(const Cut& cut, std::size_t track, const TimeRange& stretch)
{
    std::vector<Row> rows = {
        {"#", "record in", "record out", "source in", "source out", "reel", "clip", "speed",
         "level", ""},
    };
    for (const ListedSection& section : sectionsOf(*cut.tracks[track], cut.materials))
        if (shows(section, stretch))
            rows.push_back(rowOf(cut, section));
    const bool fades =
        std::any_of(rows.begin(), rows.end(), [](const Row& row) { return !row.back().empty(); });
    if (fades)
        rows.front().back() = "fade";

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

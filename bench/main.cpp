#include "bench/rows.h"

#include <charconv>
#include <iostream>
#include <regex>
#include <string_view>

#if defined(__linux__)
#include <sched.h>
#endif

using cel::bench::Result;
using cel::bench::Row;

namespace {

constexpr const char* kHelp =
    R"(cel_bench: every operation beside the work that it cannot avoid

  cel_bench [--filter REGEX] [--sizes N,N...] [--repetitions N] [--json FILE]

  --filter REGEX    only operations in whose name the expression is found
  --sizes N,N...    sections on the track, instead of the sizes of each operation
  --repetitions N   runs of which the median is taken, operation and floor in turn (7)
  --json FILE       also write the rows as an array of
                    {"operation", "n", "time_ns", "floor_ns", "ratio"}

n counts sections; a section is two events. Times are for one operation.
Example: cel_bench --filter '^find' --sizes 50000,500000
)";

struct Options
{
    std::string filter;
    std::vector<std::size_t> sizes;
    int repetitions = 7;
    std::string json;
    bool help = false;
};

template <class Number>
bool readNumber(std::string_view text, Number& value)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value > 0;
}

bool readNumbers(std::string_view text, std::vector<std::size_t>& values)
{
    for (;;) {
        const std::size_t comma = text.find(',');
        if (!readNumber(text.substr(0, comma), values.emplace_back()))
            return false;
        if (comma == text.npos)
            return true;
        text.remove_prefix(comma + 1);
    }
}

/// @return whether the arguments make sense.
bool readOptions(const std::vector<std::string>& arguments, Options& options)
{
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (name == "--help" || name == "-h") {
            options.help = true;
            continue;
        }
        if (++i == arguments.size())
            return false;
        const std::string& value = arguments[i];
        if (name == "--filter")
            options.filter = value;
        else if (name == "--json")
            options.json = value;
        else if (name == "--sizes" && readNumbers(value, options.sizes))
            ;
        else if (name == "--repetitions" && readNumber(value, options.repetitions))
            ;
        else
            return false;
    }
    return true;
}

/// Stays on the processor that it started on: another one has cold caches.
void pinToOneCore()
{
#if defined(__linux__)
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &cores);
    if (sched_setaffinity(0, sizeof(cores), &cores) != 0)
        std::cerr << "cel_bench: cannot stay on one core, times may vary more\n";
#endif
}

/// Every row, in the order of the table.
std::vector<Row> allRows()
{
    using namespace cel::bench;
    std::vector<Row> rows;
    for (const auto& family :
         {searchRows(), editingRows(), rangeEditRows(), wholeTrackRows(), crossfadeRows(),
          longEditRows(), persistenceRows(), savingRows(), storeRows(), trackHandleRows(),
          levelRows(), subtitleRows(), subtitleFileRows()})
        rows.insert(rows.end(), family.begin(), family.end());
    return rows;
}

std::vector<Result> measureAll(const Options& options)
{
    const std::regex filter(options.filter);
    std::vector<Result> results;
    std::cout << cel::bench::tableHeader() << std::endl;
    for (const Row& row : allRows()) {
        if (!std::regex_search(row.operation, filter))
            continue;
        for (const std::size_t sections : options.sizes.empty() ? row.sizes : options.sizes) {
            results.push_back(cel::bench::measure(row, sections, options.repetitions));
            std::cout << cel::bench::tableLine(results.back()) << std::endl;
        }
    }
    for (const cel::bench::Note& note : cel::bench::memoryNotes())
        if (std::regex_search(note.subject, filter))
            std::cout << note.subject << ": " << note.count() << std::endl;
    return results;
}

} // namespace

int main(int argc, char** argv)
try {
    Options options;
    if (!readOptions(std::vector<std::string>(argv + 1, argv + argc), options)) {
        std::cerr << kHelp;
        return 2;
    }
    if (options.help) {
        std::cout << kHelp;
        return 0;
    }
    pinToOneCore();
    const std::vector<Result> results = measureAll(options);
    if (options.json.empty())
        return 0;
    const auto trouble = cel::bench::saveJson(results, options.json);
    if (trouble)
        std::cerr << "cel_bench: " << *trouble << '\n';
    return trouble ? 1 : 0;
} catch (const std::exception& fault) {
    std::cerr << "cel_bench: " << fault.what() << '\n';
    return 2;
}

#include "bench/table.h"

#include "platform/export.h"

#include <cstdarg>
#include <cstdio>
#include <fstream>

namespace cel::bench {

namespace {

CEL_PRINTF(1, 2) std::string format(const char* pattern, ...)
{
    char text[200];
    std::va_list values;
    va_start(values, pattern);
    std::vsnprintf(text, sizeof(text), pattern, values);
    va_end(values);
    return text;
}

/// Three digits and a unit.
std::string duration(double nanoseconds)
{
    const char* unit = "ns";
    for (const char* larger : {"us", "ms", "s"}) {
        if (nanoseconds < 999.5)
            break;
        nanoseconds /= 1000.0;
        unit = larger;
    }
    const int decimals = nanoseconds < 9.995 ? 2 : nanoseconds < 99.95 ? 1 : 0;
    return format("%.*f %-2s", decimals, nanoseconds, unit);
}

} // namespace

std::string tableHeader()
{
    return format("%-44s %9s  %10s  %10s  %6s", "operation", "n", "time", "floor", "ratio");
}

std::string tableLine(const Result& result)
{
    return format("%-44s %9zu  %10s  %10s  %6.2f", result.operation.c_str(), result.sections,
                  duration(result.time).c_str(), duration(result.floor).c_str(), result.ratio());
}

std::optional<std::string> saveJson(const std::vector<Result>& results, const std::string& path)
{
    std::ofstream file(path);
    const char* separator = "[\n";
    for (const Result& result : results) {
        file << separator
             << format(
                    "  {\"operation\": \"%s\", \"n\": %zu, \"time_ns\": %.2f, \"floor_ns\": %.2f, "
                    "\"ratio\": %.4f}",
                    result.operation.c_str(), result.sections, result.time, result.floor,
                    result.ratio());
        separator = ",\n";
    }
    file << (results.empty() ? "[]\n" : "\n]\n");
    file.close();
    if (file.fail())
        return "cannot write '" + path + "'";
    return std::nullopt;
}

} // namespace cel::bench

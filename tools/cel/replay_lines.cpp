#include "tools/cel/replay_lines.h"

namespace cel::replay {

namespace {

/// Reads a line without its end; one that is too long is left where it exceeds the limit.
/// @return false at the end of the script.
bool readLine(std::istream& script, std::string& line)
{
    line.clear();
    for (char c = 0; line.size() <= kLongestLine && script.get(c);) {
        if (c == '\n')
            return true;
        line += c;
    }
    return !line.empty();
}

bool isSkipped(std::string_view line, std::string_view comment)
{
    const std::size_t start = line.find_first_not_of(" \t\r");
    return start == std::string_view::npos || line.substr(start).starts_with(comment);
}

void runLine(std::string_view line, const RunOperation& run)
{
    const Value parsed = parseLine(line);
    const Value::Array& parts = parsed.array();
    if (parts.empty())
        throw ScriptError("an operation begins with its name");
    run(parts[0].text(), Arguments(parts).subspan(1));
}

} // namespace

tool::ExitCode runLines(std::istream& script, const std::string& name, std::string_view comment,
                        const RunOperation& run, std::ostream& out, std::ostream& problems)
{
    std::string line;
    for (int number = 1; readLine(script, line); ++number) {
        if (isSkipped(line, comment))
            continue;
        try {
            runLine(line, run);
        } catch (const ScriptError& error) {
            problems << name << ':' << number << ": " << error.what() << '\n';
            return tool::kUsage;
        }
        if (!out) {
            problems << name << ':' << number << ": the output cannot be written\n";
            return tool::kUnwritable;
        }
    }
    if (script.bad()) {
        problems << name << ": cannot be read\n";
        return tool::kUnreadable;
    }
    return tool::kFine;
}

void requireArguments(std::string_view name, std::size_t count, std::size_t fewest,
                      std::size_t most)
{
    if (count >= fewest && count <= most)
        return;
    const std::string range =
        std::to_string(fewest) + (fewest == most ? "" : " to " + std::to_string(most));
    throw ScriptError('"' + std::string(name) + "\" takes " + range +
                      (most == 1 ? " argument, not " : " arguments, not ") + std::to_string(count));
}

} // namespace cel::replay

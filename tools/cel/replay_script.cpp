#include "tools/cel/replay_script.h"

#include "platform/support/Log.h"
#include "tools/cel/replay_session.h"

#include <map>

namespace cel::replay {

namespace {

const std::map<std::string_view, Operation>& operations()
{
    static const auto all = [] {
        std::map<std::string_view, Operation> byName;
        for (const auto family :
             {trackOperations(), eventOperations(), editingOperations(), derivedOperations(),
              queryOperations(), handleOperations(), persistenceOperations(), printingOperations()})
            for (const Operation& operation : family)
                byName.emplace(operation.name, operation);
        return byName;
    }();
    return all;
}

/// Sends the library's reports to the printer for a while.
class ReportsToPrinter
{
public:
    explicit ReportsToPrinter(Printer& printer)
        : former_(
              setLogSink([&printer](LogChannel, const std::string& text) { printer.report(text); }))
    {
    }
    ~ReportsToPrinter() { setLogSink(std::move(former_)); }
    ReportsToPrinter(const ReportsToPrinter&) = delete;
    ReportsToPrinter& operator=(const ReportsToPrinter&) = delete;

private:
    LogSink former_;
};

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

bool isSkipped(std::string_view line)
{
    const std::size_t start = line.find_first_not_of(" \t\r");
    return start == std::string_view::npos || line.substr(start).starts_with("//");
}

/// Carries out one line. An error that the library throws is part of the output.
void runLine(Session& session, std::string_view line)
{
    const Value parsed = parseLine(line);
    const Value::Array& parts = parsed.array();
    if (parts.empty())
        throw ScriptError("an operation begins with its name");
    const auto found = operations().find(parts[0].text());
    if (found == operations().end())
        throw ScriptError("unknown operation \"" + parts[0].text() + '"');

    const Operation& operation = found->second;
    const Arguments arguments = Arguments(parts).subspan(1);
    requireArguments(operation.name, arguments.size(), operation.fewest, operation.most);
    try {
        operation.run(session, arguments);
        session.out.done();
    } catch (const ScriptError&) {
        throw;
    } catch (const std::exception& error) {
        session.out.failed(error.what());
    }
}

} // namespace

tool::ExitCode runScript(std::istream& script, const std::string& name, std::ostream& out,
                         std::ostream& problems)
{
    Session session(out);
    const ReportsToPrinter reports(session.out);
    std::string line;
    for (int number = 1; readLine(script, line); ++number) {
        if (isSkipped(line))
            continue;
        try {
            runLine(session, line);
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

} // namespace cel::replay

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

/// Carries out one operation. An error that the library throws is part of the output.
void runOperation(Session& session, const std::string& name, Arguments arguments)
{
    const auto found = operations().find(name);
    if (found == operations().end())
        throw ScriptError("unknown operation \"" + name + '"');
    const Operation& operation = found->second;
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
    const auto run = [&session](const std::string& operation, Arguments arguments) {
        runOperation(session, operation, arguments);
    };
    return runLines(script, name, "//", run, out, problems);
}

} // namespace cel::replay

#include "platform/support/Log.h"
#include "tools/cel/replay_levels_session.h"
#include "tools/cel/replay_script.h"

#include <map>
#include <utility>

namespace cel::replay {

namespace {

const std::map<std::string_view, LevelOperation>& operations()
{
    static const auto all = [] {
        std::map<std::string_view, LevelOperation> byName;
        for (const auto family :
             {levelStateOperations(), levelEditingOperations(), levelQueryOperations()})
            for (const LevelOperation& operation : family)
                byName.emplace(operation.name, operation);
        return byName;
    }();
    return all;
}

/// Collects the library's reports, a line each, until they are taken.
class CollectedReports
{
public:
    CollectedReports()
        : former_(setLogSink([this](LogChannel, const std::string& text) { add(text); }))
    {
    }
    ~CollectedReports() { setLogSink(std::move(former_)); }
    CollectedReports(const CollectedReports&) = delete;
    CollectedReports& operator=(const CollectedReports&) = delete;

    std::string take() { return std::exchange(lines_, {}); }

private:
    void add(const std::string& text)
    {
        lines_ += "log " + text;
        if (!text.ends_with('\n'))
            lines_ += '\n';
    }

    std::string lines_;
    LogSink former_;
};

/// Carries out one operation. @return what it printed; a fault that the library throws is that.
std::string outputOf(LevelSession& session, const std::string& name, Arguments arguments)
{
    const auto found = operations().find(name);
    if (found == operations().end())
        throw ScriptError("unknown operation \"" + name + '"');
    const LevelOperation& operation = found->second;
    requireArguments(operation.name, arguments.size(), operation.arguments, operation.arguments);
    try {
        operation.run(session, arguments);
        return session.takeLines();
    } catch (const ScriptError&) {
        throw;
    } catch (const std::exception& fault) {
        session.takeLines();
        return std::string("throw ") + fault.what() + '\n';
    }
}

} // namespace

tool::ExitCode runLevelScript(std::istream& script, const std::string& name, std::ostream& out,
                              std::ostream& problems)
{
    LevelSession session;
    CollectedReports reports;
    const auto run = [&](const std::string& operation, Arguments arguments) {
        out << outputOf(session, operation, arguments) << reports.take() << std::flush;
    };
    return runLines(script, name, "#", run, out, problems);
}

} // namespace cel::replay

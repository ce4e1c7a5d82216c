#include "cel/version.h"
#include "tools/cel/commands.h"
#include "tools/cel/text.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

#ifdef _WIN32
#include <windows.h>
#endif

namespace cel::tool {
namespace {

constexpr const char* kIntroduction =
    "cel %s reads, shows, edits, checks and writes the tracks of a cut.\n"
    "\n"
    "Three commands to try:\n"
    "  cel import cut.edl cut.cel    bring an edit list in\n"
    "  cel show cut.cel              see its timeline\n"
    "  cel check cut.cel             find out whether anything is wrong with it\n"
    "\n"
    "cel --help lists all commands, cel COMMAND --help explains one with an example.\n";

constexpr const char* kExitCodes =
    "Exit codes: 0 fine, 1 something was found, 2 wrong usage, 3 an input cannot be read,\n"
    "4 a result cannot be written (an old file of that name stays as it was).";

int complain(ExitCode code, const char* text)
{
    std::fprintf(stderr, "cel: %s\n", printable(text).c_str());
    return code;
}

int run(int argc, char** argv)
{
    CLI::App program("Reads, shows, edits, checks and writes the tracks of a cut.", "cel");
    int exitCode = kFine;
    program.set_version_flag("--version", std::string("cel ") + celDllVersionStr());
    program.footer(kExitCodes);
    program.require_subcommand(0, 1);
    addImportCommand(program, exitCode);
    addShowCommand(program, exitCode);
    addCheckCommand(program, exitCode);
    addEditCommand(program, exitCode);
    addLevelsCommand(program, exitCode);
    addDiffCommand(program, exitCode);
    addSubtitlesCommand(program, exitCode);
    addExportCommand(program, exitCode);
    addReplayCommand(program, exitCode);

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& request) {
        // Asking for help or the version ends the parse too, and is no fault.
        return program.exit(request) == 0 ? kFine : kUsage;
    }
    if (program.get_subcommands().empty())
        std::printf(kIntroduction, celDllVersionStr());
    return exitCode;
}

} // namespace
} // namespace cel::tool

int main(int argc, char** argv)
{
    using namespace cel::tool;
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
#endif
    try {
        const int exitCode = run(argc, argv);
        if (std::fflush(stdout) != 0)
            return complain(kUnwritable, "cannot write to the standard output");
        return exitCode;
    } catch (const Failure& failure) {
        return complain(failure.code(), failure.what());
    } catch (const std::exception& fault) {
        return complain(kInternalFault, fault.what());
    }
}

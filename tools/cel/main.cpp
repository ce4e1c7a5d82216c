#include "cel/version.h"
#include "tools/cel/commands.h"
#include "tools/cel/text.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#ifdef _WIN32
#include "platform/support/utf8.h"

#include <fcntl.h>
#include <io.h>
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <shellapi.h>
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

int run(int argc, const char* const* argv)
{
    CLI::App program("Reads, shows, edits, checks and writes the tracks of a cut.", "cel");
    int exitCode = kFine;
    program.set_version_flag("--version", std::string("cel ") + celDllVersionStr());
    program.footer(kExitCodes);
    program.require_subcommand(0, 1);
    program.allow_windows_style_options(false); // a command line means the same on every system
    addImportCommand(program, exitCode);
    addShowCommand(program, exitCode);
    addCheckCommand(program, exitCode);
    addEditCommand(program, exitCode);
    addLevelsCommand(program, exitCode);
    addAudioCommand(program, exitCode);
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

#ifdef _WIN32

/// The arguments in UTF-8: those of `main` hold only what the system's code page can express.
std::vector<std::string> argumentsInUtf8()
{
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 0; wide && i < count; ++i)
        arguments.push_back(toUtf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

/// What goes in and comes out is the same bytes as on every other system.
void prepareStandardStreams()
{
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode)) // asking for more opens a console
        SetConsoleOutputCP(CP_UTF8);
    for (std::FILE* const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
}

int runAsOnOtherSystems()
{
    prepareStandardStreams();
    const std::vector<std::string> arguments = argumentsInUtf8();
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    return run(static_cast<int>(pointers.size()), pointers.data());
}

#endif

} // namespace
} // namespace cel::tool

int main([[maybe_unused]] int argc, [[maybe_unused]] char** argv)
{
    using namespace cel::tool;
    try {
#ifdef _WIN32
        const int exitCode = runAsOnOtherSystems();
#else
        const int exitCode = run(argc, argv);
#endif
        // A long answer may have been lost before its end, which then is all that is left to write.
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            return complain(kUnwritable, "cannot write to the standard output");
        return exitCode;
    } catch (const Failure& failure) {
        return complain(failure.code(), failure.what());
    } catch (const std::exception& fault) {
        return complain(kInternalFault, fault.what());
    }
}

#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace cel::tool {

/// What a command answers to the shell.
enum ExitCode : int {
    kFine = 0,
    kFindings = 1,       ///< it worked, and there is something to look at
    kUsage = 2,          ///< the command line, or a script, asks for what there is not
    kUnreadable = 3,     ///< an input cannot be opened or is of no kind that is known
    kUnwritable = 4,     ///< a result could not be saved; an old file of that name is as it was
    kInternalFault = 70, ///< the program itself is at fault
};

/// Ends a command: `main` prints the text behind "cel: " and answers with the code.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string& text)
        : std::runtime_error(text)
        , code_(code)
    {
    }

    ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

/// Each adds its command to the program. Running the command sets `exitCode`, which must outlive
/// the program, or throws `Failure`.
void addImportCommand(CLI::App& program, int& exitCode);
void addShowCommand(CLI::App& program, int& exitCode);
void addCheckCommand(CLI::App& program, int& exitCode);
void addEditCommand(CLI::App& program, int& exitCode);
void addLevelsCommand(CLI::App& program, int& exitCode);
void addAudioCommand(CLI::App& program, int& exitCode);
void addDiffCommand(CLI::App& program, int& exitCode);
void addSubtitlesCommand(CLI::App& program, int& exitCode);
void addExportCommand(CLI::App& program, int& exitCode);
void addReplayCommand(CLI::App& program, int& exitCode);

} // namespace cel::tool

#include "platform/support/utf8.h"
#include "tools/cel/commands.h"
#include "tools/cel/isolate.h"
#include "tools/cel/replay_script.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <memory>

namespace cel::tool {

namespace {

constexpr const char* kHelp =
    "Example, a track of one section:\n"
    "  printf '%s\\n' '[\"cel\", \"V1\", 0.04]' \\\n"
    "    '[\"append\", \"V1\", [86, 7, 0, 0], 10, 4, 0]' '[\"dump\", \"V1\"]' | cel replay\n"
    "Exit codes: 0 fine, 2 a line is no operation, 3 a script cannot be read.";

using RunScript = decltype(&replay::runScript);

int replayFile(RunScript run, const std::string& path)
{
    std::ifstream script(utf8ToPath(path), std::ios::binary);
    if (!script) {
        std::cerr << path << ": cannot be opened\n";
        return kUnreadable;
    }
    return run(script, path, std::cout, std::cerr);
}

int replayAll(const std::vector<std::string>& files, bool levels)
{
    const RunScript run = levels ? replay::runLevelScript : replay::runScript;
    if (files.empty())
        return run(std::cin, "standard input", std::cout, std::cerr);
    if (files.size() == 1)
        return replayFile(run, files.front());
    const auto command = levels ? std::vector<std::string>{"replay", "--levels"}
                                : std::vector<std::string>{"replay"};
    return runEachAlone(files, command,
                        [run](const std::string& path) { return replayFile(run, path); });
}

} // namespace

void addReplayCommand(CLI::App& program, int& exitCode)
{
    CLI::App* command = program.add_subcommand(
        "replay", "Run operation scripts and print what came of each operation");
    command->footer(kHelp);
    const auto files = std::make_shared<std::vector<std::string>>();
    const auto levels = std::make_shared<bool>(false);
    command->add_flag("--levels", *levels, "The scripts are over level envelopes, not event lists");
    command->add_option("FILE", *files,
                        "Scripts, each run in a process of its own; none: standard input");
    command->callback([files, levels, &exitCode] { exitCode = replayAll(*files, *levels); });
}

} // namespace cel::tool

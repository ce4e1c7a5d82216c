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

int replayFile(const std::string& path)
{
    std::ifstream script(path, std::ios::binary);
    if (!script) {
        std::cerr << path << ": cannot be opened\n";
        return kUnreadable;
    }
    return replay::runScript(script, path, std::cout, std::cerr);
}

int replayAll(const std::vector<std::string>& files)
{
    useBinaryStandardStreams();
    if (files.empty())
        return replay::runScript(std::cin, "standard input", std::cout, std::cerr);
    if (files.size() == 1)
        return replayFile(files.front());
    return runEachAlone(files, "replay", replayFile);
}

} // namespace

void addReplayCommand(CLI::App& program, int& exitCode)
{
    CLI::App* command = program.add_subcommand(
        "replay", "Run operation scripts and print what came of each operation");
    command->footer(kHelp);
    const auto files = std::make_shared<std::vector<std::string>>();
    command->add_option("FILE", *files,
                        "Scripts, each run in a process of its own; none: standard input");
    command->callback([files, &exitCode] { exitCode = replayAll(*files); });
}

} // namespace cel::tool

#include "tools/cel/command_line.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace cel::tool {

Command::Command(CLI::App& program, const char* name, const char* help)
    : command_(*program.add_subcommand(name, help))
{
}

void Command::argument(const char* name, std::string& value, const char* help)
{
    command_.add_option(name, value, help)->required();
}

void Command::arguments(const char* name, std::vector<std::string>& values, const char* help,
                        bool required)
{
    command_.add_option(name, values, help)->required(required);
}

void Command::flag(const char* name, bool& value, const char* help)
{
    command_.add_flag(name, value, help);
}

void Command::option(const char* name, std::string& value, const char* help,
                     const std::vector<std::string>& choices)
{
    CLI::Option* option = command_.add_option(name, value, help);
    if (!choices.empty())
        option->check(CLI::IsMember(choices));
}

void Command::option(const char* name, std::size_t& value, const char* help, std::size_t lowest,
                     std::size_t highest)
{
    command_.add_option(name, value, help)->check(CLI::Range(lowest, highest));
}

void Command::footer(const std::string& text)
{
    command_.footer(text);
}

void Command::runs(std::function<int()> action, int& exitCode)
{
    command_.callback([action = std::move(action), &exitCode] { exitCode = action(); });
}

} // namespace cel::tool

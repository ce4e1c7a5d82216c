#include "tools/cel/command_line.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <utility>

namespace cel::tool {

namespace {

/// Help that begins with a given line.
class GivenUsage : public CLI::Formatter
{
public:
    explicit GivenUsage(std::string text)
        : text_(std::move(text))
    {
    }

    std::string make_usage(const CLI::App*, std::string) const override
    {
        return "Usage: " + text_ + "\n";
    }

private:
    std::string text_;
};

} // namespace

Command::Command(CLI::App& program, const char* name, const char* help)
    : command_(*program.add_subcommand(name, help))
{
}

Command::Command(Command& above, const char* name, const std::string& help, const char* family,
                 const std::string& usage)
    : command_(*above.command_.add_subcommand(name, help))
{
    command_.group(family);
    this->usage(usage);
}

void Command::usage(const std::string& text)
{
    command_.formatter(std::make_shared<GivenUsage>(text));
}

void Command::argument(const char* name, std::string& value, const std::string& help, bool required)
{
    command_.add_option(name, value, help)->required(required);
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

void Command::option(const char* name, std::vector<std::string>& values, const char* help,
                     const char* shownAs, int fewest, int most)
{
    CLI::Option* option = command_.add_option(name, values, help)->type_name(shownAs);
    // A fixed number is the size of one value, or the help would count it again.
    if (fewest == most)
        option->type_size(most)->expected(1);
    else
        option->expected(fewest, most);
}

void Command::option(const char* name, std::size_t& value, const char* help, std::size_t lowest,
                     std::size_t highest)
{
    command_.add_option(name, value, help)->check(CLI::Range(lowest, highest));
}

void Command::otherwise(std::function<void()> action)
{
    command_.require_subcommand(0, 1);
    command_.callback([action = std::move(action), this_ = &command_] {
        if (this_->get_subcommands().empty())
            action();
    });
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

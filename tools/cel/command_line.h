#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace cel::tool {

/// A command of the program while it is described. What is bound here is filled before the command
/// runs and must live until then.
class Command
{
public:
    Command(CLI::App& program, const char* name, const char* help);

    /// One of the commands below a command; `family` is the heading under which its help lists it,
    /// `usage` what the help of this one begins with.
    Command(Command& above, const char* name, const std::string& help, const char* family,
            const std::string& usage);

    /// What the command's help begins with, for one whose places are not all its own.
    void usage(const std::string& text);

    /// A place, which must be filled when `required`.
    void argument(const char* name, std::string& value, const std::string& help,
                  bool required = true);

    /// The places that are left, at least one when `required`.
    void arguments(const char* name, std::vector<std::string>& values, const char* help,
                   bool required);

    void flag(const char* name, bool& value, const char* help);

    /// An option with a text; one of `choices` unless there are none.
    void option(const char* name, std::string& value, const char* help,
                const std::vector<std::string>& choices = {});

    /// An option with several texts, separated by blanks.
    void option(const char* name, std::vector<std::string>& values, const char* help,
                const char* shownAs, int fewest, int most);

    /// An option with a number between the two, both included.
    void option(const char* name, std::size_t& value, const char* help, std::size_t lowest,
                std::size_t highest);

    /// For a command with others below it: what it does when none of those is named.
    void otherwise(std::function<void()> action);

    /// What its help ends with.
    void footer(const std::string& text);

    /// What it does; `exitCode` becomes what that answers.
    void runs(std::function<int()> action, int& exitCode);

private:
    CLI::App& command_;
};

} // namespace cel::tool

#pragma once

#include "tools/cel/commands.h"
#include "tools/cel/replay_value.h"

#include <functional>
#include <istream>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// What the languages of scripts share: an operation is a line, a JSON array that begins with its
/// name.
namespace cel::replay {

/// What follows an operation's name in its line.
using Arguments = std::span<const Value>;

/// Carries out one operation. @throws ScriptError when it is none.
using RunOperation = std::function<void(const std::string& name, Arguments arguments)>;

/// Reads a script to its end, past blank lines and those that begin with `comment`, and hands each
/// operation on.
/// @param name      of the script, for messages.
/// @param out       where the operations print: nobody goes on when it fails.
/// @param problems  receives "NAME:LINE: what is wrong" when the script cannot go on.
/// @return `kUsage` at the first line that is no operation; what stands before it was carried out.
tool::ExitCode runLines(std::istream& script, const std::string& name, std::string_view comment,
                        const RunOperation& run, std::ostream& out, std::ostream& problems);

/// The row of a table that has the name, or null.
template <class Rows>
auto rowNamed(const Rows& rows, std::string_view name) -> decltype(&rows[0])
{
    for (const auto& row : rows)
        if (row.name == name)
            return &row;
    return nullptr;
}

/// @throws ScriptError unless `name` takes `count` arguments.
void requireArguments(std::string_view name, std::size_t count, std::size_t fewest,
                      std::size_t most);

} // namespace cel::replay

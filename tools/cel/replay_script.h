#pragma once

#include "tools/cel/commands.h"

#include <istream>
#include <ostream>
#include <string>

namespace cel::replay {

/// Runs a script line by line, one over event lists or one over level envelopes.
///
/// Reports of the library go to `out` as long as it runs. Other settings of the process that a
/// script changes stay changed: a script is made for a process of its own.
/// @param name      of the script, for messages.
/// @param problems  receives "NAME:LINE: what is wrong" when the script cannot go on.
/// @return `kUsage` at the first line that is no operation; what stands before it was carried out.
tool::ExitCode runScript(std::istream& script, const std::string& name, std::ostream& out,
                         std::ostream& problems);
tool::ExitCode runLevelScript(std::istream& script, const std::string& name, std::ostream& out,
                              std::ostream& problems);

} // namespace cel::replay

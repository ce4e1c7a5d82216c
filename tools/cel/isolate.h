#pragma once

#include <functional>
#include <string>
#include <vector>

namespace cel::tool {

/// Runs a job on every file, each time in a fresh process, one after the other, so that nothing
/// that a job leaves behind in its process reaches the next. The job's result is the exit code of
/// its process; `command` is the subcommand, with its options, that does the same job on one file,
/// for systems where a process cannot divide itself.
/// @return the highest exit code; a process that a signal ended counts as 128 and the signal.
int runEachAlone(const std::vector<std::string>& files, const std::vector<std::string>& command,
                 const std::function<int(const std::string&)>& job);

} // namespace cel::tool

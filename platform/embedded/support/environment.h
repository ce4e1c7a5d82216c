#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace cel::detail {

/// A variable of the process's environment, in UTF-8; none when it is not set.
std::optional<std::string> environment(const std::string& name);

/// A variable that holds a path; the empty path when it is not set.
std::filesystem::path environmentPath(const std::string& name);

} // namespace cel::detail

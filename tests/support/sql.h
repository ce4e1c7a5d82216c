#pragma once

#include <filesystem>
#include <string>

namespace cel::test {

/// Runs statements on a data base file as any other program would.
/// @throws std::runtime_error with the reason for which one fails.
void runSql(const std::filesystem::path& file, const std::string& statements);

} // namespace cel::test

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace cel::test {

/// A new folder that goes, with everything in it, when this does.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// The bytes of a file; empty when there is none.
std::string contentOf(const std::filesystem::path& file);
void putContent(const std::filesystem::path& file, std::string_view content);

/// A variable of the environment that has a value for as long as this lives.
class EnvironmentVariable
{
public:
    EnvironmentVariable(const char* name, const std::filesystem::path& value);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string name_;
    std::string former_; ///< empty when it was not set
};

} // namespace cel::test

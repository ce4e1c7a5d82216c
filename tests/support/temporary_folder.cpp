#include "tests/support/temporary_folder.h"

#include "platform/support/IdStamp.h"
#include "platform/support/utf8.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace cel::test {

namespace {

void setVariable(const std::string& name, const std::string& value)
{
#if defined(_WIN32)
    _putenv_s(name.c_str(), value.c_str()); // an empty value takes it away
#else
    if (value.empty())
        unsetenv(name.c_str());
    else
        setenv(name.c_str(), value.c_str(), 1);
#endif
}

} // namespace

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() /
            ("cel-test-" + std::string(IdStamp().asString().view())))
{
    std::filesystem::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void putContent(const std::filesystem::path& file, std::string_view content)
{
    std::ofstream(file, std::ios::binary) << content;
}

EnvironmentVariable::EnvironmentVariable(const char* name, const std::filesystem::path& value)
    : name_(name)
{
    if (const char* const former = std::getenv(name))
        former_ = former;
    setVariable(name_, pathToUtf8(value));
}

EnvironmentVariable::~EnvironmentVariable()
{
    setVariable(name_, former_);
}

} // namespace cel::test

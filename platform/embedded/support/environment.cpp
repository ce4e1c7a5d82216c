#include "platform/embedded/support/environment.h"

#include "platform/support/utf8.h"

#include <cstdlib>

namespace cel::detail {

#if defined(_WIN32)

std::optional<std::string> environment(const std::string& name)
{
    const wchar_t* const value = _wgetenv(toWide(name).c_str());
    return value ? std::optional(toUtf8(value)) : std::nullopt;
}

std::filesystem::path environmentPath(const std::string& name)
{
    const wchar_t* const value = _wgetenv(toWide(name).c_str());
    return value ? std::filesystem::path(value) : std::filesystem::path();
}

#else

std::optional<std::string> environment(const std::string& name)
{
    const char* const value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

std::filesystem::path environmentPath(const std::string& name)
{
    const char* const value = std::getenv(name.c_str());
    return value ? std::filesystem::path(value) : std::filesystem::path();
}

#endif

} // namespace cel::detail

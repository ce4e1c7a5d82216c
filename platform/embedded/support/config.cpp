#include "platform/support/config.h"

#include "platform/embedded/support/environment.h"
#include "platform/embedded/support/text_scan.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string_view>

#if !defined(_WIN32)
#include <pwd.h>
#include <unistd.h>
#endif

using cel::detail::environment;
using cel::detail::trimmed;

namespace {

std::string capitals(std::string text)
{
    for (char& letter : text) {
        if (letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
    }
    return text;
}

/// The value of the last line "name = value" in the configuration file.
std::optional<std::string> configured(std::string_view name)
{
    std::optional<std::string> value;
    std::ifstream file(cel::configurationFolder() / "config");
    for (std::string line; std::getline(file, line);) {
        const std::string_view text = line;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos && trimmed(text.substr(0, equals)) == name)
            value = std::string(trimmed(text.substr(equals + 1)));
    }
    return value;
}

/// The setting as text, without blanks around it.
std::optional<std::string> setting(const char* name)
{
    auto text = environment("CEL_" + capitals(name));
    if (!text)
        text = configured(name);
    if (text)
        text = std::string(trimmed(*text));
    return text;
}

/// The whole number that `text` is, limited to the range, also when no integer could hold it.
std::optional<int> limitedNumber(std::string_view text, int lowest, int highest)
{
    std::int64_t number = 0;
    const bool negative = text.starts_with('-');
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || end != text.data() + text.size() || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        number = negative ? INT64_MIN : INT64_MAX;
    return static_cast<int>(
        std::max<std::int64_t>(lowest, std::min<std::int64_t>(number, highest)));
}

} // namespace

int config_int(const char* name, int fallback, int lowest, int highest)
{
    try {
        const auto text = setting(name);
        return text ? limitedNumber(*text, lowest, highest).value_or(fallback) : fallback;
    } catch (const std::exception&) {
        return fallback; // a static object may be asking: nobody there could catch
    }
}

int RegistryConfig::getValue(const char* name, int fallback) const
{
    return config_int(name, fallback, INT_MIN, INT_MAX);
}

double RegistryConfig::getValue(const char* name, double fallback) const
{
    const std::string text = setting(name).value_or("");
    const char* const end = text.data() + text.size();
    double number = 0.0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool read = !text.empty() && stop == end && error == std::errc();
    return read && std::isfinite(number) ? number : fallback;
}

const RegistryConfig& GlobalConfig()
{
    static constexpr RegistryConfig config;
    return config;
}

namespace cel {

namespace {

#if !defined(_WIN32)
std::filesystem::path homeFolder()
{
    if (const auto home = detail::environment("HOME"); home && !home->empty())
        return *home;
    const passwd* const user = getpwuid(getuid());
    return user && user->pw_dir ? user->pw_dir : "";
}
#endif

} // namespace

std::filesystem::path configurationFolder()
{
    if (const auto folder = detail::environmentPath("CEL_CONFIG_DIR"); !folder.empty())
        return folder;
#if defined(_WIN32)
    return detail::environmentPath("APPDATA") / "cel";
#else
    // A relative path there is to be ignored: the folder must not depend on where one stands.
    if (const auto folder = detail::environmentPath("XDG_CONFIG_HOME"); folder.is_absolute())
        return folder / "cel";
    return homeFolder() / ".config" / "cel";
#endif
}

} // namespace cel

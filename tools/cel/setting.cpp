#include "tools/cel/setting.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace cel::tool {

void setSetting(const std::string& name, const std::string& value)
{
    std::string variable = "CEL_" + name;
    std::transform(variable.begin(), variable.end(), variable.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
#if defined(_WIN32)
    _putenv_s(variable.c_str(), value.c_str());
#else
    constexpr int kReplace = 1;
    setenv(variable.c_str(), value.c_str(), kReplace);
#endif
}

std::string textOf(double number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

} // namespace cel::tool

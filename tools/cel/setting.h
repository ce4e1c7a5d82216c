#pragma once

#include <string>

namespace cel::tool {

/// Gives a setting of the library a value for the rest of the process, over what the configuration
/// says. Settings that are read once keep the value that they were read with.
/// To be called while no other thread reads settings.
void setSetting(const std::string& name, const std::string& value);

/// A number as settings are written: the shortest text that reads back as the same.
std::string textOf(double number);

} // namespace cel::tool

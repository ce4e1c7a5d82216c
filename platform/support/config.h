#pragma once

#include "platform/export.h"

#include <filesystem>
#include <string>

/// Integer setting of the installation, read from the environment (`CEL_` and the name in capitals)
/// or else from the plain text file "config" in the configuration folder: lines of `name = value`.
///
/// @return the value, limited to the range; `fallback` when there is none or it is no number.
/// Usable during static initialisation; allocates nothing that outlives the process's statics.
CEL_PLATFORM_API int config_int(const char* name, int fallback, int lowest, int highest);

/// Settings that an editor may change while it runs: looked up anew with every question, from where
/// `config_int` finds them. A value that is no number of its kind counts as missing.
class CEL_PLATFORM_API RegistryConfig
{
public:
    int getValue(const char* name, int fallback) const;
    double getValue(const char* name, double fallback) const;
};

CEL_PLATFORM_API const RegistryConfig& GlobalConfig();

namespace cel {

/// The user's folder for settings: the environment variable `CEL_CONFIG_DIR`, else
/// `$XDG_CONFIG_HOME/cel`, else `~/.config/cel` (`%APPDATA%\cel` on Windows). It may not exist yet.
CEL_PLATFORM_API std::filesystem::path configurationFolder();

} // namespace cel

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

namespace cel {

/// The user's folder for settings: the environment variable `CEL_CONFIG_DIR`, else
/// `$XDG_CONFIG_HOME/cel`, else `~/.config/cel` (`%APPDATA%\cel` on Windows). It may not exist yet.
CEL_PLATFORM_API std::filesystem::path configurationFolder();

} // namespace cel

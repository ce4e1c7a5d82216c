#pragma once

#include "platform/export.h"
#include "platform/support/FileOperations.h"

#include <filesystem>

namespace cel {

/// Gives the file at `path` another name in its folder, the first free one of "NAME.unread",
/// "NAME.unread-2" and so on, so that a new file can be written without losing what is in it.
/// @return whether nothing lies under `path` any more; also when nothing did before.
CEL_PLATFORM_API bool setAside(const std::filesystem::path& path,
                               FileOperations& files = systemFiles());

} // namespace cel

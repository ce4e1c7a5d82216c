#pragma once

#include "platform/embedded/support/Sqlite.h"
#include "platform/support/object_file.h"

namespace cel::detail {

/// Opens a file of objects that is known to be an ordinary file and not empty.
/// @throws SqliteFault with the reason why it is none of ours.
std::unique_ptr<ObjectFile> openTables(const std::filesystem::path& path, Sqlite::Access access);

} // namespace cel::detail

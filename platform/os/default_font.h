#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

namespace cel {

/// Face name of the font that the system's user interface is set in; "sans-serif" where there is
/// none to be found. Asks the system once. Thread-safe.
CEL_PLATFORM_API const LightweightString<wchar_t>& defaultFontName();

} // namespace cel

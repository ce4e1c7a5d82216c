#pragma once

#include "platform/export.h"

/// The library's version as text, "major.minor.patch"; it lives as long as the library is loaded.
CEL_API const char* celDllVersionStr() noexcept;

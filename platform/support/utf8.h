#pragma once

#include "platform/export.h"

#include <filesystem>
#include <string>
#include <string_view>

/// Wide text and UTF-8. Wide characters may have 16 or 32 bits; surrogate pairs are read in both.
/// Nothing fails: a lone surrogate, a value beyond Unicode and bytes that are no UTF-8 each become
/// U+FFFD.

namespace cel {

CEL_PLATFORM_API std::string toUtf8(std::wstring_view text);
CEL_PLATFORM_API std::wstring toWide(std::string_view utf8);

/// Paths from and to wide text. They never pass through a locale, unlike the conversions of
/// std::filesystem::path, which throw for names that the C locale cannot express.
CEL_PLATFORM_API std::filesystem::path toPath(std::wstring_view text);
CEL_PLATFORM_API std::wstring pathToWide(const std::filesystem::path& path);

/// A path in UTF-8; where paths are bytes, any bytes will do.
CEL_PLATFORM_API std::filesystem::path utf8ToPath(std::string_view text);

/// The path as a message shows it.
CEL_PLATFORM_API std::string pathToUtf8(const std::filesystem::path& path);

} // namespace cel

#pragma once

namespace cel::test {

/// For setlocale(): a locale that writes 0,5 for a half.
#if defined(_WIN32)
inline constexpr const char* kGermanLocale = "German";
#else
inline constexpr const char* kGermanLocale = "de_DE.UTF-8";
#endif

} // namespace cel::test

#include "platform/os/default_font.h"

#include "platform/support/utf8.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fontconfig/fontconfig.h>

#include <memory>
#endif

namespace cel {

namespace {

#if defined(_WIN32)

std::wstring systemFont()
{
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    const BOOL found = SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    return found ? metrics.lfMessageFont.lfFaceName : L"";
}

#else

template <class T>
using Owned = std::unique_ptr<T, void (*)(T*)>;

/// What the desktop's own configuration calls its interface font, or puts in its place. A
/// configuration of our own leaves the one that the editor may have set up alone.
std::wstring systemFont()
{
    const Owned<FcConfig> config(FcInitLoadConfigAndFonts(), FcConfigDestroy);
    if (!config)
        return {};
    const Owned<FcPattern> wanted(FcPatternCreate(), FcPatternDestroy);
    if (!wanted)
        return {};
    for (const char* family : {"system-ui", "sans-serif"})
        FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
    FcConfigSubstitute(config.get(), wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());

    FcResult result = FcResultNoMatch;
    const Owned<FcPattern> font(FcFontMatch(config.get(), wanted.get(), &result), FcPatternDestroy);
    FcChar8* family = nullptr;
    if (!font || FcPatternGetString(font.get(), FC_FAMILY, 0, &family) != FcResultMatch)
        return {};
    return toWide(reinterpret_cast<const char*>(family));
}

#endif

} // namespace

const LightweightString<wchar_t>& defaultFontName()
{
    static const LightweightString<wchar_t> name = [] {
        const std::wstring found = systemFont();
        return LightweightString<wchar_t>(found.empty() ? L"sans-serif" : found);
    }();
    return name;
}

} // namespace cel

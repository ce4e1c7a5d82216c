#include "subtitles/detail/font_preference.h"

#include "platform/os/default_font.h"
#include "platform/support/prefs.h"

namespace cel {

namespace {

constexpr const char* kFontPreference = "Subtitles : font";

} // namespace

bool readFontPreference(FontDefinition& font)
{
    const LightweightString<char> text = prefs().getPreference(kFontPreference, {});
    return !text.empty() && font.read(JSON::parse(text));
}

void writeFontPreference(const FontDefinition& font)
{
    JSON::Builder builder(2);
    builder.startChild();
    font.write(builder);
    builder.endChild();
    prefs().setPreference(kFontPreference, builder.getOutput());
}

void setFallbackFont(FontDefinition& font)
{
    font.faceName = defaultFontName();
    font.background = {0.0F, 0.0F, 0.0F, 0.2F};
    font.foreground = {1.0F, 1.0F, 1.0F, 1.0F};
}

} // namespace cel

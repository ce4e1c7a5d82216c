#pragma once

#include "platform/image/FontDefinition.h"

namespace cel {

/// Lets `font` read itself from the preference "Subtitles : font".
/// @return whether there is such a preference and a font in it.
bool readFontPreference(FontDefinition& font);
void writeFontPreference(const FontDefinition& font);

/// What subtitles are set in without a preference: the face of the system's user interface, white
/// on a shade of black. The size stays.
void setFallbackFont(FontDefinition& font);

} // namespace cel

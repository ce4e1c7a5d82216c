#pragma once

#include "platform/foundation/LightweightString.h"

#include <string_view>

/// Numbers in texts, the same under every C locale.
namespace cel::detail {

/// Appends as printf's "%{width}.{decimals}lf" does.
void appendFixed(LightweightString<char>& text, double value, int width, int decimals);

/// Appends as printf's "%{width}.{digits}lg" does.
void appendGeneral(LightweightString<char>& text, double value, int width, int digits);

/// The number that a text begins with, as `atof` reads it but for hexadecimal: blanks and a sign
/// may come first; 0 when there is none; infinite when it is too large.
double leadingNumber(std::string_view text);

} // namespace cel::detail

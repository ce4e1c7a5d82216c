#include "cel/detail/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace cel::detail {

namespace {

/// Holds any double in fixed notation: 309 digits, a point, a sign and 12 decimals.
constexpr std::size_t kLongestNumber = 400;

void appendNumber(LightweightString<char>& text, double value, std::chars_format format, int width,
                  int precision)
{
    std::array<char, kLongestNumber> buffer;
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format, precision);
    const std::string_view digits(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    const auto wanted = static_cast<std::size_t>(width);
    std::string padded(digits.size() < wanted ? wanted - digits.size() : 0, ' ');
    text += padded.append(digits).c_str();
}

} // namespace

void appendFixed(LightweightString<char>& text, double value, int width, int decimals)
{
    appendNumber(text, value, std::chars_format::fixed, width, decimals);
}

void appendGeneral(LightweightString<char>& text, double value, int width, int digits)
{
    appendNumber(text, value, std::chars_format::general, width, digits);
}

double leadingNumber(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc::result_out_of_range)
        return value;
    // Too large or too small for a double; which of them, its first digits and its exponent tell.
    const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
    const std::size_t exponent = number.find_first_of("eE");
    const bool fraction = number.find_first_of("123456789") > number.find('.');
    const bool tiny = exponent == number.npos ? fraction : number[exponent + 1] == '-';
    const double magnitude = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    return text.starts_with('-') ? -magnitude : magnitude;
}

} // namespace cel::detail

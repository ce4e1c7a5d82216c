#include "platform/foundation/LightweightString.h"

#include <charconv>

namespace {

/// The shortest text that reads back as `number`; a whole number keeps a point, so that a reader
/// still sees that it is no integer.
class NumberText
{
public:
    explicit NumberText(double number)
    {
        char* const last = std::to_chars(text_, text_ + sizeof(text_) - 2, number).ptr;
        size_ = static_cast<std::size_t>(last - text_);
        const bool whole = view().find_first_not_of("-0123456789") == std::string_view::npos;
        if (whole) {
            text_[size_++] = '.';
            text_[size_++] = '0';
        }
    }

    std::string_view view() const { return {text_, size_}; }

private:
    char text_[32]; ///< 24 characters are the most that a double needs
    std::size_t size_ = 0;
};

} // namespace

template <>
LightweightString<char>& LightweightString<char>::operator+=(double number)
{
    return append(NumberText(number).view());
}

template <>
LightweightString<wchar_t>& LightweightString<wchar_t>::operator+=(double number)
{
    const NumberText text(number);
    return append(std::wstring(text.view().begin(), text.view().end()));
}

#pragma once

#include "platform/export.h"
#include "platform/foundation/Ptr.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// Counted string: copying shares the text, changing a shared text copies it first. A string that
/// was never given a text is null; it compares equal to an empty one. Reading one string from
/// several threads is safe, changing it is not.
template <class CharT>
class LightweightString
{
public:
    using View = std::basic_string_view<CharT>;

    LightweightString() = default;
    LightweightString(const CharT* text)
        : LightweightString(text ? View(text) : View())
    {
    }
    LightweightString(View text)
    {
        if (!text.empty())
            text_ = Kt::Ptr<Text>(new Text(text));
    }
    LightweightString(const std::basic_string<CharT>& text)
        : LightweightString(View(text))
    {
    }

    bool isNull() const noexcept { return !text_; }
    bool empty() const noexcept { return size() == 0; }
    std::size_t size() const noexcept { return text_ ? text_->value.size() : 0; }
    View view() const noexcept { return text_ ? View(text_->value) : View(); }

    /// Never null, always terminated; valid until this string is changed or destroyed.
    const CharT* c_str() const noexcept { return text_ ? text_->value.c_str() : &kTerminator; }

    /// Character at `index`, or the terminator when there is none.
    CharT operator[](std::size_t index) const noexcept
    {
        return index < size() ? text_->value[index] : kTerminator;
    }

    LightweightString& operator+=(const LightweightString& other) { return append(other.view()); }
    LightweightString& operator+=(const CharT* text) { return append(text ? View(text) : View()); }
    LightweightString& operator+=(CharT character) { return append(View(&character, 1)); }

    /// Appends the shortest text that reads back as the same number, always with a point or an
    /// exponent and independent of any locale: 2 becomes "2.0". What is no finite number is "inf",
    /// "-inf" or "nan".
    LightweightString& operator+=(double number);

    void clear() { text_.reset(); }

    bool operator==(const LightweightString& other) const noexcept
    {
        return view() == other.view();
    }
    bool operator==(const CharT* text) const noexcept
    {
        return view() == (text ? View(text) : View());
    }
    auto operator<=>(const LightweightString& other) const noexcept
    {
        return view() <=> other.view();
    }

private:
    struct Text final : Kt::InternalRefCount
    {
        explicit Text(View text)
            : value(text)
        {
        }
        std::basic_string<CharT> value;
    };

    LightweightString& append(View text)
    {
        if (text.empty())
            return *this;
        if (text_ && text_->refCount() > 1)
            text_ = Kt::Ptr<Text>(new Text(text_->value));
        if (!text_)
            text_ = Kt::Ptr<Text>(new Text(View()));
        text_->value.append(text);
        return *this;
    }

    static constexpr CharT kTerminator{};
    Kt::Ptr<Text> text_;
};

template <>
CEL_PLATFORM_API LightweightString<char>& LightweightString<char>::operator+=(double number);
template <>
CEL_PLATFORM_API LightweightString<wchar_t>& LightweightString<wchar_t>::operator+=(double number);

template <class CharT>
struct std::hash<LightweightString<CharT>>
{
    std::size_t operator()(const LightweightString<CharT>& text) const noexcept
    {
        return std::hash<std::basic_string_view<CharT>>()(text.view());
    }
};

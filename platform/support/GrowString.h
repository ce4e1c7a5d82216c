#pragma once

#include <string>
#include <string_view>

/// Text that only grows: the notes that a reader leaves about the stream it reads.
class GrowString
{
public:
    void append(std::string_view text) { text_.append(text); }
    bool empty() const noexcept { return text_.empty(); }
    const std::string& text() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }

private:
    std::string text_;
};

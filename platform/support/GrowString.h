#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Text that only grows: the notes that a reader leaves about the stream it reads.
class GrowString
{
public:
    /// Adds one note. Notes run into each other in the text unless they end in a line end.
    void append(std::string_view note)
    {
        text_.append(note);
        notes_.emplace_back(note);
    }
    bool empty() const noexcept { return text_.empty(); }
    const std::string& text() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }

    /// The notes one by one, in the order in which they were left.
    const std::vector<std::string>& notes() const noexcept { return notes_; }

private:
    std::string text_;
    std::vector<std::string> notes_;
};

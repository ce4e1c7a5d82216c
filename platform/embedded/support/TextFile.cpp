#include "platform/support/TextFile.h"

#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

#include <string_view>

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view textOf(const StreamFile& file)
{
    const auto bytes = file.bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Takes a line off the front of `text`, and its end, which is not part of it.
std::string_view takeLine(std::string_view& text)
{
    const std::size_t end = text.find_first_of("\r\n");
    const std::string_view line = text.substr(0, end);
    if (end == std::string_view::npos)
        text = {};
    else
        text.remove_prefix(end + (text.substr(end).starts_with("\r\n") ? 2 : 1));
    return line;
}

std::size_t countLines(std::string_view text)
{
    std::size_t count = 0;
    for (; !text.empty(); ++count)
        takeLine(text);
    return count;
}

} // namespace

TextFile::TextFile(const LightweightString<wchar_t>& path, bool load)
    : path_(path)
    , loaded_(load && this->load())
{
}

bool TextFile::load()
{
    const auto read = cel::readFile(cel::toPath(path_.view()), kLargestBytes);
    if (!read) {
        error_ = read.error;
        return false;
    }
    std::string_view text = textOf(read.file);
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());

    // Counted first: short lines need far more memory than their bytes in the file.
    const std::size_t count = countLines(text);
    if (count > kMostLines) {
        error_ = cel::toUtf8(path_.view()) + " cannot be read: it has " + std::to_string(count) +
                 " lines, more than the " + std::to_string(kMostLines) + " that are allowed";
        return false;
    }
    lines_.reserve(count);
    while (!text.empty())
        lines_.emplace_back(takeLine(text));
    return true;
}

const LightweightString<char>& TextFile::operator[](std::size_t index) const
{
    static const LightweightString<char> none;
    return index < lines_.size() ? lines_[index] : none;
}

bool TextFile::save(const LightweightString<wchar_t>& path, int lineEnd)
{
    const std::string_view end = lineEnd == kCarriageReturnLineFeed ? "\r\n" : "\n";
    std::size_t size = 0;
    for (const auto& line : lines_)
        size += line.size() + end.size();
    std::string text;
    text.reserve(size);
    for (const auto& line : lines_)
        text.append(line.view()).append(end);

    const auto& name = path.empty() ? path_ : path;
    const auto result = cel::saveFile(cel::toPath(name.view()), std::as_bytes(std::span(text)));
    error_ = result.error;
    return result.saved;
}

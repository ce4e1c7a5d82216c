#include "interchange/subtitle_markup.h"

#include "interchange/text_lines.h"

#include <algorithm>
#include <utility>

namespace cel {

namespace {

constexpr std::size_t kLongestTag = 256;
constexpr std::size_t kLongestColour = 32;

char smallLetter(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLetter(char c)
{
    return smallLetter(c) >= 'a' && smallLetter(c) <= 'z';
}

std::string inSmallLetters(std::string_view text)
{
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), smallLetter);
    return small;
}

const char* nameOf(CueTagName name)
{
    switch (name) {
    case CueTagName::bold:
        return "b";
    case CueTagName::underline:
        return "u";
    case CueTagName::font:
        return "font";
    case CueTagName::italic:
        break;
    }
    return "i";
}

std::optional<CueTagName> tagNamed(std::string_view name)
{
    for (const CueTagName known :
         {CueTagName::italic, CueTagName::bold, CueTagName::underline, CueTagName::font})
        if (name == nameOf(known))
            return known;
    return std::nullopt;
}

/// A colour as it may stand between quotes; empty for anything else.
std::string cleanColour(std::string_view text)
{
    const std::string colour = inSmallLetters(text);
    const bool clean = std::all_of(colour.begin(), colour.end(), [](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '#';
    });
    return clean && colour.size() <= kLongestColour ? colour : std::string();
}

/// Reads `name=value name="value"` into the colour, and notes what else there is.
void readAttributes(std::string_view text, CueTag& tag)
{
    text = trimmed(text);
    while (!text.empty()) {
        const std::size_t nameEnd = std::min(text.find_first_of("= \t"), text.size());
        const std::string name = inSmallLetters(text.substr(0, nameEnd));
        text = trimmed(text.substr(nameEnd));
        std::string_view value;
        if (text.starts_with('=')) {
            text = trimmed(text.substr(1));
            const char quote = text.empty() ? ' ' : text.front();
            const bool isQuoted = quote == '"' || quote == '\'';
            text.remove_prefix(isQuoted ? 1 : 0);
            const std::size_t end = std::min(text.find(isQuoted ? quote : ' '), text.size());
            value = text.substr(0, end);
            text = trimmed(text.substr(std::min(end + 1, text.size())));
        }
        if (name == "color" && tag.name == CueTagName::font)
            tag.colour = cleanColour(value);
        else
            tag.saysMore = true;
    }
    tag.saysMore = tag.saysMore || (tag.name == CueTagName::font && tag.colour.empty());
}

} // namespace

std::optional<CueTag> parseCueTag(std::string_view text)
{
    if (text.size() < 3 || text[0] != '<' || !(isLetter(text[1]) || text[1] == '/'))
        return std::nullopt;
    const std::size_t end = text.substr(0, kLongestTag).find('>');
    if (end == text.npos)
        return std::nullopt;
    std::string_view inside = trimmed(text.substr(1, end - 1));
    CueTag tag;
    tag.length = end + 1;
    tag.closes = inside.starts_with('/');
    if (tag.closes)
        inside = trimmed(inside.substr(1));
    const std::size_t nameEnd = std::min(inside.find_first_of(" \t"), inside.size());
    constexpr std::size_t kLongestName = 4;
    if (nameEnd > kLongestName)
        return std::nullopt;
    const auto name = tagNamed(inSmallLetters(inside.substr(0, nameEnd)));
    if (!name)
        return std::nullopt;
    tag.name = *name;
    if (!tag.closes)
        readAttributes(inside.substr(nameEnd), tag);
    return tag;
}

std::string withoutCueTags(std::string_view text)
{
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const std::size_t at = std::min(text.find('<'), text.size());
        plain.append(text, 0, at);
        text.remove_prefix(at);
        if (text.empty())
            break;
        const auto tag = parseCueTag(text);
        plain.append(tag ? "" : "<");
        text.remove_prefix(tag ? tag->length : 1);
    }
    return plain;
}

std::size_t subRipMarkBytes(std::string_view line)
{
    const std::size_t end = line.substr(0, kLongestTag).find('}');
    if (!line.starts_with('{') || end == line.npos || end < 2)
        return 0;
    std::string_view inside = line.substr(1, end - 1);
    if (inside.front() == '\\')
        return end + 1;
    inside.remove_prefix(inside.front() == '/' ? 1 : 0);
    return inside == "i" || inside == "b" || inside == "u" ? end + 1 : 0;
}

CleanCueText cleanCueText(std::string_view text)
{
    CueTextBuilder builder;
    while (!text.empty()) {
        const std::size_t at = std::min(text.find_first_of("<\n"), text.size());
        builder.text(text.substr(0, at));
        text.remove_prefix(at);
        const auto tag = parseCueTag(text);
        if (text.starts_with('\n'))
            builder.newLine();
        else if (!tag)
            builder.text(text.substr(0, 1));
        else if (tag->closes)
            builder.close(tag->name);
        else
            builder.open(tag->name, tag->colour);
        text.remove_prefix(std::min(tag ? tag->length : 1, text.size()));
    }
    const std::size_t emptyLines = builder.emptyLines();
    return {builder.finish(), emptyLines};
}

void CueTextBuilder::open(CueTagName name, std::string_view colour)
{
    const bool isOpen = std::any_of(wanted_.begin(), wanted_.end(),
                                    [name](const Open& tag) { return tag.name == name; });
    if (wanted_.size() < kDeepest && (!isOpen || name == CueTagName::font))
        wanted_.push_back({name, std::string(colour)});
}

void CueTextBuilder::close(CueTagName name)
{
    const auto last = std::find_if(wanted_.rbegin(), wanted_.rend(),
                                   [name](const Open& tag) { return tag.name == name; });
    if (last != wanted_.rend())
        wanted_.erase(std::prev(last.base()));
}

void CueTextBuilder::writeTag(const Open& tag, bool closes)
{
    // A font tag without a colour says nothing that could be seen.
    if (tag.name == CueTagName::font && tag.colour.empty())
        return;
    tags_.push_back(text_.size());
    text_ += closes ? "</" : "<";
    text_ += nameOf(tag.name);
    if (!closes && tag.name == CueTagName::font)
        text_.append(" color=\"").append(tag.colour).append("\"");
    text_ += '>';
}

void CueTextBuilder::settleLook()
{
    const auto common = static_cast<std::size_t>(
        std::mismatch(written_.begin(), written_.end(), wanted_.begin(), wanted_.end()).first -
        written_.begin());
    for (; written_.size() > common; written_.pop_back())
        writeTag(written_.back(), true);
    // Tags close in the line that they end, and open in the one that they begin.
    if (newLines_ > 0 && !text_.empty()) {
        text_ += '\n';
        emptyLines_ += newLines_ - 1;
    }
    newLines_ = 0;
    for (std::size_t i = common; i < wanted_.size(); ++i) {
        writeTag(wanted_[i], false);
        written_.push_back(wanted_[i]);
    }
}

void CueTextBuilder::text(std::string_view piece)
{
    if (piece.empty())
        return;
    // A line of blanks is an empty one, so they wait for something that is seen.
    if (atLineBegin_ && trimmed(piece).empty()) {
        blanks_ += piece;
        return;
    }
    atLineBegin_ = false;
    if (newLines_ > 0 || !(written_ == wanted_))
        settleLook();
    text_ += std::exchange(blanks_, {});
    text_ += piece;
}

void CueTextBuilder::newLine()
{
    ++newLines_;
    atLineBegin_ = true;
    blanks_.clear();
}

std::string_view CueTextBuilder::wordsReadAsTag() const
{
    const std::string_view text = text_;
    auto written = tags_.begin();
    for (auto at = text.find('<'); at != text.npos; at = text.find('<', at + 1)) {
        if (written != tags_.end() && *written == at)
            ++written;
        else if (const auto tag = parseCueTag(text.substr(at)))
            return text.substr(at, tag->length);
    }
    return {};
}

std::string CueTextBuilder::finish()
{
    newLine();
    newLines_ = 0;
    emptyLines_ = 0;
    wanted_.clear();
    settleLook();
    tags_.clear();
    return std::exchange(text_, {});
}

} // namespace cel

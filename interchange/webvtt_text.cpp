#include "interchange/webvtt_text.h"

#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <vector>

namespace cel {

namespace {

struct Colour
{
    std::string_view name;
    std::string_view code;
};

/// The classes that players know without a style sheet.
constexpr std::array kColours = {
    Colour{"white", "#ffffff"}, Colour{"lime", "#00ff00"},   Colour{"cyan", "#00ffff"},
    Colour{"red", "#ff0000"},   Colour{"yellow", "#ffff00"}, Colour{"magenta", "#ff00ff"},
    Colour{"blue", "#0000ff"},  Colour{"black", "#000000"},
};

const Colour* colourNamed(std::string_view text)
{
    const auto* const found =
        std::find_if(kColours.begin(), kColours.end(), [text](const Colour& colour) {
            return text == colour.name || text == colour.code;
        });
    return found == kColours.end() ? nullptr : found;
}

struct NamedCharacter
{
    std::string_view name;
    std::string_view utf8;
};

constexpr std::array kCharacters = {
    NamedCharacter{"amp", "&"},
    NamedCharacter{"lt", "<"},
    NamedCharacter{"gt", ">"},
    NamedCharacter{"nbsp", "\xC2\xA0"},
    NamedCharacter{"lrm", "\xE2\x80\x8E"},
    NamedCharacter{"rlm", "\xE2\x80\x8F"},
    NamedCharacter{"quot", "\""},
    NamedCharacter{"apos", "'"},
};

constexpr std::size_t kLongestReference = 12;

/// Takes "&name;" or "&#123;" off the front. @return what it means; empty when it is none.
std::string takeReference(std::string_view& text)
{
    const std::size_t end = text.substr(0, kLongestReference).find(';');
    if (end == text.npos)
        return {};
    const std::string_view name = text.substr(1, end - 1);
    std::string meaning;
    if (name.starts_with('#')) {
        const bool isHex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
        const std::string_view digits = name.substr(isHex ? 2 : 1);
        std::uint32_t code = 0;
        const char* const last = digits.data() + digits.size();
        const auto [stop, fault] = std::from_chars(digits.data(), last, code, isHex ? 16 : 10);
        const bool shown = code >= 0xA0 || (code >= 0x20 && code < 0x7F);
        if (fault == std::errc() && stop == last && shown)
            meaning = utf8Of(code);
    } else {
        for (const NamedCharacter& known : kCharacters)
            if (name == known.name)
                meaning = known.utf8;
    }
    text.remove_prefix(meaning.empty() ? 0 : end + 1);
    return meaning;
}

/// Reads the text of a cue once through.
class WebVttText
{
public:
    WebVttText(std::size_t line, CountedLosses& losses)
        : line_(line)
        , losses_(losses)
    {
    }

    std::string read(std::string_view text)
    {
        while (!text.empty()) {
            const std::size_t at = std::min(text.find_first_of("<&\n"), text.size());
            builder_.text(text.substr(0, at));
            text.remove_prefix(at);
            if (text.starts_with('\n')) {
                builder_.newLine();
                text.remove_prefix(1);
            } else if (text.starts_with('&')) {
                takeCharacter(text);
            } else if (!text.empty()) {
                takeTag(text);
            }
        }
        if (const std::string_view words = builder_.wordsReadAsTag(); !words.empty())
            lose("tag", "the words " + quoted(words) + " are text here and a tag from now on");
        return builder_.finish();
    }

private:
    void takeCharacter(std::string_view& text)
    {
        std::string meaning = takeReference(text);
        if (meaning.empty()) {
            meaning = "&";
            text.remove_prefix(1);
        }
        builder_.text(meaning);
    }

    void takeTag(std::string_view& text)
    {
        const std::size_t end = std::min(text.find('>'), text.size());
        const std::string_view whole = text.substr(0, std::min(end + 1, text.size()));
        std::string_view inside = text.substr(1, end - 1);
        text.remove_prefix(whole.size());
        const bool closes = inside.starts_with('/');
        inside.remove_prefix(closes ? 1 : 0);
        const std::size_t nameEnd = std::min(inside.find_first_of(". \t\n"), inside.size());
        const std::string_view name = inside.substr(0, nameEnd);
        const std::string_view more = inside.substr(nameEnd);
        if (closes)
            close(name);
        else if (name == "c")
            openClass(more, whole);
        else if (name == "i" || name == "b" || name == "u")
            openLetter(name, more, whole);
        else
            lose(name == "v" ? "voice" : "tag",
                 "the tag " + quoted(asOneLine(whole, 200)) + " is left out, its text stays");
    }

    static CueTagName letterTag(std::string_view name)
    {
        return name == "b"   ? CueTagName::bold
               : name == "u" ? CueTagName::underline
                             : CueTagName::italic;
    }

    void openLetter(std::string_view name, std::string_view more, std::string_view whole)
    {
        builder_.open(letterTag(name));
        if (!trimmed(more).empty())
            lose("class", "of " + quoted(asOneLine(whole, 200)) + " the classes are left out");
    }

    /// A class has no more than one colour here; the others of "yellow.bg_blue" are told.
    void openClass(std::string_view classes, std::string_view whole)
    {
        const Colour* colour = nullptr;
        bool all = true;
        while (!classes.empty()) {
            classes.remove_prefix(1);
            const std::size_t end = std::min(classes.find('.'), classes.size());
            const Colour* const known = colourNamed(classes.substr(0, end));
            all = all && known && !colour;
            colour = colour ? colour : known;
            classes.remove_prefix(end);
        }
        if (!all)
            lose("class", "of " + quoted(asOneLine(whole, 200)) +
                              " no more than one of eight colours is kept");
        builder_.open(CueTagName::font, colour ? colour->name : std::string_view());
    }

    void close(std::string_view name)
    {
        if (name == "c")
            builder_.close(CueTagName::font);
        else if (name == "i" || name == "b" || name == "u")
            builder_.close(letterTag(name));
    }

    void lose(const char* kind, const std::string& text) { losses_.add(line_, kind, text); }

    std::size_t line_;
    CountedLosses& losses_;
    CueTextBuilder builder_;
};

void appendEscaped(std::string& text, std::string_view plain)
{
    for (const char c : plain) {
        if (c == '&')
            text += "&amp;";
        else if (c == '<')
            text += "&lt;";
        else if (c == '>')
            text += "&gt;";
        else
            text += c;
    }
}

} // namespace

std::string fromWebVttText(std::string_view text, std::size_t line, CountedLosses& losses)
{
    return WebVttText(line, losses).read(text);
}

std::string toWebVttText(std::string_view text, std::size_t line, CountedLosses& losses)
{
    std::string result;
    std::vector<bool> classes; ///< for each open font tag, whether it was written
    while (!text.empty()) {
        const std::size_t at = std::min(text.find('<'), text.size());
        appendEscaped(result, text.substr(0, at));
        text.remove_prefix(at);
        const auto tag = parseCueTag(text);
        if (!tag) {
            appendEscaped(result, text.substr(0, 1));
            text.remove_prefix(std::min<std::size_t>(1, text.size()));
            continue;
        }
        text.remove_prefix(tag->length);
        if (tag->name != CueTagName::font) {
            constexpr const char* kNames[] = {"i", "b", "u"};
            result.append(tag->closes ? "</" : "<");
            result.append(kNames[static_cast<std::size_t>(tag->name)]).append(">");
        } else if (!tag->closes) {
            const Colour* const colour = colourNamed(tag->colour);
            if (colour)
                result.append("<c.").append(colour->name).append(">");
            else
                losses.add(line, "colour", "the colour " + quoted(tag->colour) + " is left out");
            classes.push_back(colour != nullptr);
        } else if (!classes.empty()) {
            result += classes.back() ? "</c>" : "";
            classes.pop_back();
        }
    }
    return result;
}

} // namespace cel

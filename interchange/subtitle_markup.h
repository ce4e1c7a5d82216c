#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The look of words in a cue: the few tags that subtitle files share.

namespace cel {

enum class CueTagName { italic, bold, underline, font };

/// A tag of a cue's text: <i>, </b>, <font color="#ff0000">.
struct CueTag
{
    CueTagName name = CueTagName::italic;
    bool closes = false;
    std::string colour;     ///< of an opening font tag: a name or "#rrggbb" in small letters
    bool saysMore = false;  ///< the tag has more than a cue's text can keep: a face, a size
    std::size_t length = 0; ///< bytes of the tag
};

/// Reads the tag that `text` begins with, in capitals or small letters; nothing when it begins with
/// none of the four.
std::optional<CueTag> parseCueTag(std::string_view text);

/// The text without tags: what is seen.
std::string withoutCueTags(std::string_view text);

/// Bytes of the braces that `line` begins with and that SubRip files give looks and places in:
/// "{\an8}", "{i}", "{/i}". 0 when it begins with none.
std::size_t subRipMarkBytes(std::string_view line);

/// Text that anybody wrote, as the text of a cue.
struct CleanCueText
{
    std::string text;
    std::size_t emptyLines = 0; ///< left out, though text follows them
};
CleanCueText cleanCueText(std::string_view text);

/// Writes the text of a cue: tags nest properly and open only around text, whatever the order in
/// which they came; lines without text vanish. What it wrote it writes again the same.
class CueTextBuilder
{
public:
    void open(CueTagName name, std::string_view colour = {});

    /// Closes the tag of that name that was opened last; nothing when none is open.
    void close(CueTagName name);

    void text(std::string_view piece);

    /// The text goes on in a line below.
    void newLine();

    /// Lines that were left out since they were empty, though text follows them.
    std::size_t emptyLines() const { return emptyLines_; }

    /// The first words so far that were text and read as a tag from now on, since something between
    /// them went or was a character by name; empty when there are none.
    std::string_view wordsReadAsTag() const;

    /// The whole text, all tags closed, without empty lines at its end; the builder starts anew.
    std::string finish();

private:
    struct Open
    {
        CueTagName name;
        std::string colour;
        bool operator==(const Open&) const = default;
    };

    void writeTag(const Open& tag, bool closes);
    void settleLook();

    static constexpr std::size_t kDeepest = 16;
    std::string text_;
    std::vector<std::size_t> tags_; ///< where those that were written begin in the text
    std::vector<Open> wanted_;      ///< what the next text is to look like
    std::vector<Open> written_;     ///< what is open in the text so far
    std::string blanks_;            ///< of a line in which nothing else stands yet
    bool atLineBegin_ = true;
    std::size_t newLines_ = 0; ///< not written yet
    std::size_t emptyLines_ = 0;
};

} // namespace cel

#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/Ptr.h"
#include "platform/support/Streamable.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class TextFile;

/// JSON as objects of the library write and read it. Text is UTF-8; what is none becomes U+FFFD.
namespace JSON {

/// Longest text that is read, and how deep its arrays and objects may stand in each other. A text
/// beyond either is refused before anything is built from it.
inline constexpr std::size_t kLargestBytes = std::size_t(16) << 20;
inline constexpr std::size_t kDeepest = 64;

/// Builds a JSON text from its outermost value on: members keep the order in which they are added.
class CEL_PLATFORM_API Builder
{
public:
    using Text = LightweightString<char>;
    using WideText = LightweightString<wchar_t>;

    /// @param indent  blanks a level in `getOutput`.
    explicit Builder(int indent);
    ~Builder();
    Builder(const Builder&) = delete;
    Builder& operator=(const Builder&) = delete;

    /// Adds a member to the object that is open; without a key, an element to the open array.
    /// @param isText  whether it is a text. Else a number, true, false or null is written bare, and
    ///                whatever is none of these as a text all the same.
    void add(const Text& key, const Text& value, bool isText);
    void add(const Text& key, const WideText& value, bool isText);
    void add(const Text& key, const char* value, bool isText) { add(key, Text(value), isText); }

    /// The shortest number that reads back as the same; null when it is not finite.
    void add(const Text& key, float value);

    /// Opens an object: the outermost value or an element of the open array without a key, else
    /// a member. `startArray` does the same with an array.
    void startChild(const Text& key = {});
    void startArray(const Text& key = {});
    void endChild();
    void endArray();

    /// The text so far, as if all that is open were closed. What fits on one line of 120 characters
    /// stands on one line.
    Text getOutput() const;

    /// Appends the lines of that text to a file.
    /// @param indent  blanks a level. @param level  at which the outermost value stands.
    void printTo(TextFile& file, int indent, int level) const;

private:
    class Tree;
    std::unique_ptr<Tree> tree_;
    int indent_;
};

/// One value of a parsed text. Keeps the whole text's values alive; cheap to copy and to ask.
class CEL_PLATFORM_API Element : public virtual Kt::InternalRefCount
{
public:
    class Values;
    Element(std::shared_ptr<const Values> values, std::uint32_t index);
    ~Element() override;

    /// The text, number, "true" or "false" under a key; empty when there is none, for null, and for
    /// an object or an array. Of two members with one key the first counts.
    LightweightString<char> getString(const LightweightString<char>& key) const;
    LightweightString<wchar_t> getWString(const LightweightString<char>& key) const;

    /// The same of this value itself.
    LightweightString<char> getString() const;

    /// The member under a key; null when there is none. O(members).
    Kt::Ptr<Element> getChild(const LightweightString<char>& key) const;

    /// The member or element at a place, counted from 0; null past the last one. O(1).
    Kt::Ptr<Element> getChild(std::size_t index) const;

    /// How many members or elements there are: 65535 when there are more. Where that matters, ask
    /// for children until there is none.
    std::uint16_t getNumChildren() const;

private:
    std::shared_ptr<const Values> values_;
    std::uint32_t index_;
};

/// @return the outermost value; null for a text that is no JSON (RFC 8259), is too long or too
/// deep. Linear, and no deeper on the stack for deeper texts.
CEL_PLATFORM_API Kt::Ptr<Element> parse(const LightweightString<char>& text);

/// The same for the text in a file; null also for one that is missing or cannot be read.
CEL_PLATFORM_API Kt::Ptr<Element> parseFile(const LightweightString<wchar_t>& path);

/// An object that is kept as JSON.
class CEL_PLATFORM_API iPersistable : public virtual iObject
{
public:
    /// Adds the object's members to the object that the caller has opened.
    virtual void write(Builder& builder) const = 0;

    /// @return whether a whole object was read; fields may have changed either way.
    virtual bool read(const Kt::Ptr<Element>& element) = 0;

protected:
    ~iPersistable() override = default;
};

} // namespace JSON

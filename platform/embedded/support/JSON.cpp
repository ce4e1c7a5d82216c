#include "platform/support/JSON.h"

#include "platform/support/TextFile.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace JSON {

namespace {

using Json = nlohmann::ordered_json;
using Text = LightweightString<char>;
using WideText = LightweightString<wchar_t>;

constexpr std::size_t kLongestLine = 120;

// ---- printing -----------------------------------------------------------------------------------

std::string oneLine(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// Prints a value over as many lines as it needs.
class Printer
{
public:
    Printer(int indent, int level)
        : indent_(static_cast<std::size_t>(std::clamp(indent, 0, 16)))
        , level_(static_cast<std::size_t>(std::clamp(level, 0, 64)))
    {
        beginLine();
    }

    std::vector<std::string> lines(const Json& value)
    {
        print(value);
        endLine();
        return std::move(lines_);
    }

private:
    /// No deeper than whoever built the value went.
    void print(const Json& value)
    {
        std::string text = oneLine(value);
        if (value.is_primitive() || value.empty() || line_.size() + text.size() <= kLongestLine) {
            line_ += text;
            return;
        }
        text.clear();
        text.shrink_to_fit();
        const bool isObject = value.is_object();
        line_ += isObject ? '{' : '[';
        endLine();
        ++level_;
        for (auto member = value.begin(); member != value.end();) {
            beginLine();
            if (isObject)
                line_ += oneLine(member.key()) + ": ";
            print(*member);
            if (++member != value.end())
                line_ += ',';
            endLine();
        }
        --level_;
        beginLine();
        line_ += isObject ? '}' : ']';
    }

    void beginLine() { line_.assign(level_ * indent_, ' '); }
    void endLine() { lines_.push_back(std::move(line_)); }

    std::size_t indent_;
    std::size_t level_;
    std::string line_;
    std::vector<std::string> lines_;
};

/// A bare number, true, false or null; or else a text.
Json scalar(std::string_view text)
{
    const bool isBare =
        !text.empty() && (text.front() == '-' || text.front() == 't' || text.front() == 'f' ||
                          text.front() == 'n' || (text.front() >= '0' && text.front() <= '9'));
    if (isBare) {
        Json value = Json::parse(text, nullptr, false);
        if (value.is_primitive() && !value.is_discarded())
            return value;
    }
    return Json(text);
}

} // namespace

class Builder::Tree
{
public:
    void open(const Text& key, Json::value_t kind)
    {
        open_.push_back({std::string(key.view()), Json(kind)});
    }

    void close()
    {
        if (open_.empty())
            return;
        Open done = std::move(open_.back());
        open_.pop_back();
        add(std::move(done.key), std::move(done.value));
    }

    void add(std::string key, Json value)
    {
        if (open_.empty())
            outermost_ = std::move(value);
        else if (open_.back().value.is_array())
            open_.back().value.push_back(std::move(value));
        else
            open_.back().value.push_back({std::move(key), std::move(value)});
    }

    std::vector<std::string> lines(int indent, int level) const
    {
        if (open_.empty())
            return Printer(indent, level).lines(outermost_);
        Tree closed(*this);
        while (!closed.open_.empty())
            closed.close();
        return closed.lines(indent, level);
    }

private:
    struct Open
    {
        std::string key;
        Json value;
    };
    std::vector<Open> open_;
    Json outermost_;
};

Builder::Builder(int indent)
    : tree_(std::make_unique<Tree>())
    , indent_(indent)
{
}

Builder::~Builder() = default;

void Builder::add(const Text& key, const Text& value, bool isText)
{
    tree_->add(std::string(key.view()), isText ? Json(value.view()) : scalar(value.view()));
}

void Builder::add(const Text& key, const WideText& value, bool isText)
{
    add(key, Text(cel::toUtf8(value.view())), isText);
}

void Builder::add(const Text& key, float value)
{
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    const std::string_view text(digits, static_cast<std::size_t>(end - digits));
    add(key, Text(std::isfinite(value) ? text : "null"), false);
}

void Builder::startChild(const Text& key)
{
    tree_->open(key, Json::value_t::object);
}

void Builder::startArray(const Text& key)
{
    tree_->open(key, Json::value_t::array);
}

void Builder::endChild()
{
    tree_->close();
}

void Builder::endArray()
{
    tree_->close();
}

Text Builder::getOutput() const
{
    std::string text;
    for (const std::string& line : tree_->lines(indent_, 0))
        text.append(text.empty() ? "" : "\n").append(line);
    return text;
}

void Builder::printTo(TextFile& file, int indent, int level) const
{
    for (const std::string& line : tree_->lines(indent, level))
        file.appendLine(line);
}

// ---- reading ------------------------------------------------------------------------------------

/// The values of a text, flat: a text as deep as it likes to be takes no stack to read or to free.
class Element::Values
{
public:
    struct Value
    {
        std::uint32_t key = 0; ///< where in the texts it begins
        std::uint32_t keySize = 0;
        std::uint32_t begin = 0; ///< of its own text; of the indices of a container's children
        std::uint32_t count = 0;
        bool isContainer = false;
    };

    std::string_view keyOf(const Value& value) const
    {
        return std::string_view(texts_).substr(value.key, value.keySize);
    }
    std::string_view textOf(const Value& value) const
    {
        return value.isContainer ? std::string_view()
                                 : std::string_view(texts_).substr(value.begin, value.count);
    }
    const Value& operator[](std::uint32_t index) const { return values_[index]; }
    std::uint32_t child(const Value& container, std::size_t index) const
    {
        return children_[container.begin + index];
    }

private:
    friend class ValueReader;
    std::vector<Value> values_;
    std::vector<std::uint32_t> children_; ///< indices of the values in each container, side by side
    std::string texts_;
};

/// Puts down the values in the order in which the parser comes by them. Answers false, which ends
/// the parsing, where a limit is reached.
class ValueReader final : public nlohmann::json_sax<Json>
{
public:
    explicit ValueReader(std::size_t textBytes)
        : mostValues_(kValuesAlways + textBytes / kBytesPerValue)
        , values_(std::make_shared<Element::Values>())
    {
    }

    std::shared_ptr<const Element::Values> take() { return std::move(values_); }

    bool null() override { return addText({}); }
    bool boolean(bool value) override { return addText(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override { return addText(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override
    {
        return addText(std::to_string(value));
    }
    bool number_float(number_float_t, const string_t& digits) override
    {
        // The parser has put the decimal point of the process's locale in.
        string_t text = digits;
        for (char& digit : text)
            if (std::string_view("0123456789+-eE").find(digit) == std::string_view::npos)
                digit = '.';
        return addText(text);
    }
    bool string(string_t& value) override { return addText(value); }
    bool binary(binary_t&) override { return false; }
    bool key(string_t& name) override
    {
        key_ = store(name);
        keySize_ = static_cast<std::uint32_t>(name.size());
        return true;
    }
    bool start_object(std::size_t) override { return open(); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) override
    {
        return false;
    }

private:
    // A text of many small values would else take far more memory than its bytes.
    static constexpr std::size_t kValuesAlways = 16384;
    static constexpr std::size_t kBytesPerValue = 4;

    struct Open
    {
        std::uint32_t value;
        std::size_t firstChild; ///< in `pending_`
    };

    std::uint32_t store(std::string_view text)
    {
        const auto begin = static_cast<std::uint32_t>(values_->texts_.size());
        values_->texts_ += text;
        return begin;
    }

    bool add(Element::Values::Value value)
    {
        if (values_->values_.size() >= mostValues_)
            return false;
        value.key = std::exchange(key_, 0);
        value.keySize = std::exchange(keySize_, 0);
        if (!open_.empty())
            pending_.push_back(static_cast<std::uint32_t>(values_->values_.size()));
        values_->values_.push_back(value);
        return true;
    }

    bool addText(std::string_view text)
    {
        Element::Values::Value value;
        value.begin = store(text);
        value.count = static_cast<std::uint32_t>(text.size());
        return add(value);
    }

    bool open()
    {
        if (open_.size() == kDeepest)
            return false;
        Element::Values::Value value;
        value.isContainer = true;
        const auto index = static_cast<std::uint32_t>(values_->values_.size());
        if (!add(value))
            return false;
        open_.push_back({index, pending_.size()});
        return true;
    }

    bool close()
    {
        const Open closed = open_.back();
        open_.pop_back();
        Element::Values::Value& value = values_->values_[closed.value];
        auto& children = values_->children_;
        value.begin = static_cast<std::uint32_t>(children.size());
        value.count = static_cast<std::uint32_t>(pending_.size() - closed.firstChild);
        const auto first = pending_.begin() + static_cast<std::ptrdiff_t>(closed.firstChild);
        children.insert(children.end(), first, pending_.end());
        pending_.erase(first, pending_.end());
        return true;
    }

    std::size_t mostValues_;
    std::shared_ptr<Element::Values> values_;
    std::vector<Open> open_;
    std::vector<std::uint32_t> pending_; ///< children of what is open, innermost last
    std::uint32_t key_ = 0;
    std::uint32_t keySize_ = 0;
};

namespace {

Kt::Ptr<Element> parseText(std::string_view text)
{
    // The parser takes a NUL for the end, whatever stands behind it.
    if (text.size() > kLargestBytes || text.find('\0') != text.npos)
        return nullptr;
    ValueReader reader(text.size());
    if (!Json::sax_parse(text, &reader))
        return nullptr;
    return Kt::Ptr<Element>(new Element(reader.take(), 0));
}

} // namespace

Element::Element(std::shared_ptr<const Values> values, std::uint32_t index)
    : values_(std::move(values))
    , index_(index)
{
}

Element::~Element() = default;

Text Element::getString(const Text& key) const
{
    const Kt::Ptr<Element> child = getChild(key);
    return child ? child->getString() : Text();
}

WideText Element::getWString(const Text& key) const
{
    return cel::toWide(getString(key).view());
}

Text Element::getString() const
{
    return values_->textOf((*values_)[index_]);
}

Kt::Ptr<Element> Element::getChild(const Text& key) const
{
    const Values::Value& self = (*values_)[index_];
    for (std::size_t i = 0; self.isContainer && i < self.count; ++i) {
        const std::uint32_t child = values_->child(self, i);
        if (values_->keyOf((*values_)[child]) == key.view())
            return Kt::Ptr<Element>(new Element(values_, child));
    }
    return nullptr;
}

Kt::Ptr<Element> Element::getChild(std::size_t index) const
{
    const Values::Value& self = (*values_)[index_];
    if (!self.isContainer || index >= self.count)
        return nullptr;
    return Kt::Ptr<Element>(new Element(values_, values_->child(self, index)));
}

std::uint16_t Element::getNumChildren() const
{
    const Values::Value& self = (*values_)[index_];
    const std::uint32_t count = self.isContainer ? self.count : 0;
    return static_cast<std::uint16_t>(std::min<std::uint32_t>(count, UINT16_MAX));
}

Kt::Ptr<Element> parse(const Text& text)
{
    return parseText(text.view());
}

Kt::Ptr<Element> parseFile(const WideText& path)
{
    const cel::ReadResult read = cel::readFile(cel::toPath(path.view()), kLargestBytes);
    if (!read)
        return nullptr;
    const auto bytes = read.file.bytes();
    return parseText({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

} // namespace JSON

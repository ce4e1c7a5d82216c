#include "tools/cel/replay_value.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace cel::replay {

namespace {

/// Builds the tree from the parser's events, so that a line that nests too deep is refused before
/// anything recursive (its destruction) can meet it.
class TreeBuilder final : public nlohmann::json_sax<nlohmann::json>
{
public:
    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(std::int64_t{value}); }
    bool number_unsigned(number_unsigned_t value) override
    {
        if (!std::in_range<std::int64_t>(value))
            return put(static_cast<double>(value));
        return put(static_cast<std::int64_t>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return put(value); }
    bool string(string_t& value) override { return put(std::move(value)); }
    bool binary(binary_t&) override { return false; } // JSON text has none

    bool start_array(std::size_t) override { return open(Value::Array()); }
    bool end_array() override { return close(); }
    bool start_object(std::size_t) override { return open(Value::Object()); }
    bool end_object() override { return close(); }
    bool key(string_t& name) override
    {
        std::get<Value::Object>(open_.back()->data()).push_back({std::move(name), Value()});
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override
    {
        fault_ = "no JSON from column " + std::to_string(position) + " on";
        return false;
    }

    Value& root() { return root_; }
    const std::string& fault() const { return fault_; }

private:
    bool put(Value::Data data)
    {
        next() = Value(std::move(data));
        return true;
    }

    bool open(Value::Data data)
    {
        if (open_.size() == kDeepestNesting) {
            fault_ = "nested more than " + std::to_string(kDeepestNesting) + " deep";
            return false;
        }
        Value& place = next();
        place = Value(std::move(data));
        open_.push_back(&place);
        return true;
    }

    bool close()
    {
        open_.pop_back();
        return true;
    }

    /// Where the next value belongs. Stays put until its container is closed, because only the
    /// innermost container grows.
    Value& next()
    {
        if (open_.empty())
            return root_;
        if (auto* object = std::get_if<Value::Object>(&open_.back()->data()))
            return object->back().value;
        return std::get<Value::Array>(open_.back()->data()).emplace_back();
    }

    Value root_;
    std::vector<Value*> open_;
    std::string fault_;
};

struct Description
{
    std::string operator()(std::nullptr_t) const { return "null"; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::int64_t value) const { return std::to_string(value); }
    std::string operator()(double value) const { return nlohmann::json(value).dump(); }
    std::string operator()(const std::string& text) const { return '"' + text + '"'; }
    std::string operator()(const Value::Array&) const { return "an array"; }
    std::string operator()(const Value::Object&) const { return "an object"; }
};

/// Beyond this a double has no fraction and might not fit an int64 either.
constexpr double kLargestWholeDouble = 9e15;

} // namespace

Value parseLine(std::string_view line)
{
    if (line.size() > kLongestLine)
        throw ScriptError("longer than " + std::to_string(kLongestLine) + " bytes");
    TreeBuilder tree;
    if (!nlohmann::json::sax_parse(line.begin(), line.end(), &tree))
        throw ScriptError(tree.fault());
    return std::move(tree.root());
}

void Value::refuse(std::string_view expected) const
{
    throw ScriptError("expected " + std::string(expected) + ", found " +
                      std::visit(Description(), data_));
}

double Value::number() const
{
    if (const auto* whole = std::get_if<std::int64_t>(&data_))
        return static_cast<double>(*whole);
    if (const auto* real = std::get_if<double>(&data_))
        return *real;
    if (const auto* text = std::get_if<std::string>(&data_)) {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        if (*text == "nan")
            return std::numeric_limits<double>::quiet_NaN();
        if (*text == "inf")
            return kInfinity;
        if (*text == "-inf")
            return -kInfinity;
    }
    refuse("a number");
}

float Value::real() const
{
    const double value = number();
    constexpr double kLargest = std::numeric_limits<float>::max();
    // The conversion itself is only defined for what a float can hold.
    if (std::fabs(value) > kLargest)
        return std::copysign(std::numeric_limits<float>::infinity(), value > 0 ? 1.0F : -1.0F);
    return static_cast<float>(value);
}

std::int64_t Value::whole(std::int64_t lowest, std::int64_t highest) const
{
    if (const auto* value = std::get_if<std::int64_t>(&data_))
        return std::clamp(*value, lowest, highest);
    const auto* value = std::get_if<double>(&data_);
    if (!value || std::trunc(*value) != *value)
        refuse("a whole number");
    if (std::fabs(*value) > kLargestWholeDouble)
        return *value < 0 ? lowest : highest;
    return std::clamp(static_cast<std::int64_t>(*value), lowest, highest);
}

std::int32_t Value::integer() const
{
    return static_cast<std::int32_t>(whole(INT32_MIN, INT32_MAX));
}

std::uint32_t Value::word() const
{
    const std::int64_t value = whole(INT64_MIN, INT64_MAX);
    if (value < INT32_MIN || value > UINT32_MAX)
        refuse("a number of 32 bits");
    return static_cast<std::uint32_t>(value);
}

std::uint16_t Value::shortWord() const
{
    const std::int64_t value = whole(INT64_MIN, INT64_MAX);
    if (value < 0 || value > UINT16_MAX)
        refuse("a number from 0 to 65535");
    return static_cast<std::uint16_t>(value);
}

std::uint8_t Value::byte() const
{
    const std::int64_t value = whole(INT64_MIN, INT64_MAX);
    if (value < INT8_MIN || value > UINT8_MAX)
        refuse("a number of 8 bits");
    return static_cast<std::uint8_t>(value);
}

bool Value::flag() const
{
    if (const auto* value = std::get_if<bool>(&data_))
        return *value;
    if (const auto* value = std::get_if<std::int64_t>(&data_);
        value && (*value == 0 || *value == 1))
        return *value == 1;
    refuse("0 or 1");
}

const std::string& Value::text() const
{
    if (const auto* value = std::get_if<std::string>(&data_))
        return *value;
    refuse("a text");
}

std::vector<std::byte> Value::bytes() const
{
    const std::string& digits = text();
    std::vector<std::byte> bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        unsigned byte = 0;
        const char* pair = digits.data() + i;
        if (digits.size() - i < 2 || std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2)
            throw ScriptError("bytes are pairs of hexadecimal digits");
        bytes.push_back(static_cast<std::byte>(byte));
    }
    return bytes;
}

const Value::Array& Value::array() const
{
    if (const auto* value = std::get_if<Array>(&data_))
        return *value;
    refuse("an array");
}

const Value::Object& Value::object() const
{
    if (const auto* value = std::get_if<Object>(&data_))
        return *value;
    refuse("an object");
}

} // namespace cel::replay

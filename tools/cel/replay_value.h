#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace cel::replay {

/// A fault of the script itself: what stands in a line is not an operation. The text says what is
/// wrong; the reader of the script adds where.
class ScriptError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One JSON value of a script line. Whole numbers keep all their digits.
///
/// The accessors convert to what an operation needs and throw `ScriptError` for a value that
/// cannot be that; they never convert with undefined behaviour.
class Value
{
public:
    struct Member;
    using Array = std::vector<Value>;
    using Object = std::vector<Member>;
    using Data =
        std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object>;

    Value(); ///< null
    explicit Value(Data data);

    bool isNull() const { return std::holds_alternative<std::nullptr_t>(data_); }
    bool isText() const { return std::holds_alternative<std::string>(data_); }

    /// Any number, also as one of the texts "nan", "inf" and "-inf".
    double number() const;

    /// A number in single precision; what is too large for it becomes infinite.
    float real() const;

    /// A whole number; one beyond the 32 bits becomes the nearest that they hold.
    std::int32_t integer() const;

    /// A whole number that 32 bits hold with or without a sign; a negative one wraps around.
    std::uint32_t word() const;

    /// The same for 16 bits without a sign, and for 8 bits of which -1 is 255.
    std::uint16_t shortWord() const;
    std::uint8_t byte() const;

    /// true, false, 1 or 0.
    bool flag() const;

    const std::string& text() const;

    /// A text of hexadecimal digits, two a byte.
    std::vector<std::byte> bytes() const;
    const Array& array() const;
    const Object& object() const;

    /// For whoever builds the tree.
    Data& data() { return data_; }

private:
    std::int64_t whole(std::int64_t lowest, std::int64_t highest) const;
    [[noreturn]] void refuse(std::string_view expected) const;

    Data data_;
};

struct Value::Member
{
    std::string key;
    Value value;
};

inline Value::Value()
    : data_(nullptr)
{
}

inline Value::Value(Data data)
    : data_(std::move(data))
{
}

/// Reads one line of JSON. @throws ScriptError for a line that is no JSON, nests deeper than
/// `kDeepestNesting` or is longer than `kLongestLine` bytes.
Value parseLine(std::string_view line);

inline constexpr std::size_t kLongestLine = std::size_t(1) << 20;
inline constexpr std::size_t kDeepestNesting = 64;

} // namespace cel::replay

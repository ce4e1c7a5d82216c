#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace cel::tool {

/// A JSON array or object that is built to be printed; what goes in is handed over.
class Json
{
public:
    static Json object();
    static Json array();
    Json(Json&&) noexcept;
    Json& operator=(Json&&) noexcept;
    ~Json();

    /// Members keep the order in which they are set. Numbers that are not finite become null.
    Json& set(const char* name, std::string_view value);
    Json& set(const char* name, const char* value) { return set(name, std::string_view(value)); }
    Json& set(const char* name, double value);
    Json& set(const char* name, bool value);
    Json& set(const char* name, Json value);
    Json& set(const char* name, std::integral auto value)
    {
        return setWhole(name, static_cast<long long>(value));
    }
    Json& setNull(const char* name);

    /// A member with two numbers, such as the ends of a stretch.
    Json& set(const char* name, double first, double second);

    void push(Json value);

    /// Indented, one line end last; bytes that are no UTF-8 become U+FFFD.
    std::string text() const;

private:
    struct Value;
    explicit Json(std::unique_ptr<Value> value);
    Json& setWhole(const char* name, long long value);

    std::unique_ptr<Value> value_;
};

} // namespace cel::tool

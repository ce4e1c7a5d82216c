#include "tools/cel/json.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace cel::tool {

struct Json::Value
{
    nlohmann::ordered_json tree;
};

Json::Json(std::unique_ptr<Value> value)
    : value_(std::move(value))
{
}
Json::Json(Json&&) noexcept = default;
Json& Json::operator=(Json&&) noexcept = default;
Json::~Json() = default;

Json Json::object()
{
    return Json(std::make_unique<Value>(Value{nlohmann::ordered_json::object()}));
}

Json Json::array()
{
    return Json(std::make_unique<Value>(Value{nlohmann::ordered_json::array()}));
}

Json& Json::set(const char* name, std::string_view value)
{
    value_->tree[name] = value;
    return *this;
}

Json& Json::set(const char* name, double value)
{
    value_->tree[name] = value;
    return *this;
}

Json& Json::set(const char* name, bool value)
{
    value_->tree[name] = value;
    return *this;
}

Json& Json::set(const char* name, Json value)
{
    value_->tree[name] = std::move(value.value_->tree);
    return *this;
}

Json& Json::setWhole(const char* name, long long value)
{
    value_->tree[name] = value;
    return *this;
}

Json& Json::setNull(const char* name)
{
    value_->tree[name] = nullptr;
    return *this;
}

Json& Json::set(const char* name, double first, double second)
{
    value_->tree[name] = {first, second};
    return *this;
}

void Json::push(Json value)
{
    value_->tree.push_back(std::move(value.value_->tree));
}

std::string Json::text() const
{
    return value_->tree.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
           "\n";
}

} // namespace cel::tool

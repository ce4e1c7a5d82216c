#include "tests/support/level_notation.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace cel::test {

using Store = Aud::DynamicLevelControl::Store;

namespace {

double takeNumber(std::string_view& text)
{
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        throw std::invalid_argument("no number: " + std::string(text));
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

bool take(std::string_view& text, char sign)
{
    if (!text.starts_with(sign))
        return false;
    text.remove_prefix(1);
    return true;
}

std::string number(double value, double grid)
{
    if (std::isfinite(value) && std::fabs(value) < 1e6)
        value = std::round(value / grid) * grid + 0.0;
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", value);
    return text;
}

} // namespace

std::vector<Store::Node> levelNodes(std::string_view notation)
{
    std::vector<Store::Node> nodes;
    std::istringstream words{std::string(notation)};
    for (std::string word; words >> word;) {
        std::string_view text = word;
        int type = take(text, '[') ? Store::kStartGuard : Store::kOrdinary;
        const double time = takeNumber(text);
        if (!take(text, '='))
            throw std::invalid_argument("no level: " + word);
        const auto level = static_cast<float>(takeNumber(text));
        if (take(text, '/'))
            type = static_cast<int>(takeNumber(text));
        if (take(text, ']'))
            type = Store::kEndGuard;
        const bool black = take(text, '*');
        if (!text.empty())
            throw std::invalid_argument("no node: " + word);
        nodes.emplace_back(time, level, static_cast<Store::eNodeType>(type), black);
    }
    return nodes;
}

Store levels(std::string_view notation, double quantum)
{
    Store store;
    store.setQuantum(quantum);
    for (const Store::Node& node : levelNodes(notation))
        store.insert_noAdjust(node);
    return store;
}

std::string describe(std::span<const Store::Node> nodes)
{
    std::string text;
    for (const Store::Node& node : nodes) {
        text += text.empty() ? "" : " ";
        text += node.isStartGuard() ? "[" : "";
        text += number(node.getRawTime(), 1e-9) + "=" + number(node.getLevel(), 1e-6);
        if (!node.isGuardNode() && node.getNodeType() != Store::kOrdinary)
            text += "/" + std::to_string(static_cast<int>(node.getNodeType()));
        text += node.isEndGuard() ? "]" : "";
        text += node.isInAudioBlack() ? "*" : "";
    }
    return text;
}

} // namespace cel::test

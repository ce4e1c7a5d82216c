#include "tools/cel/losses.h"

#include "tools/cel/text.h"

#include <nlohmann/json.hpp>

namespace cel::tool {

std::string FirstOfEachKind::rest(const std::string& indent) const
{
    std::string text;
    for (const auto& [kind, count] : counts_)
        if (count > kShown)
            text.append(indent)
                .append("and " + std::to_string(count - kShown) + " more of kind ")
                .append(kind + " (--json lists all)\n");
    return text;
}

std::string describeLosses(const LossLedger& losses, const std::string& was)
{
    if (losses.empty())
        return "";
    const auto count = static_cast<long long>(losses.size());
    std::string text = counted(count, "thing") + " " + was + ":\n";
    FirstOfEachKind first;
    for (const LossLedger::Entry& entry : losses.entries()) {
        if (!first.admits(entry.kind))
            continue;
        const std::string line = entry.line ? "line " + std::to_string(entry.line) : "";
        text += "  " + padded(line, 9) + "  " + padded(printable(entry.kind), 10) + "  " +
                printable(entry.text) + "\n";
    }
    return text + first.rest("  ");
}

std::string damageNotice(const std::string& file)
{
    return "The file is damaged; cel check " + file + " says where.\n";
}

nlohmann::ordered_json lossesAsJson(const LossLedger& losses)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const LossLedger::Entry& entry : losses.entries())
        list.push_back({{"line", entry.line}, {"kind", entry.kind}, {"text", entry.text}});
    return list;
}

std::string jsonText(const nlohmann::ordered_json& value)
{
    return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace cel::tool

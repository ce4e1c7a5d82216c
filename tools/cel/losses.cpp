#include "tools/cel/losses.h"

#include "tools/cel/text.h"

#include <utility>

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

Json lossesAsJson(const LossLedger& losses)
{
    Json list = Json::array();
    for (const LossLedger::Entry& entry : losses.entries()) {
        Json json = Json::object();
        json.set("line", entry.line).set("kind", entry.kind).set("text", entry.text);
        list.push(std::move(json));
    }
    return list;
}

} // namespace cel::tool

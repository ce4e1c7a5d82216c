#pragma once

#include "interchange/LossLedger.h"
#include "tools/cel/json.h"

#include <map>
#include <string>

namespace cel::tool {

/// Lets the first few of each kind through and counts the others: a list for a person.
class FirstOfEachKind
{
public:
    static constexpr int kShown = 20;

    /// Whether one more of this kind is shown.
    bool admits(const std::string& kind) { return ++counts_[kind] <= kShown; }

    /// "  and 12 more of kind gap\n" for each kind that was cut short; `indent` comes first.
    std::string rest(const std::string& indent) const;

private:
    std::map<std::string, int> counts_;
};

/// The entries of a ledger for a person, behind a line that counts them.
/// @param was  what they could not do: "could not be carried over".
std::string describeLosses(const LossLedger& losses, const std::string& was);

/// What to say of a file with findings, in a command that is about something else.
std::string damageNotice(const std::string& file);

/// All of them: [{"line", "kind", "text"}].
Json lossesAsJson(const LossLedger& losses);

} // namespace cel::tool

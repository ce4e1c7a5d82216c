#include "interchange/LossLedger.h"

#include <algorithm>

namespace cel {

void LossLedger::add(std::size_t line, std::string_view kind, std::string_view text)
{
    entries_.push_back({line, std::string(kind), std::string(text)});
}

void LossLedger::append(const LossLedger& other)
{
    // The other ledger may be this one: its entries are counted before any is added.
    const std::size_t count = other.entries_.size();
    entries_.reserve(entries_.size() + count);
    for (std::size_t i = 0; i < count; ++i)
        entries_.push_back(other.entries_[i]);
}

void LossLedger::sortByLine()
{
    const auto first = std::find_if(entries_.begin(), entries_.end(),
                                    [](const Entry& entry) { return entry.line > 0; });
    // Less one, no line becomes the last of all.
    std::stable_sort(first, entries_.end(),
                     [](const Entry& a, const Entry& b) { return a.line - 1 < b.line - 1; });
}

} // namespace cel

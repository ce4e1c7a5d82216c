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
    std::stable_sort(entries_.begin(), entries_.end(),
                     [](const Entry& a, const Entry& b) { return a.line < b.line; });
}

} // namespace cel

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cel {

/// What an import or export could not carry over, entry by entry, mostly in the order of the
/// source.
class LossLedger
{
public:
    struct Entry
    {
        std::size_t line; ///< of the text read or written, from 1; 0 when no line is meant
        std::string kind; ///< one word for a script: "dissolve", "comment", "duration", ...
        std::string text; ///< what was lost and what stands in its place, for a person
    };

    void add(std::size_t line, std::string_view kind, std::string_view text);

    const std::vector<Entry>& entries() const { return entries_; }
    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }

    /// Appends the entries of another ledger.
    void append(const LossLedger& other);

    /// Brings the entries into the order of their lines; those of one line stay as they stand. Of
    /// those without a line the ones at the head stay there, the others go to the end.
    void sortByLine();

private:
    std::vector<Entry> entries_;
};

} // namespace cel

#pragma once

#include "cel/Cel.h"

#include <string>
#include <string_view>
#include <vector>

/// Edits as text: a name and its arguments.
///
///     insert (X0-9) 1 3 2
///
/// Where an edit takes another track stands its notation in parentheses, `itself`, `other` or
/// `none`; events and materials too are in the notation of tracks. A range is two numbers, and at
/// the end of an edit it may be left out: the whole track. Identifiers `7>9,8>10` are a map.
namespace cel::test {

struct EditLine
{
    /// @throws std::invalid_argument for an edit without a name.
    explicit EditLine(std::string_view text);

    std::string name;
    std::vector<std::string> arguments;

    /// @throws std::invalid_argument for an argument that is none.
    const std::string& text(std::size_t index) const;
    double number(std::size_t index) const;
    /// Numbers of 32 bits with a sign or without one.
    int integer(std::size_t index) const
    {
        return static_cast<int>(static_cast<long long>(number(index)));
    }
    Cel::Range range(std::size_t index) const;
};

/// The edits of a text, which stand between semicolons.
std::vector<EditLine> editLines(std::string_view text);

/// Does an edit. One that makes a new track puts it in the place of the old one.
/// @return what it answers: a number, the index of a handle, or nothing.
/// @throws what the edit throws, std::invalid_argument for one that there is not.
std::string run(const EditLine& edit, Kt::Ptr<Cel>& edited, const Kt::Ptr<Cel>& other = {});

/// A number in as many digits as it needs; `?` for one that is unset.
std::string numberText(double value);

} // namespace cel::test

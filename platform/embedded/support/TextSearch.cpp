#include "platform/support/TextSearch.h"

#include "platform/embedded/support/letter_cases.h"

#include <algorithm>
#include <cstdint>

namespace TextSearch {

namespace {

using Alternatives = Criteria::Alternatives;
using cel::detail::kLetterCases;
using cel::detail::LetterCases;

/// The letter that stands for all of its cases.
std::uint32_t folded(std::uint32_t letter)
{
    for (const LetterCases& cases : kLetterCases)
        if (letter >= cases.first && letter <= cases.last &&
            (letter - cases.first) % cases.step == 0)
            return letter + static_cast<std::uint32_t>(cases.delta);
    return letter;
}

Alternatives alternativesOf(wchar_t character)
{
    Alternatives alternatives;
    alternatives.fill(character);
    const std::uint32_t fold = folded(static_cast<std::uint32_t>(character));
    std::size_t count = 1;
    const auto add = [&](std::uint32_t letter) {
        const auto other = static_cast<wchar_t>(letter);
        // With 16 bits to a character, letters beyond them are written as two.
        if (static_cast<std::uint32_t>(other) == letter && other != character &&
            count < alternatives.size())
            alternatives[count++] = other;
    };
    add(fold);
    for (const LetterCases& cases : kLetterCases) {
        const std::uint32_t letter = fold - static_cast<std::uint32_t>(cases.delta);
        if (letter >= cases.first && letter <= cases.last &&
            (letter - cases.first) % cases.step == 0)
            add(letter);
    }
    return alternatives;
}

bool isOneOf(const Alternatives& alternatives, wchar_t character)
{
    // All four, so that there is one branch and not four.
    const auto is = [&](std::size_t i) {
        return static_cast<unsigned>(alternatives[i] == character);
    };
    return (is(0) | is(1) | is(2) | is(3)) != 0;
}

} // namespace

Criteria::Criteria(const LightweightString<wchar_t>& text)
{
    characters_.reserve(text.size());
    for (const wchar_t character : text.view())
        characters_.push_back(alternativesOf(character));
}

bool match(const LightweightString<wchar_t>& line, const Criteria& criteria, int)
{
    const auto& wanted = criteria.characters();
    const auto text = line.view();
    if (wanted.empty() || text.size() < wanted.size())
        return false;
    for (std::size_t at = 0; at <= text.size() - wanted.size(); ++at) {
        if (isOneOf(wanted.front(), text[at]) &&
            std::equal(wanted.begin() + 1, wanted.end(),
                       text.begin() + static_cast<std::ptrdiff_t>(at) + 1, isOneOf))
            return true;
    }
    return false;
}

} // namespace TextSearch

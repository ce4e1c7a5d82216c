#include "platform/support/TextSearch.h"

#include "platform/embedded/support/letter_cases.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

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

/// Whether a character is one of the first two alternatives, or of all. There is one branch at the
/// end and not four.
template <std::size_t kCases = 4>
bool isOneOf(const Alternatives& alternatives, wchar_t character)
{
    const auto is = [&](std::size_t i) {
        return static_cast<unsigned>(alternatives[i] == character);
    };
    unsigned any = is(0) | is(1);
    if constexpr (kCases > 2)
        any |= is(2) | is(3);
    return any != 0;
}

using Wanted = std::vector<Alternatives>;

constexpr std::size_t kStep = 8; ///< places that are looked at together

/// Whether the first and the last character that are wanted stand at one of the next places, of
/// which `kCases` alternatives of each count. There is no way out of the loop, so that the
/// compiler looks at all places at once; few lines have both characters at that distance.
template <std::size_t kCases>
bool mayStandInStep(const wchar_t* text, const Wanted& wanted)
{
    const Alternatives first = wanted.front();
    const Alternatives last = wanted.back();
    const wchar_t* const behind = text + (wanted.size() - 1);
    unsigned found = 0;
    for (std::size_t i = 0; i < kStep; ++i)
        found |= static_cast<unsigned>(isOneOf<kCases>(first, text[i])) &
                 static_cast<unsigned>(isOneOf<kCases>(last, behind[i]));
    return found != 0;
}

/// Whether the text stands at one of the places from `at` to `end`.
bool standsAt(std::wstring_view text, std::size_t at, std::size_t end, const Wanted& wanted)
{
    for (; at < end; ++at)
        if (isOneOf(wanted.front(), text[at]) &&
            std::equal(wanted.begin() + 1, wanted.end(),
                       text.begin() + static_cast<std::ptrdiff_t>(at) + 1, isOneOf<>))
            return true;
    return false;
}

/// Looks at all places of a line that has `kStep` of them at least, step by step.
template <std::size_t kCases>
bool standsInLine(std::wstring_view text, const Wanted& wanted)
{
    const std::size_t places = text.size() - wanted.size() + 1;
    for (std::size_t next = 0; next < places; next += kStep) {
        // The last step ends at the last place, and may look at some a second time.
        const std::size_t at = std::min(next, places - kStep);
        if (mayStandInStep<kCases>(text.data() + at, wanted) &&
            standsAt(text, at, at + kStep, wanted))
            return true;
    }
    return false;
}

/// Whether a character has no more cases than most letters.
bool hasTwoCases(const Alternatives& alternatives)
{
    return alternatives[2] == alternatives[0] && alternatives[3] == alternatives[0];
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
    if (text.size() - wanted.size() + 1 < kStep)
        return standsAt(text, 0, text.size() - wanted.size() + 1, wanted);
    return hasTwoCases(wanted.front()) && hasTwoCases(wanted.back())
               ? standsInLine<2>(text, wanted)
               : standsInLine<4>(text, wanted);
}

} // namespace TextSearch

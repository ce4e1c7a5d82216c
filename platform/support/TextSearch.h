#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

#include <array>
#include <vector>

/// Search for words in lines of text, the way an editor's search field does.
namespace TextSearch {

/// What is searched for. Letters stand for all of their cases, in every script that has cases and
/// independent of any locale.
class CEL_PLATFORM_API Criteria
{
public:
    /// The characters that are taken for one of the text, itself first; repeated when there are
    /// fewer.
    using Alternatives = std::array<wchar_t, 4>;

    explicit Criteria(const LightweightString<wchar_t>& text);

    const std::vector<Alternatives>& characters() const { return characters_; }

private:
    std::vector<Alternatives> characters_;
};

/// Whether the text of the criteria stands anywhere in the line; never for an empty one.
/// @param options  0, the only kind of search that there is.
CEL_PLATFORM_API bool match(const LightweightString<wchar_t>& line, const Criteria& criteria,
                            int options);

} // namespace TextSearch

#pragma once

#include "subtitles/SubtitleCel.h"

namespace cel::detail {

using SubtitleElements = SubtitleTrack::SubtitleCel::Elements;

inline const SubtitleTrack::Element& noText()
{
    static const SubtitleTrack::Element none;
    return none;
}

/// The text under an identifier, an empty one when there is none.
inline const SubtitleTrack::Element& textOf(const SubtitleElements& elements, const IdStamp& id)
{
    const auto found = elements.find(id);
    return found == elements.end() ? noText() : found->second;
}

/// Looks texts up one after the other. Sections that were made one behind the other have
/// identifiers in that order too: then each text is the one behind the last, and nothing is
/// searched for.
class TextsInOrder
{
public:
    explicit TextsInOrder(const SubtitleElements& elements)
        : elements_(elements)
        , next_(elements.begin())
    {
    }

    const SubtitleTrack::Element& operator()(const IdStamp& id)
    {
        if (next_ == elements_.end() || next_->first != id)
            next_ = elements_.find(id);
        return next_ == elements_.end() ? noText() : (next_++)->second;
    }

private:
    const SubtitleElements& elements_;
    SubtitleElements::const_iterator next_;
};

} // namespace cel::detail

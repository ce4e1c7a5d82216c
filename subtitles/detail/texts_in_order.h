#pragma once

#include "subtitles/SubtitleCel.h"

#include <cstddef>
#include <span>

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

/// Whether an event is the in point of a subtitle.
inline bool isSubtitle(const ChannelEvent& event)
{
    return (event.info() & in_point) && !event.strip_name().isBlack();
}

/// Calls `visit` with the in and the out point of every subtitle that has both.
template <class Visit>
void forEachSubtitle(std::span<const ChannelEvent> events, const Visit& visit)
{
    for (std::size_t in = 0; in < events.size(); ++in) {
        if (!isSubtitle(events[in]))
            continue;
        std::size_t out = in + 1;
        while (out < events.size() && !(events[out].info() & (in_point | out_point)))
            ++out;
        if (out < events.size() && (events[out].info() & out_point))
            visit(in, out);
    }
}

} // namespace cel::detail

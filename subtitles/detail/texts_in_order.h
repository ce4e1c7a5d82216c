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

/// Calls `visit` with the in and the out point of every subtitle: a section goes from an in point
/// to the next out point, and on a damaged list an in point within it belongs to none.
template <class Visit>
void forEachSubtitle(std::span<const ChannelEvent> events, const Visit& visit)
{
    bool open = false;
    std::size_t in = 0;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (!open && events[i].info() == in_point) {
            in = i;
            open = true;
        } else if (open && events[i].info() == out_point) {
            open = false;
            if (isSubtitle(events[in]))
                visit(in, i);
        }
    }
}

} // namespace cel::detail

#include "interchange/edl_timing.h"

#include "interchange/text_lines.h"

#include <array>
#include <bit>

namespace cel::edl {

namespace {

bool isOutgoingHalf(const Event& event, const Event& next)
{
    return event.recordFrames() == 0 && event.transition == Transition::cut &&
           next.group == event.group && next.transition != Transition::cut;
}

/// The last event on each channel: what a transition leads away from, wherever the lines of other
/// channels stand in between.
class LastEvents
{
public:
    void note(Event& event)
    {
        for (int i = 0; i < kMostChannels; ++i) {
            if (event.channels.picture >> i & 1U)
                picture_[static_cast<std::size_t>(i)] = &event;
            if (event.channels.sound >> i & 1U)
                sound_[static_cast<std::size_t>(i)] = &event;
        }
    }

    /// Null when nothing stands before the event on its first channel.
    Event* before(const Event& event) const
    {
        const ChannelSet& channels = event.channels;
        if (channels.empty())
            return nullptr;
        return channels.picture != 0
                   ? picture_[static_cast<std::size_t>(std::countr_zero(channels.picture))]
                   : sound_[static_cast<std::size_t>(std::countr_zero(channels.sound))];
    }

private:
    std::array<Event*, kMostChannels> picture_{};
    std::array<Event*, kMostChannels> sound_{};
};

/// Gives the clip names of a transition to the event before it and to the one that comes in.
void settleNames(Event& event, Event* before, LossLedger& losses)
{
    Note outgoing;
    if (!event.toClip.text.empty()) {
        outgoing = event.clip;
        event.clip = event.toClip;
    } else if (before && event.clip.text == before->clip.text && event.reel != before->reel) {
        event.clip = {};
    }
    if (outgoing.text.empty() || (before && before->clip.text == outgoing.text))
        return;
    if (before && before->clip.text.empty())
        before->clip = outgoing;
    else
        losses.add(outgoing.line, "comment",
                   "the name of the outgoing clip is not kept: " + quoted(outgoing.text));
}

void noteTransition(const Event& event, LossLedger& losses)
{
    const bool isBackground = event.transition == Transition::keyBackground;
    const std::string length =
        event.transitionFrames > 0 ? " of " + framesText(event.transitionFrames) : "";
    losses.add(event.line, nameOf(event.transition),
               nameOf(event) + ": " +
                   (isBackground ? "the background of a key, reel "
                                 : "a " + std::string(nameOf(event.transition)) + length + " to ") +
                   std::string(event.reel) + " became a cut at its start");
}

void silence(Event& event, std::string_view kind, const std::string& reason, LossLedger& losses)
{
    event.plays = false;
    losses.add(event.line, kind, nameOf(event) + " is left out: " + reason);
}

} // namespace

void settleTransitions(EditList& list, LossLedger& losses)
{
    LastEvents last;
    for (std::size_t i = 0; i < list.events.size(); ++i) {
        Event& event = list.events[i];
        if (!event.plays)
            continue;
        if (i + 1 < list.events.size() && isOutgoingHalf(event, list.events[i + 1])) {
            event.plays = false;
            if (!event.clip.text.empty() && list.events[i + 1].toClip.text.empty()) {
                // Each half carries its own name, instead of both standing under the second.
                list.events[i + 1].toClip = list.events[i + 1].clip;
                list.events[i + 1].clip = event.clip;
            }
            continue;
        }
        if (event.transition != Transition::cut) {
            noteTransition(event, losses);
            settleNames(event, last.before(event), losses);
        } else if (!event.toClip.text.empty()) {
            losses.add(event.toClip.line, "comment",
                       "a cut has no second clip; its name is not kept: " +
                           quoted(event.toClip.text));
        }
        if (event.channels.empty())
            silence(event, "channel", "it is for no channel", losses);
        else if (event.recordFrames() == 0)
            silence(event, "empty", "it has no length", losses);
        else if (event.recordFrames() < 0)
            silence(event, "timecode", "its record out lies before its record in", losses);
        else
            last.note(event);
    }
}

} // namespace cel::edl

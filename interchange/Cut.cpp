#include "interchange/Cut.h"

#include "subtitles/SubtitleCel.h"
#include "tracks/ManagedCel.h"

#include <algorithm>

namespace cel {

namespace {

struct Kind
{
    CookieType type;
    const char* letter; ///< of a track's name
    const char* word;   ///< the channel's sub type
};

constexpr Kind kKinds[] = {
    {kVideoCookie, "V", "picture"},
    {kAudioCookie, "A", "sound"},
    {kSubtitleCookie, "S", "subtitles"},
};

const Kind& kindByType(CookieType type)
{
    const auto* const kind =
        std::find_if(std::begin(kKinds), std::end(kKinds),
                     [type](const Kind& candidate) { return candidate.type == type; });
    return kind == std::end(kKinds) ? kKinds[0] : *kind;
}

} // namespace

Kt::Ptr<Cel> Cut::track(std::string_view name) const
{
    for (const Kt::Ptr<Cel>& candidate : tracks)
        if (candidate->editChannelName().view() == name)
            return candidate;
    return nullptr;
}

Kt::Ptr<Cel> Cut::addTrack(CookieType type, int number)
{
    const Kind& kind = kindByType(type);
    const auto nameOf = [&kind](int n) { return kind.letter + std::to_string(n); };
    for (int free = 1; number == 0; ++free)
        if (!track(nameOf(free)))
            number = free;

    const Kt::Ptr<Cel> added = type == kSubtitleCookie
                                   ? SubtitleTrack(rate.frameDuration()).getCel()
                                   : Kt::Ptr<Cel>(new Cel(0, rate.frameDuration()));
    added->editChannelInfo(nameOf(number), ManagedCel::Rep::createId(), kind.word, {});
    tracks.push_back(added);
    return added;
}

std::string Cut::timecodeAt(double seconds) const
{
    return timecodeFromFrames(startFrame + nearestFrame(seconds, rate), rate);
}

double Cut::duration() const
{
    double longest = 0.0;
    for (const Kt::Ptr<Cel>& track : tracks)
        longest = std::max(longest, track->get_end_time());
    return longest;
}

Kt::Ptr<Cel> copyOfTrack(const Cel& track)
{
    if (const auto* const subtitles = dynamic_cast<const SubtitleTrack::SubtitleCel*>(&track))
        return Kt::Ptr<Cel>(new SubtitleTrack::SubtitleCel(*subtitles));
    return Kt::Ptr<Cel>(new Cel(track));
}

Cookie blackOf(const Cel& track)
{
    const CookieType kind = kindOf(track);
    return kind == kSubtitleCookie ? SubtitleTrack::blackCookie()
           : kind == kAudioCookie  ? audio_black
                                   : video_black;
}

void settleBlack(Cel& track)
{
    const Cookie black = blackOf(track);
    if (black.type() != kSubtitleCookie)
        return;
    for (int i = 0; i < track.numEvents(); ++i)
        if (ChannelEvent& event = *track.getChanEventPtr(i); event.strip_name().isBlack())
            event.strip_name(black);
}

CookieType kindOf(const Cel& track)
{
    const LightweightString<char> word = track.editChannelSubType();
    for (const Kind& kind : kKinds)
        if (word == kind.word)
            return kind.type;
    if (track.numEvents() == 0)
        return kVideoCookie;
    return kindByType(track.events().front().strip_name().type()).type;
}

} // namespace cel

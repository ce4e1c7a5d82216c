#include "interchange/audio_tracks.h"

#include "interchange/cut_levels.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/layers.h"

namespace cel {

namespace {

constexpr unsigned char kRevision = 1;
constexpr const char* kSwitches = "switches";

// What a name is found by when a store is read.
const StreamClassRegistrar theRegistrar(AudioSwitches::layerName(), AudioSwitches::layerName(),
                                        &AudioSwitches::build);

IdStamp channelOf(const AudCel& track)
{
    const Kt::Ptr<Cel> list = track.getCel();
    return list ? list->editChannelId() : IdStamp(0, 0, 0);
}

} // namespace

LightweightString<char> AudioSwitches::layerName()
{
    return "AudioSwitches";
}

Kt::Ptr<Streamable> AudioSwitches::build(PStream&)
{
    return Kt::Ptr<Streamable>(new AudioSwitches);
}

Kt::Ptr<Streamable> AudioSwitches::clone(BuilderType) const
{
    return Kt::Ptr<Streamable>(new AudioSwitches(*this));
}

void AudioSwitches::assign(const Streamable* other)
{
    if (const auto* switches = dynamic_cast<const AudioSwitches*>(other))
        *this = *switches;
}

LightweightString<char> AudioSwitches::hierarchyName(bool, bool) const
{
    return layerName();
}

void AudioSwitches::STRM_hierarchyPack(PStream& stream) const
{
    writeLayer(stream, layerName().view(), [this](PStream& body) {
        body.file().setCookedChar(soundOutputEnabled ? 1 : 0);
        body.file().setCookedChar(xfadesEnabled ? 1 : 0);
        levels.pack(body);
        return kRevision;
    });
}

void AudioSwitches::STRM_hierarchyUnpack(PStream& stream)
{
    readLayer(stream, layerName().view(), [this, &stream](const LayerFrame& frame) {
        if (frame.revision != kRevision)
            stream.errorText().append("it has the unknown revision " +
                                      std::to_string(frame.revision) + "\n");
        soundOutputEnabled = stream.file().getCookedChar() != 0;
        xfadesEnabled = stream.file().getCookedChar() != 0;
        levels.unpack(stream, frame.revision);
    });
}

AudCel audioTrack(const Cut& cut, const Kt::Ptr<Cel>& track)
{
    AudCel handle = AudCel::createValidButEmpty();
    static_cast<ManagedCel_CelSetter&>(handle).setCel(track);
    handle.id(track->editChannelId());
    if (!track->editChannelId().valid())
        return handle;
    const CutObject* const kept = cut.objects.find({track->editChannelId(), kSwitches, 0});
    if (const auto switches = kept ? Kt::dynamicCast<AudioSwitches>(kept->object) : nullptr) {
        handle.setSoundOutputEnabled(switches->soundOutputEnabled);
        handle.setXFadesEnabled(switches->xfadesEnabled);
        if (cut.objects.find(switches->levels))
            handle.setLevelsChanID(switches->levels);
    }
    const CutObject* const levels =
        cut.objects.find({track->editChannelId(), std::string(kLevelsRole), 0});
    if (levels)
        handle.setLevelsChanID(levels->id);
    return handle;
}

void keepSwitches(Cut& cut, const AudCel& track)
{
    const CutObjects::Place place{channelOf(track), kSwitches, 0};
    if (!place.owner.valid())
        return;
    const Kt::Ptr<AudioSwitches> switches(new AudioSwitches);
    switches->soundOutputEnabled = track.getSoundOutputEnabled();
    switches->xfadesEnabled = track.getXFadesEnabled();
    switches->levels = track.getLevelsChanID();
    const CutObject* const former = cut.objects.find(place);
    const IdStamp id = former ? former->id : IdStamp();
    cut.objects.put(id, Kt::Ptr<Streamable>(switches));
    cut.objects.name(place, id);
}

} // namespace cel

#pragma once

#include "interchange/Cut.h"
#include "tracks/AudCel.h"

/// Audio tracks of a cut with their switches. Their level envelopes: `cut_levels.h`.

namespace cel {

/// The switches of an audio track and the identity of its envelope, as a store keeps them: layer
/// "AudioSwitches", revision 1.
class AudioSwitches final : public Taggable
{
public:
    bool soundOutputEnabled = false;
    bool xfadesEnabled = true;
    IdStamp levels{0, 0, 0};

    static LightweightString<char> layerName();
    static Kt::Ptr<Streamable> build(PStream& stream);

    Kt::Ptr<Streamable> clone(BuilderType) const override;
    void assign(const Streamable* other) override;
    LightweightString<char> hierarchyName(bool shortForm, bool withBase) const override;
    void STRM_hierarchyPack(PStream& stream) const override;
    void STRM_hierarchyUnpack(PStream& stream) override;
};

/// A handle on a track of the cut, under the identity of its channel and with the switches that the
/// cut keeps for it; those of a new track when it keeps none. Changes of the events are the cut's;
/// the switches are the handle's until `keepSwitches`. Its envelope is the one that the cut has for
/// the track, if it has one.
AudCel audioTrack(const Cut& cut, const Kt::Ptr<Cel>& track);

/// Keeps the switches of the handle, and which envelope is its own, with its track. A handle
/// without a track, or on one whose channel has no identity, is left alone.
void keepSwitches(Cut& cut, const AudCel& track);

} // namespace cel

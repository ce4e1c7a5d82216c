#pragma once

#include "platform/audio/GainCurve.h"
#include "tracks/ManagedCel.h"

namespace cel {
class CrossfadeBuilder;
} // namespace cel

class AudCelRep;

/// Which end of a shot is meant; values other than the first two mean both.
enum BeginEnd : int { kBegin = -1, kEnd = 1, kBeginAndEnd = 0 };

/// Handle on an audio track: an event list, its switches, the identity of the level envelope that
/// belongs to it, and two working lists of its crossfades.
///
/// The working lists are the track on two rolls, where the fades of neighbours can be worked side
/// by side; `cel::CrossfadeBuilder` makes them, and an editor may make its own. As long as they are
/// valid, changes of fades and levels through this handle are carried over to them; any edit makes
/// them invalid, but for those of crossfades, which make them anew.
class CEL_API AudCel : public ManagedCel
{
public:
    /// A track without a list, under a fresh identity: not `valid()` until it gets one. Its sound
    /// is off, crossfades are on.
    AudCel();

    /// Both make the same; the name tells what the caller means to do with it.
    static AudCel createInvalid() { return {}; }
    static AudCel createValidButEmpty() { return {}; }

    /// A track of its own with the same events, identity, switches and envelope, and without
    /// working lists.
    AudCel clone() const;

    bool is_dummy() const { return false; }
    void is_dummy(bool) {}

    /// Whether the track is heard.
    bool getSoundOutputEnabled() const;
    void setSoundOutputEnabled(bool enabled);

    /// Whether crossfades are worked on this track.
    bool getXFadesEnabled() const;
    void setXFadesEnabled(bool enabled);

    /// Whether the working lists reflect the track.
    bool getXFadeCelsValid() const;
    /// They do not; the lists stay where they are.
    void invalidateXFadeCels();
    /// Working list 0 or 1; null when it is not set, and for any other number.
    Kt::Ptr<Cel> getXFadeCel(unsigned index) const;

    /// Identity of the track's level envelope; the null stamp when it has none.
    IdStamp getLevelsChanID() const;
    void setLevelsChanID(const IdStamp& id);

    /// Sets length (limited to 16383 quarter frames) or curve of the fade at the event `h`.
    /// @throws Kt::Exception::RuntimeError as the accessors of `h`; nothing has changed then.
    void setFadeLength(ce_handle h, unsigned short quarterFrames);
    void setFadeType(ce_handle h, Aud::GainCurve::eCurveType type);

    /// Sets the level at one end or both of the section that holds `time`. Nothing happens where
    /// there is none.
    void setShotSound(double time, BeginEnd which, float level);

    // ---- crossfades: those of the list, see `Cel` -------------------------------------------
    // Each that finds a cut makes the working lists anew while crossfades are worked on the track,
    // else invalid; one that finds none makes those that are not valid. Nothing has changed when
    // one throws; handles without a list have no cuts.

    unsigned cfade(double t, double seconds, Aud::GainCurve::eCurveType curve);
    bool cfade_removal(double t);
    int crossfade_whole(double seconds, Aud::GainCurve::eCurveType curve);
    int crossfade_removal_whole();
    bool crossfades_exist() const;

protected:
    void modification() override;

private:
    friend class cel::CrossfadeBuilder;

    explicit AudCel(AudCelRep* rep);

    /// The state, if it is one of an audio track: a handle that was assigned another kind of track
    /// through its base counts as one without a track.
    AudCelRep* audio() const;

    /// Shares both lists, which reflect the track from now on.
    void setXFadeCels(const Kt::Ptr<Cel>* cels);

    template <class Change>
    auto changeCrossfades(const Change& change);

    void setLevel(ce_handle& h, float level);
    void updateXFadeCels(const ce_handle& h) const;
};

/// What the handles of one audio track share.
class CEL_API AudCelRep : public ManagedCel::Rep
{
public:
    AudCelRep() = default;

    /// A track of its own. The working lists belong to the original.
    AudCelRep(const AudCelRep& other);
    AudCelRep& operator=(const AudCelRep& other) = default;

protected:
    ~AudCelRep() override;

private:
    friend class AudCel;

    bool soundOutputEnabled_ = false;
    bool xfadesEnabled_ = true;
    bool xfadeCelsValid_ = false;
    IdStamp levelsChanID_{0, 0, 0};
    Kt::Ptr<Cel> xfadeCels_[2];
};

#include "tracks/AudCel.h"

#include "tracks/CrossfadeBuilder.h"

#include <cmath>
#include <iterator>

namespace {

/// Frames are compared with a little less than a frame, so that neighbours stay apart.
constexpr double kShortOfFrame = 2e-6;

bool carriesMaterial(const ce_handle& h)
{
    return h.get_strip_cookie().getInt3() != Cookie::kSynthetic;
}

/// The event on the other side of the cut that `h` stands at; not valid at the ends of a track.
ce_handle acrossCut(const ce_handle& h)
{
    return h.is_in_point() ? h.get_prev_ceh(out_point) : h.get_next_ceh(in_point);
}

/// The crossfade list's event for the event `h` of the track: its section is the one that lasts
/// `inside` the section of `h`. Not valid where the list has nothing to hear.
ce_handle counterpart(const Cel& list, const ce_handle& h, double inside)
{
    ce_handle x = list.find_ceh(inside, in_point);
    if (!x.valid() || x.get_strip_cookie().isBlack())
        return {};
    if (h.is_out_point())
        ++x;
    return x;
}

bool lieTogether(const ce_handle& a, const ce_handle& b, double tolerance)
{
    return std::fabs(a.get_edit_time() - b.get_edit_time()) < tolerance;
}

/// Carries the fade and the level of `h` over to `x` of a crossfade list, and to what meets `x` at
/// its cut. Levels are compared exactly: a level that cannot be compared always counts as new.
void carryOver(const ce_handle& h, ce_handle& x, double tolerance)
{
    if (lieTogether(h, x, tolerance)) {
        x.set_audioRamp_DurationQFrames(h.audioRamp_DurationQFrames());
        x.set_audioRamp_CurveType(h.audioRamp_CurveType());
    }
    const float oldLevel = x.get_strip_level();
    const float newLevel = h.get_strip_level();
    ce_handle n = acrossCut(x);
    if (oldLevel != newLevel)
        x.set_strip_level(newLevel);
    if (!n.valid())
        return;

    const float level = n.get_strip_level();
    const ce_handle m = x.is_in_point() ? n.get_prev_ceh(in_point) : n.get_next_ceh(out_point);
    if (m.valid() && lieTogether(n, m, tolerance)) {
        // A section of hardly any length is there to fade from or to: with a fade from silence.
        const float wanted = h.audioRamp_DurationQFrames() == 0 ? newLevel : 0.0F;
        if (level != wanted)
            n.set_strip_level(wanted);
        return;
    }
    const bool ranOn = level == oldLevel && n.get_strip_cookie().compare(x.get_strip_cookie()) == 0;
    if (oldLevel != newLevel && ranOn)
        n.set_strip_level(newLevel);
}

} // namespace

// ---- the shared state -------------------------------------------------------------------------

AudCelRep::AudCelRep(const AudCelRep& other)
    : ManagedCel::Rep(other)
    , soundOutputEnabled_(other.soundOutputEnabled_)
    , xfadesEnabled_(other.xfadesEnabled_)
    , levelsChanID_(other.levelsChanID_)
{
}

AudCelRep::~AudCelRep() = default;

// ---- the handle -------------------------------------------------------------------------------

AudCel::AudCel()
    : ManagedCel(new AudCelRep)
{
}

AudCel::AudCel(AudCelRep* rep)
    : ManagedCel(rep)
{
}

AudCelRep* AudCel::audio() const
{
    return dynamic_cast<AudCelRep*>(rep());
}

AudCel AudCel::clone() const
{
    return AudCel(audio() ? new AudCelRep(*audio()) : nullptr);
}

bool AudCel::getSoundOutputEnabled() const
{
    return audio() && audio()->soundOutputEnabled_;
}

void AudCel::setSoundOutputEnabled(bool enabled)
{
    if (audio())
        audio()->soundOutputEnabled_ = enabled;
}

bool AudCel::getXFadesEnabled() const
{
    return audio() && audio()->xfadesEnabled_;
}

void AudCel::setXFadesEnabled(bool enabled)
{
    if (audio())
        audio()->xfadesEnabled_ = enabled;
}

bool AudCel::getXFadeCelsValid() const
{
    return audio() && audio()->xfadeCelsValid_;
}

void AudCel::invalidateXFadeCels()
{
    if (audio())
        audio()->xfadeCelsValid_ = false;
}

void AudCel::setXFadeCels(const Kt::Ptr<Cel>* cels)
{
    if (!audio())
        return;
    audio()->xfadeCels_[0] = cels[0];
    audio()->xfadeCels_[1] = cels[1];
    audio()->xfadeCelsValid_ = true;
}

Kt::Ptr<Cel> AudCel::getXFadeCel(unsigned index) const
{
    return audio() && index < std::size(audio()->xfadeCels_) ? audio()->xfadeCels_[index] : nullptr;
}

IdStamp AudCel::getLevelsChanID() const
{
    return audio() ? audio()->levelsChanID_ : IdStamp(0, 0, 0);
}

void AudCel::setLevelsChanID(const IdStamp& id)
{
    // A stamp that is there already is not written again: others may be reading it.
    if (audio() && audio()->levelsChanID_ != id)
        audio()->levelsChanID_ = id;
}

void AudCel::modification()
{
    invalidateXFadeCels();
}

void AudCel::setFadeLength(ce_handle h, unsigned short quarterFrames)
{
    h.set_audioRamp_DurationQFrames(quarterFrames);
    updateXFadeCels(h);
}

void AudCel::setFadeType(ce_handle h, Aud::GainCurve::eCurveType type)
{
    h.set_audioRamp_CurveType(type);
    updateXFadeCels(h);
}

void AudCel::setShotSound(double time, BeginEnd which, float level)
{
    const Kt::Ptr<Cel> cel = getCel();
    if (!cel || cel->numEvents() == 0)
        return;
    ce_handle in = cel->find_ceh(time, in_point);
    if (!in.valid())
        return;
    ce_handle out = in.matching_out_ceh();
    if (!out.valid())
        return;
    if (which != kEnd)
        setLevel(in, level);
    if (which != kBegin)
        setLevel(out, level);
}

void AudCel::setLevel(ce_handle& h, float level)
{
    h.set_strip_level(level);
    updateXFadeCels(h);
}

void AudCel::updateXFadeCels(const ce_handle& h) const
{
    const Kt::Ptr<Cel> cel = getCel();
    if (!cel || !getXFadeCelsValid() || !carriesMaterial(h))
        return;
    const double tolerance = cel->get_resolution() - kShortOfFrame;
    double inside = h.get_edit_time();
    if (h.is_in_point())
        inside += tolerance;
    else if (h.is_out_point())
        inside -= tolerance;

    for (const Kt::Ptr<Cel>& list : audio()->xfadeCels_) {
        if (!list || list->numEvents() == 0)
            continue;
        ce_handle x = counterpart(*list, h, inside);
        if (x.valid())
            carryOver(h, x, tolerance);
    }
}

// ---- crossfades -------------------------------------------------------------------------------

template <class Change>
auto AudCel::changeCrossfades(const Change& change)
{
    const Kt::Ptr<Cel> cel = getCel();
    if (!cel)
        return decltype(change(*cel))();
    // What may fail comes before the track changes.
    Cel::Rolls lists;
    if (getXFadesEnabled()) {
        const Kt::Ptr<Cel> ahead(new Cel(*cel));
        change(*ahead);
        lists = ahead->cfade_lists();
    }
    const auto answer = change(*cel);
    if (!answer && (getXFadeCelsValid() || !getXFadesEnabled()))
        return answer;
    modification();
    if (getXFadesEnabled())
        cel::CrossfadeBuilder::set(*this, lists.a, lists.b);
    return answer;
}

unsigned AudCel::cfade(double t, double seconds, Aud::GainCurve::eCurveType curve)
{
    return changeCrossfades([=](Cel& track) { return track.cfade(t, seconds, curve); });
}

bool AudCel::cfade_removal(double t)
{
    return changeCrossfades([=](Cel& track) { return track.cfade_removal(t); });
}

int AudCel::crossfade_whole(double seconds, Aud::GainCurve::eCurveType curve)
{
    return changeCrossfades([=](Cel& track) { return track.crossfade_whole(seconds, curve); });
}

int AudCel::crossfade_removal_whole()
{
    return changeCrossfades([](Cel& track) { return track.crossfade_removal_whole(); });
}

bool AudCel::crossfades_exist() const
{
    const Kt::Ptr<Cel> cel = getCel();
    return cel && cel->crossfades_exist();
}

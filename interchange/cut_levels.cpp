#include "interchange/cut_levels.h"

#include "platform/support/PStream.h"
#include "platform/support/TagBag.h"

namespace cel {

namespace {

using Store = AudLevelsCel::Store;

/// A handle on an envelope among the objects of a cut.
class HeldLevels : public AudLevelsCel
{
public:
    explicit HeldLevels(const Kt::Ptr<AudLevelsCelRep>& state)
        : AudLevelsCel(state)
    {
    }
};

CutObjects::Place placeOf(const Cel& track)
{
    return {track.editChannelId(), std::string(kLevelsRole), 0};
}

Kt::Ptr<Streamable> stateOf(const AudLevelsCel& levels)
{
    const std::unique_ptr<TagBag> bag = makeMemoryTagBag();
    AudLevelsCel::writeToStore(levels, *bag);
    return bag->openObject(levels.id()).object();
}

} // namespace

AudLevelsCel levelsOf(const Cut& cut, const Cel& track)
{
    const CutObject* object =
        track.editChannelId().valid() ? cut.objects.find(placeOf(track)) : nullptr;
    if (!object)
        return AudLevelsCel::createInvalid();
    AudLevelsCel levels = HeldLevels(Kt::dynamicCast<AudLevelsCelRep>(object->object));
    // Copies of the cut share the envelope, so that it is only written to when it must be.
    if (levels.id() != object->id)
        levels.id(object->id);
    if (levels.getResolution() != track.get_resolution())
        levels.setResolution(track.get_resolution());
    return levels;
}

void setLevels(Cut& cut, Cel& track, const AudLevelsCel& levels)
{
    const CutObject* const former =
        track.editChannelId().valid() ? cut.objects.find(placeOf(track)) : nullptr;
    const bool itsOwn = former && former->id == levels.id();
    if (former && !itsOwn)
        cut.objects.remove(former->id);
    if (!levels.valid())
        return;
    if (!track.editChannelId().valid())
        track.editChannelInfo(track.editChannelName(), AudLevelsCelRep::createId(),
                              track.editChannelSubType(), track.editChannelMaterialInfo());
    AudLevelsCel held = levels;
    if (!itsOwn && cut.objects.find(held.id())) {
        held = levels.clone();
        held.id(AudLevelsCelRep::createId());
    }
    cut.objects.put(held.id(), stateOf(held));
    cut.objects.name(placeOf(track), held.id());
}

AudLevelsCel flatLevels(const Cel& track)
{
    AudLevelsCel levels(track.get_resolution());
    if (track.numEvents() == 0)
        return levels;
    constexpr float kUnity = 1.0F;
    for (const double end : {track.get_start_time(), track.get_end_time()})
        levels.insertNode({end, kUnity, Store::kOrdinary, false});
    return levels;
}

LevelError errorOfStoring(const AudLevelsCel& levels)
{
    if (!levels.valid())
        return {};
    StreamFile file;
    PStream stream(file);
    stateOf(levels)->STRM_hierarchyPack(stream);
    const Kt::Ptr<AudLevelsCelRep> decoded(new AudLevelsCelRep(levels.getResolution()));
    decoded->STRM_hierarchyUnpack(stream);
    return worstLevelError(levels.snapshot(), decoded->snapshot());
}

} // namespace cel

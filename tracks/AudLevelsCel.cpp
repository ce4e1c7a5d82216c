#include "tracks/AudLevelsCel.h"

#include "tracks/AudCel.h"

#include <utility>

AudLevelsCel::AudLevelsCel(double resolution)
    : rep_(new AudLevelsCelRep(resolution))
{
}

AudLevelsCel::AudLevelsCel(bool, double resolution)
    : AudLevelsCel(resolution)
{
}

AudLevelsCel::AudLevelsCel(const Kt::Ptr<AudLevelsCelRep>& rep)
    : rep_(rep)
{
}

AudLevelsCel AudLevelsCel::createInvalid()
{
    return AudLevelsCel(Kt::Ptr<AudLevelsCelRep>());
}

AudLevelsCel AudLevelsCel::createValidButEmpty()
{
    return AudLevelsCel(1.0);
}

AudLevelsCel AudLevelsCel::clone() const
{
    return AudLevelsCel(Kt::Ptr<AudLevelsCelRep>(rep_ ? new AudLevelsCelRep(*rep_) : nullptr));
}

bool AudLevelsCel::valid() const
{
    return rep_ && rep_->id().valid();
}

bool AudLevelsCel::is_dummy() const
{
    return rep_ && rep_->isDummy();
}

void AudLevelsCel::is_dummy(bool dummy)
{
    if (rep_)
        rep_->isDummy(dummy);
}

IdStamp AudLevelsCel::id() const
{
    return rep_ ? rep_->id() : IdStamp(0, 0, 0);
}

void AudLevelsCel::id(const IdStamp& id)
{
    if (rep_)
        rep_->id(id);
}

double AudLevelsCel::getResolution() const
{
    return rep_ ? rep_->getResolution() : 0.0;
}

void AudLevelsCel::setResolution(double seconds)
{
    if (rep_)
        rep_->setResolution(seconds);
}

AudLevelsCel::Store& AudLevelsCel::getNodeStore()
{
    thread_local Store none;
    if (rep_)
        return rep_->nodes();
    none = Store(); // whatever somebody left there
    return none;
}

AudLevelsCel::Store::iterator AudLevelsCel::insertNode(const Store::Node& node)
{
    return rep_ ? rep_->nodes().insert(node) : getNodeStore().end();
}

float AudLevelsCel::levelAt(double t) const
{
    return rep_ ? rep_->levelAt(t) : 1.0F;
}

AudLevelsCel::Store AudLevelsCel::snapshot() const
{
    return rep_ ? rep_->snapshot() : Store();
}

AudLevelsCel::Range AudLevelsCel::getExtents(Editable::ExtentType type, bool flag) const
{
    return rep_ ? rep_->getExtents(type, flag) : Editable::invalidRange();
}

void AudLevelsCel::remove(const Range& range)
{
    if (rep_)
        rep_->remove(range);
    modification();
}

void AudLevelsCel::insert(AudLevelsCel source, const Range& range, double at, const IdMap& idMap)
{
    if (rep_)
        rep_->insert(source.rep_.get(), range, at, idMap);
    modification();
}

void AudLevelsCel::replace(AudLevelsCel source, const Range& range, double at, const IdMap& idMap,
                           Editable::ReplaceFlags flags)
{
    if (rep_)
        rep_->replace(source.rep_.get(), range, at, idMap, flags);
    modification();
}

void AudLevelsCel::quantiseCelEnd()
{
    if (rep_)
        rep_->quantiseCelEnd();
}

bool AudLevelsCel::simplify(Simplification::eType type, const Range& range)
{
    const bool sameCount = rep_ && rep_->simplify(type, range);
    modification();
    return sameCount;
}

std::size_t AudLevelsCel::thinToWithin(double decibels)
{
    const std::size_t erased = rep_ ? rep_->thinToWithin(decibels) : 0;
    modification();
    return erased;
}

void AudLevelsCel::tidyGuardNodesBackward(double t)
{
    if (rep_)
        rep_->tidyGuardNodesBackward(t);
}

void AudLevelsCel::tidyGuardNodesForward(double t)
{
    if (rep_)
        rep_->tidyGuardNodesForward(t);
}

void AudLevelsCel::replaceDependentGuardNodesAtPoint(double t)
{
    if (rep_)
        rep_->replaceDependentGuardNodesAtPoint(t);
}

void AudLevelsCel::replaceClipNodes(const AudCel& track)
{
    if (rep_)
        rep_->replaceClipNodes(track);
}

void AudLevelsCel::checkNodesRevision(const AudCel& track)
{
    if (rep_)
        rep_->checkNodesRevision(track);
}

void AudLevelsCel::modification() {}

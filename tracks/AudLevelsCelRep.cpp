#include "tracks/AudLevelsCelRep.h"

#include "tracks/ManagedCel.h"

#include <utility>

namespace {

constexpr double kQuantaPerFrame = 4.0;

} // namespace

AudLevelsCelRep::AudLevelsCelRep(double resolution)
    : id_(createId())
{
    init(resolution);
}

void AudLevelsCelRep::init(double resolution)
{
    revisionMajor_ = kNodesRevision;
    revisionMinor_ = 0;
    nodesRevision_ = kNodesRevision;
    dummy_ = false;
    setResolution(resolution);
}

AudLevelsCelRep::AudLevelsCelRep(const AudLevelsCelRep& other)
    : AudLevelsCelRep(other, Kt::Guard(other.lock_))
{
}

AudLevelsCelRep::AudLevelsCelRep(const AudLevelsCelRep& other, const Kt::Guard&)
    : Kt::InternalRefCount()
    , iObject()
    , Taggable(other)
    , id_(other.id_)
    , revisionMajor_(other.revisionMajor_)
    , revisionMinor_(other.revisionMinor_)
    , nodes_(other.nodes_)
    , quantum_(other.quantum_)
    , dummy_(other.dummy_)
    , nodesRevision_(other.nodesRevision_)
{
}

AudLevelsCelRep& AudLevelsCelRep::operator=(const AudLevelsCelRep& other)
{
    // A copy first: two envelopes may be assigned to each other from two threads.
    const Kt::Ptr<AudLevelsCelRep> state(new AudLevelsCelRep(other));
    const Kt::Guard guard(lock_);
    id_ = state->id_;
    revisionMajor_ = state->revisionMajor_;
    revisionMinor_ = state->revisionMinor_;
    nodes_ = std::move(state->nodes_);
    quantum_ = state->quantum_;
    dummy_ = state->dummy_;
    nodesRevision_ = state->nodesRevision_;
    return *this;
}

AudLevelsCelRep::~AudLevelsCelRep() = default;

IdStamp AudLevelsCelRep::createId()
{
    return ManagedCel::Rep::createId();
}

float AudLevelsCelRep::levelAt(double t) const
{
    const Kt::Guard guard(lock_);
    return nodes_.getLevelAtTime(t);
}

AudLevelsCelRep::Store AudLevelsCelRep::snapshot() const
{
    const Kt::Guard guard(lock_);
    return nodes_;
}

AudLevelsCelRep::Range AudLevelsCelRep::getExtents(Editable::ExtentType, bool) const
{
    const Kt::Guard guard(lock_);
    if (nodes_.empty())
        return Editable::invalidRange();
    return {nodes_.quantised(nodes_.nodes().front()), nodes_.quantised(nodes_.nodes().back())};
}

void AudLevelsCelRep::quantiseCelEnd() {}

double AudLevelsCelRep::quantum() const
{
    const Kt::Guard guard(lock_);
    return quantum_;
}

double AudLevelsCelRep::getResolution() const
{
    return quantum() * kQuantaPerFrame;
}

void AudLevelsCelRep::setResolution(double seconds)
{
    const Kt::Guard guard(lock_);
    quantum_ = seconds / kQuantaPerFrame;
    nodes_.setQuantum(quantum_);
}

bool AudLevelsCelRep::isDummy() const
{
    const Kt::Guard guard(lock_);
    return dummy_;
}

void AudLevelsCelRep::isDummy(bool dummy)
{
    const Kt::Guard guard(lock_);
    dummy_ = dummy;
}

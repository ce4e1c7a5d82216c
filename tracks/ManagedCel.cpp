#include "tracks/ManagedCel.h"

#include <utility>

namespace {

constexpr int kTrackMagicType = 2;

} // namespace

// ---- the shared state -------------------------------------------------------------------------

ManagedCel::Rep::Rep()
    : id_(createId())
{
}

ManagedCel::Rep::Rep(const Rep& other)
    : cel_(other.cel_ ? other.cel_->copy() : nullptr)
    , id_(other.id_)
{
}

ManagedCel::Rep::~Rep() = default;

IdStamp ManagedCel::Rep::createId()
{
    IdStamp id;
    id.setMagicType(kTrackMagicType);
    return id;
}

void ManagedCel::Rep::remove(const Range& range)
{
    if (cel_)
        cel_->remove(range);
}

void ManagedCel::Rep::insert(ManagedCel source, const Range& range, double at, const IdMap& idMap)
{
    if (cel_)
        cel_->insert(source.getCel().get(), range, at, idMap);
}

void ManagedCel::Rep::replace(ManagedCel source, const Range& range, double at, const IdMap& idMap,
                              Editable::ReplaceFlags flags)
{
    if (cel_)
        cel_->replace(source.getCel().get(), range, at, idMap, flags);
}

bool ManagedCel::Rep::simplify(Simplification::eType type, const Range& range)
{
    return cel_ && cel_->simplify(type, range);
}

void ManagedCel::Rep::quantiseCelEnd()
{
    if (cel_)
        cel_->quantiseCelEnd();
}

ManagedCel::Range ManagedCel::Rep::getExtents(Editable::ExtentType type, bool flag) const
{
    return cel_ ? cel_->getExtents(type, flag) : Editable::invalidRange();
}

// ---- the handle -------------------------------------------------------------------------------

Kt::Ptr<Cel> ManagedCel::getCel()
{
    return rep_ ? rep_->cel() : nullptr;
}

Kt::Ptr<Cel> ManagedCel::getCel() const
{
    return rep_ ? rep_->cel() : nullptr;
}

IdStamp ManagedCel::id() const
{
    return rep_ ? rep_->id() : IdStamp(0, 0, 0);
}

void ManagedCel::id(const IdStamp& id)
{
    if (rep_)
        rep_->id(id);
}

bool ManagedCel::valid() const
{
    return rep_ && rep_->cel();
}

ManagedCel::Range ManagedCel::getExtents(Editable::ExtentType type, bool flag) const
{
    return rep_ ? rep_->getExtents(type, flag) : Editable::invalidRange();
}

void ManagedCel::insert(ManagedCel source, const Range& range, double at, const IdMap& idMap)
{
    if (rep_)
        rep_->insert(source, range, at, idMap);
    modification();
}

void ManagedCel::replace(ManagedCel source, const Range& range, double at, const IdMap& idMap,
                         Editable::ReplaceFlags flags)
{
    if (rep_)
        rep_->replace(source, range, at, idMap, flags);
    modification();
}

void ManagedCel::remove(const Range& range)
{
    if (rep_)
        rep_->remove(range);
    modification();
}

bool ManagedCel::simplify(Simplification::eType type, const Range& range)
{
    const bool changed = rep_ && rep_->simplify(type, range);
    modification();
    return changed;
}

void ManagedCel::quantiseCelEnd()
{
    // Kept: tells nobody. What was worked out from the track does not look at its end.
    if (rep_)
        rep_->quantiseCelEnd();
}

void ManagedCel::modification() {}

void ManagedCel::setCel(Kt::Ptr<Cel> cel)
{
    if (rep_)
        rep_->cel(std::move(cel));
    modification();
}

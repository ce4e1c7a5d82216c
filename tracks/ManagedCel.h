#pragma once

#include "cel/Cel.h"
#include "cel/Simplification.h"
#include "platform/export.h"
#include "platform/foundation/NumRange.h"
#include "platform/foundation/Ptr.h"
#include "platform/os/OS.h"
#include "platform/support/IdStamp.h"
#include "tracks/Editable.h"
#include "tracks/EditableBase.h"

#include <cstdint>
#include <map>

/// Whoever is handed a track as this may swap its event list; nobody else can.
class CEL_API ManagedCel_CelSetter
{
public:
    virtual void setCel(Kt::Ptr<Cel> cel) = 0;

protected:
    ManagedCel_CelSetter() = default;
    ManagedCel_CelSetter(const ManagedCel_CelSetter&) = default;
    ManagedCel_CelSetter& operator=(const ManagedCel_CelSetter&) = default;
    ~ManagedCel_CelSetter() = default;
};

/// Handle on a track that is held as an event list.
///
///     VidCel a ──┐
///                ├──> Rep (count, identity) ──> Cel
///     VidCel b ──┘
///
/// Copying a handle costs one count and shares the track: what is edited through one copy all
/// others see. The kinds of tracks derive from it and offer `clone()` for a track of one's own.
///
/// A handle may have a track without a list, and, if it was made so, no track at all. Then edits
/// change nothing, queries answer that there is nothing, and `valid()` is false; `->` must
/// not be used then.
///
/// Counts are atomic, so handles on one track may live in different threads. Edits take no lock: a
/// track is edited by one thread at a time.
class CEL_API ManagedCel : public EditableBase<ManagedCel>, public ManagedCel_CelSetter
{
public:
    class Rep;
    using Range = NumRange<double, Ordered>;
    using IdMap = std::map<IdStamp, IdStamp>;

    /// Moving a handle shares as well: there is no handle that lost its track on the way.
    inline ManagedCel(const ManagedCel& other);
    inline ManagedCel& operator=(const ManagedCel& other);
    inline ~ManagedCel() override;

    /// The list itself, shared; null when there is none.
    Kt::Ptr<Cel> getCel();
    Kt::Ptr<Cel> getCel() const;
    Kt::Ptr<Cel> operator->() const { return getCel(); }

    /// Identity of the track, which clones keep; the null stamp for a handle without a track.
    IdStamp id() const;
    void id(const IdStamp& id);

    /// Whether the track has a list.
    bool valid() const;

    /// Whether an edit goes ahead when its source track is absent; callers ask first.
    bool performEditOpWithNullSrc() const { return false; }

    // ---- edits: those of the list, see `Cel` ------------------------------------------------
    // Each but `quantiseCelEnd` tells the handle of it through `modification`, whether anything
    // changed or not.

    Range getExtents(Editable::ExtentType type, bool flag) const;
    void insert(ManagedCel source, const Range& range, double at, const IdMap& idMap);
    void replace(ManagedCel source, const Range& range, double at, const IdMap& idMap,
                 Editable::ReplaceFlags flags);
    void remove(const Range& range);
    bool simplify(Simplification::eType type, const Range& range);
    void quantiseCelEnd();

protected:
    /// Takes over the reference that the maker of `rep` has; null makes a handle without a track.
    explicit ManagedCel(Rep* rep)
        : rep_(rep)
    {
    }

    /// Called after an edit: what was worked out from the track is stale.
    virtual void modification();

    Rep* rep() const { return rep_; }

private:
    /// Swaps the list under every handle of the track.
    void setCel(Kt::Ptr<Cel> cel) override;

    Rep* rep_;
};

/// The state that all handles of one track share. Lives on the heap; the last `decRef` frees it.
class CEL_API ManagedCel::Rep
{
public:
    /// No list, a fresh identity; the one reference belongs to the handle that gets it.
    Rep();

    /// A track of its own: a copy of the list, made by `Cel::copy`, under the same identity.
    Rep(const Rep& other);

    /// Shares the other's list and takes over all of its members. Kept: the count is one of them,
    /// so both must be fresh, with the one reference that they were made with.
    Rep& operator=(const Rep& other) = default;

    /// A fresh stamp tagged as the identity of a track.
    static IdStamp createId();

    void incRef() const noexcept { OS().increment(refCount_); }
    void decRef() const noexcept
    {
        if (OS().decrement(refCount_) == 0)
            delete this;
    }
    /// Handles that own the state at this moment; for tests and diagnosis.
    std::int32_t refCount() const noexcept { return OS().read(refCount_); }

    IdStamp id() const { return id_; }
    void id(const IdStamp& id) { id_ = id; }

    const Kt::Ptr<Cel>& cel() const { return cel_; }
    void cel(Kt::Ptr<Cel> cel) { cel_.swap(cel); }

protected:
    virtual ~Rep();

public:
    // Without a list, edits do nothing, `simplify` answers false and `getExtents` that there is no
    // extent.
    virtual void remove(const Range& range);
    virtual void insert(ManagedCel source, const Range& range, double at, const IdMap& idMap);
    virtual void replace(ManagedCel source, const Range& range, double at, const IdMap& idMap,
                         Editable::ReplaceFlags flags);
    virtual bool simplify(Simplification::eType type, const Range& range);
    virtual void quantiseCelEnd();
    virtual Range getExtents(Editable::ExtentType type, bool flag) const;

private:
    Kt::Ptr<Cel> cel_;
    mutable std::int32_t refCount_ = 1;
    IdStamp id_;
};

ManagedCel::ManagedCel(const ManagedCel& other)
    : EditableBase<ManagedCel>(other)
    , ManagedCel_CelSetter(other)
    , rep_(other.rep_)
{
    if (rep_)
        rep_->incRef();
}

ManagedCel& ManagedCel::operator=(const ManagedCel& other)
{
    // In this order a handle may be assigned to itself.
    if (other.rep_)
        other.rep_->incRef();
    Rep* const former = rep_;
    rep_ = other.rep_;
    if (former)
        former->decRef();
    return *this;
}

ManagedCel::~ManagedCel()
{
    if (rep_)
        rep_->decRef();
}

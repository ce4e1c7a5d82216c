#pragma once

#include "platform/foundation/Ptr.h"
#include "tracks/AudLevelsCelRep.h"
#include "tracks/EditableBase.h"

class TagBag;

/// Handle on the level envelope of an audio track: nodes that draw the gain over time.
///
/// Edits hold the level on either side of a cut with a pair of guards:
///
///     level   ---o o---         the end guard closes the left side a quantum before the cut,
///                |  \          the start guard opens the right side at the cut
///            end   start
///
/// An envelope is edited by the same operations as the track that it belongs to, and carries the
/// identity that `AudCel::getLevelsChanID` names. Copying a handle shares the envelope; one that
/// was moved from is invalid. An invalid handle has none: edits change nothing, queries answer as
/// for one without nodes.
///
/// Several threads may edit and read one envelope through this handle's operations, except through
/// `getNodeStore` and `insertNode`, which are for whoever holds `AudLevelsCelRep::lock`, and the
/// identity.
class CEL_API AudLevelsCel : public EditableBase<AudLevelsCel>
{
public:
    using Store = AudLevelsCelRep::Store;
    using Range = AudLevelsCelRep::Range;
    using IdMap = AudLevelsCelRep::IdMap;

    /// A new envelope without nodes, under a fresh identity. @param resolution  frame duration of
    /// its track; a quarter of it is the quantum. The flag has no meaning here.
    explicit AudLevelsCel(double resolution);
    AudLevelsCel(bool, double resolution);

    static AudLevelsCel createInvalid();
    /// Of resolution 1 s.
    static AudLevelsCel createValidButEmpty();

    /// An envelope of its own with the same nodes and state, the identity included.
    AudLevelsCel clone() const;

    bool valid() const;
    bool is_dummy() const;
    void is_dummy(bool dummy);

    /// Whether an edit goes ahead when its source envelope is absent: then black goes in.
    bool performEditOpWithNullSrc() const { return true; }

    IdStamp id() const;
    void id(const IdStamp& id);

    double getResolution() const;
    void setResolution(double seconds);

    // ---- nodes ----------------------------------------------------------------------------------

    /// The nodes themselves, for whoever holds the lock; of an invalid handle, an empty store that
    /// no other thread sees.
    Store& getNodeStore();

    /// Puts a node in as `Store::insert` does, whatever its level. Takes no lock.
    Store::iterator insertNode(const Store::Node& node);

    /// Level at `t`; 1 without a node. Takes the lock, O(log n).
    float levelAt(double t) const;

    /// A copy of the nodes as they are at this moment. Takes the lock.
    Store snapshot() const;

    /// From the first to the last node, on the quantum; both arguments have no meaning here.
    Range getExtents(Editable::ExtentType type, bool flag) const;

    // ---- edits: O(log n), one move of the later nodes and one shift ----------------------------

    /// Takes a stretch out and closes the gap. The level in front of it holds up to a quantum
    /// before the cut; behind it begins with the level that stood at the end of the stretch.
    void remove(const Range& range);

    /// Opens a gap at `at` and fills it with the nodes that `source` has in `range`, between guards
    /// at its own levels; with black of level 1 if there is no source. What follows resumes at the
    /// level that stood at `at`; where no node follows there is nothing to resume. The source may
    /// be the envelope itself. The map has no meaning here.
    void insert(AudLevelsCel source, const Range& range, double at, const IdMap& idMap);

    /// Overwrites the stretch from `at` that is as long as `range`; what follows keeps its level
    /// and its times. A stretch before 0 is cut off and the whole range goes in at 0. Ranges of up
    /// to a microsecond change nothing. Map and flags have no meaning here.
    void replace(AudLevelsCel source, const Range& range, double at, const IdMap& idMap,
                 Editable::ReplaceFlags flags);

    /// Nothing: an envelope has no end of its own.
    void quantiseCelEnd();

    /// Thins the envelope by the method that is configured under "track_sound_simplify_style", or
    /// in a range, if its ends are apart, by area. Types other than 0 do nothing.
    /// @return Kept: true when the number of nodes is what it was, false when it changed or the
    /// type was another.
    bool simplify(Simplification::eType type, const Range& range);

    /// Thins to the fewest nodes whose straight lines stay within a number of decibels of the
    /// envelope at every time, before the first and behind the last node too. Guards stay, and so
    /// do nodes where black begins or ends; see `cel::fewestNodesWithin`.
    /// @return the number of nodes that went; 0 when `decibels` is negative or no number.
    std::size_t thinToWithin(double decibels);

    // ---- guards and clips ----------------------------------------------------------------------

    /// Clears the nodes of an outgoing shot in front of a cut at `t`: back to a start guard, which
    /// goes too unless it is the first node, or to an end guard, which stays.
    void tidyGuardNodesBackward(double t);

    /// Clears the nodes of an incoming shot from a cut at `t` on: up to an end guard, which goes
    /// too, or to a start guard, which stays.
    void tidyGuardNodesForward(double t);

    /// Writes the pair of guards at `t` anew, with the levels of the nodes next to it: behind 0 the
    /// end guard, unless no node lies in front of it or none follows; and always the start guard.
    void replaceDependentGuardNodesAtPoint(double t);

    /// Gives every section of the track its own pair of guards, with the levels that stand at its
    /// ends, and flags its nodes as black or not. Guards that were there go. One pass over both.
    /// A section that has no out point, or overlaps the one before it, is logged and left out.
    void replaceClipNodes(const AudCel& track);

    /// Brings nodes of an older revision up to date: `replaceClipNodes`, whatever their revision.
    void checkNodesRevision(const AudCel& track);

    // ---- the object store ----------------------------------------------------------------------

    /// Puts the envelope into the store under its identity; an invalid one is not stored.
    static void writeToStore(AudLevelsCel envelope, TagBag& bag);

    /// The envelope that the store keeps under `id`, shared; invalid when it has none there.
    static AudLevelsCel createFromStore(const IdStamp& id, TagBag& bag);

    /// Takes the envelope out of the store; it lives on in the handles that share it.
    static void extractFromStore(const IdStamp& id, TagBag& bag);

protected:
    explicit AudLevelsCel(const Kt::Ptr<AudLevelsCelRep>& rep);

    virtual void modification();

private:
    Kt::Ptr<AudLevelsCelRep> rep_;
};

#pragma once

#include "cel/Simplification.h"
#include "platform/audio/DynamicLevelControl.h"
#include "platform/export.h"
#include "platform/foundation/CriticalSection.h"
#include "platform/foundation/NumRange.h"
#include "platform/support/IdStamp.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/Taggable.h"
#include "tracks/Editable.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>

class AudCel;
class AudLevelsCel;

/// The state that all handles of one level envelope share: its nodes and the lock that guards them.
///
/// Whatever changes several nodes holds the lock from beginning to end, and takes from a source
/// what it needs under the source's lock before it takes its own: no thread ever waits for one
/// envelope with another one locked. The nodes themselves (`nodes`), `pack` and the identity take
/// no lock; who uses them while others edit takes it first. An edit that runs out of memory leaves
/// the envelope as it was. Times that are not finite change nothing; only a range to be thinned may
/// be without end.
class CEL_API AudLevelsCelRep : public Taggable
{
public:
    using Store = Aud::DynamicLevelControl::Store;
    using Range = NumRange<double, Ordered>;
    using IdMap = std::map<IdStamp, IdStamp>;

    /// Major revision of what `pack` writes.
    static constexpr unsigned char kNodesRevision = 3;

    /// No nodes and a fresh identity. @param resolution  seconds; a quarter of it is the distance
    /// that an end guard keeps from its cut.
    explicit AudLevelsCelRep(double resolution);

    /// The same envelope's state once more: its identity too, but neither its lock nor its store.
    AudLevelsCelRep(const AudLevelsCelRep& other);
    AudLevelsCelRep& operator=(const AudLevelsCelRep& other);

    // ---- streams ------------------------------------------------------------------------------

    void assign(const Streamable* other) override;
    LightweightString<char> hierarchyName(bool shortForm, bool withBase) const override;
    void STRM_hierarchyUnpack(PStream& stream) override;
    void STRM_hierarchyPack(PStream& stream) const override;
    Kt::Ptr<Streamable> clone(BuilderType) const override;

    // ---- edits, see `AudLevelsCel` --------------------------------------------------------------

    virtual void remove(const Range& range);
    virtual void insert(const AudLevelsCelRep* source, const Range& range, double at, const IdMap&);
    virtual void replace(const AudLevelsCelRep* source, const Range& range, double at, const IdMap&,
                         Editable::ReplaceFlags flags);

private:
    virtual bool simplify(Simplification::eType type, const Range& range);

public:
    virtual Range getExtents(Editable::ExtentType type, bool flag) const;

    /// Nothing: an envelope has no end of its own.
    virtual void quantiseCelEnd();

    LightweightString<char> subHierarchyName(bool shortForm, bool withBase) const;
    LightweightString<char> STRM_L_AudLevelsCelRep_buildHierarchyName(bool shortForm,
                                                                      bool withBase) const;
    static LightweightString<char> shortLayerName();
    static LightweightString<char> layerName();
    static void STRM_layerPack(const AudLevelsCelRep* levels, PStream& stream, PackStack* stack);
    static void STRM_layerUnpack(AudLevelsCelRep* levels, PStream& stream);

    /// An empty envelope of resolution 1 s for a reader to unpack into; the owner of the envelope
    /// knows the true one.
    static Kt::Ptr<Streamable> STRM_L_AudLevelsCelRep_builder(PStream& stream);

    /// Writes the nodes. Takes no lock: to save while others edit, save a clone.
    void pack(PStream& stream) const;

    /// Adds the nodes that were written. Of adjacent ones at the same time the first is kept. What
    /// the bytes do not hold is left out, with a note in the stream's error text.
    void unpack(PStream& stream);

    /// Format revision of the nodes: 3.0 but while a layer is read.
    unsigned char revisionMajor() const { return revisionMajor_; }
    unsigned char revisionMinor() const { return revisionMinor_; }
    void revisionMajor(unsigned char revision) const { revisionMajor_ = revision; }
    void revisionMinor(unsigned char revision) const { revisionMinor_ = revision; }

    /// Major revision of the nodes that were last read; 3 once their guards have been made anew.
    std::int32_t nodesRevision() const { return nodesRevision_; }

    // ---- guards and clips -----------------------------------------------------------------------

    void tidyGuardNodesBackward(double t);
    void tidyGuardNodesForward(double t);
    void replaceDependentGuardNodesAtPoint(double t);
    void replaceClipNodes(const AudCel& track);
    void checkNodesRevision(const AudCel& track);

    /// Of neighbours less than a microsecond apart the later one stays. One pass.
    void removeCoincidentNodes();

    // ---- thinning -------------------------------------------------------------------------------

    /// By slope: nodes go that continue the line so far, exactly or in small steps. One pass.
    void simplify1();

    /// By area: as many nodes go as a chord may replace without enclosing more than the configured
    /// area. Linear where levels stay or lie on one side of the chord, else up to the square of the
    /// nodes in a run.
    void simplify2();

    /// The same between two raw times, guards included.
    void simplify_section_2(double from, double to);

    /// See `AudLevelsCel::thinToWithin`.
    std::size_t thinToWithin(double decibels);

    // ---- state ----------------------------------------------------------------------------------

    /// A fresh stamp tagged as the identity of a track.
    static IdStamp createId();
    IdStamp id() const { return id_; }
    void id(const IdStamp& id) { id_ = id; }

    Store& nodes() { return nodes_; }
    CriticalSection& lock() const { return lock_; }

    /// Level at `t`, and all nodes at this moment; for any thread.
    float levelAt(double t) const;
    Store snapshot() const;

    double getResolution() const;
    void setResolution(double seconds);

    bool isDummy() const;
    void isDummy(bool dummy);

protected:
    ~AudLevelsCelRep() override;

private:
    friend class AudLevelsCel;

    struct Material;
    struct Opening;

    AudLevelsCelRep(const AudLevelsCelRep& other, const Kt::Guard&);

    void init(double resolution);
    double quantum() const; ///< takes the lock
    Material materialFor(double quantum, const Range& range, double at) const;
    static Material blackOrMaterialOf(const AudLevelsCelRep* source, double quantum,
                                      const Range& range, double at);
    void putIn(const AudLevelsCelRep* source, const Range& range, const Opening& opening);
    void simplifyWhole();

    static StreamClassRegistrar STRM_L_AudLevelsCelRep_registrar_;

    IdStamp id_;
    mutable unsigned char revisionMajor_;
    mutable unsigned char revisionMinor_;
    Store nodes_;
    mutable CriticalSection lock_;
    double quantum_; ///< seconds, a quarter of the resolution
    bool dummy_;
    std::int32_t nodesRevision_;
};

#pragma once

#include "cel/Cel.h"
#include "cel/detail/sections.h"

#include <vector>

/// Builds, aside, the events that an insertion puts into a track: the part of a source that lies in
/// a range, moved to its place and onto the track's frames, black where the source has nothing.
///
/// The track itself is not touched; its hooks are called for each section copied. Effect objects
/// that they made are destroyed, the last one first, and what they resized gets its former
/// duration, unless `keepObjects` is called.
class Cel::InsertedMaterial
{
public:
    /// @param at     edit time of the range's start on the track, on its frames.
    /// @param black  what stands where the source has nothing.
    InsertedMaterial(Cel& track, const Range& range, double at, const IdMap& idMap,
                     const Cookie& black);

    InsertedMaterial(const InsertedMaterial&) = delete;
    InsertedMaterial& operator=(const InsertedMaterial&) = delete;
    ~InsertedMaterial();

    /// Builds from a source, or black alone from none. @return false when the source has no whole
    /// section where one must be.
    bool build(const Cel* source);

    /// The events are on the track: their objects stay.
    void keepObjects() { shared_.clear(); }

    const cel::detail::EventVector& events() const { return events_; }
    const Cookie& black() const { return black_; }
    double start() const { return events_.front().edit_time(); }
    double end() const { return events_.back().edit_time(); }

private:
    struct Clip;
    class FormerObjects;

    /// What the hooks did to the object of one copied section.
    struct Shared
    {
        IdStamp made{0, 0, 0}; ///< identifier that they gave to a copy
        IdStamp resized{0, 0, 0};
        double share = 1.0;
        ParamResizeMethod method{};
    };

    void buildBlack();
    bool buildSections(const Cel& source);
    void addSection(const Cel& source, int in, int out);
    void addIn(const Cel& source, int in, const ChannelEvent& sourceOut, const Clip& clip);
    void addOut(const ChannelEvent& sourceIn, const ChannelEvent& sourceOut, const Clip& clip);
    void shareObject(const ce_handle& source, ChannelEvent& event, const Clip& clip);
    void takeBack(const Shared& shared) noexcept;
    void fillUpTo(double sourceTime);
    double onTrack(double sourceTime) const;

    Cel& track_;
    const Range range_;
    const double at_;
    const IdMap& idMap_;
    const Cookie black_;
    double reached_; ///< time of the source up to which the events go
    bool hasSection_ = false;
    cel::detail::EventVector events_;
    std::vector<Shared> shared_;
};

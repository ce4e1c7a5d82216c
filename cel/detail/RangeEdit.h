#pragma once

#include "cel/Cel.h"
#include "cel/detail/ObjectJournal.h"
#include "cel/detail/Splice.h"

#include <cstddef>
#include <vector>

/// One edit of a track that happens as a whole or not at all. It goes step by step, so that the
/// hooks see each cut with the track as it is then; unless `finish` is reached, all steps are taken
/// back: the events are what they were bit for bit, objects that hooks made are destroyed and those
/// that they resized are restored.
///
/// Room is made before each step; to take it back nothing is allocated.
class Cel::RangeEdit
{
public:
    explicit RangeEdit(Cel& track);
    RangeEdit(const RangeEdit&) = delete;
    RangeEdit& operator=(const RangeEdit&) = delete;
    ~RangeEdit();

    /// Cuts a section. @return the second half's in point.
    int cut(const cel::detail::CutPlace& place, double t);

    /// Takes a stretch out; at most once in an edit. The objects of its sections live on until the
    /// end.
    void remove(const Range& range);

    /// Puts a part of a source in.
    void insert(const Cel* source, const Range& range, double at, const IdMap& idMap);

    /// The edit is complete: destroys the objects of what was taken out.
    void finish();

private:
    struct Cut
    {
        int in;
        int secondIn;
        int out;
        double share; ///< of the first half
        ChannelEvent formerIn;
        ChannelEvent formerOut;
        bool copied = false;  ///< whether the hooks made an object for the first half
        bool resized = false; ///< whether they shortened the second half's
    };

    int cutAt(double t);
    void shareObject(Cut& cut);
    void takeOut(int first, int pairs);
    void takeBack() noexcept;
    void join(const Cut& cut) noexcept;
    void putBackTaken() noexcept;

    static constexpr std::size_t kMostCuts = 3; ///< two for a stretch, one for the material

    Cel& track_;
    const std::int32_t formerDirty_;
    const std::int32_t formerPending_;
    cel::detail::ObjectJournal journal_;
    cel::detail::ObjectJournal* const formerJournal_;
    std::vector<Cut> cuts_;
    std::size_t cutsBeforeTaking_ = 0;
    std::size_t takenFrom_ = 0;
    std::vector<ChannelEvent> taken_;
    std::vector<double> timesBehind_; ///< where the events behind what was taken out had been
    bool finished_ = false;
};

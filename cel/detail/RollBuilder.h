#pragma once

#include "cel/Cel.h"
#include "cel/detail/ObjectJournal.h"
#include "cel/detail/shots.h"

#include <cstddef>

/// Builds a roll: a track on which shots lie where they are told to, and black between them.
///
/// A roll that belongs to a store has its own copies of the shots' effect objects. Unless `finish`
/// is reached, those are destroyed again.
class Cel::RollBuilder
{
public:
    /// A shot of a track as it is to be laid: both ends may have moved inwards.
    struct Shot
    {
        Shot(const Cel& track, const cel::detail::Section& where);

        const Cel* source;
        cel::detail::Section section;
        ChannelEvent in;
        ChannelEvent out;
    };

    /// A roll of the same resolution and black as a track.
    /// @param store  of the roll; null for none.
    /// @param start  from here on it has black where nothing is laid.
    /// @param events  for which room is made.
    RollBuilder(const Cel& like, TagBag* store, double start, std::size_t events);
    RollBuilder(const RollBuilder&) = delete;
    RollBuilder& operator=(const RollBuilder&) = delete;
    ~RollBuilder();

    /// The shots of a track in turn on two rolls of its extent.
    /// @param lay  how each is laid.
    static Rolls inTurn(const Cel& track, TagBag* store, void (RollBuilder::*lay)(const Shot&));

    /// Lays a shot with all that it is. One that has no length left plays nothing.
    void lay(const Shot& shot);

    /// Lays the two ends of a shot alone, between what their fades come from and go to.
    void layBetweenFades(const Shot& shot);

    /// Black up to a time.
    void restUntil(double time);

    /// The roll is complete.
    Kt::Ptr<Cel> finish();

private:
    void copyObject(const Shot& shot, ChannelEvent& in);
    void reachTo(double time);
    void append(const ChannelEvent& event);
    void appendMark(double time, float first, float last);

    Kt::Ptr<Cel> track_;
    const Cookie black_;
    double reached_;
    cel::detail::ObjectJournal journal_;
};

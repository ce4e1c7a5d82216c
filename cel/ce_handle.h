#pragma once

#include "cel/ChannelEvent.h"
#include "platform/export.h"
#include "platform/foundation/Exception.h"
#include "platform/foundation/NumRange.h"
#include "platform/foundation/Ptr.h"

#include <cstdint>

class Cel;

/// A checked position in one track: the track, an index into its events, and the identity that the
/// track had when the handle was bound.
///
/// A handle keeps its track alive. It keeps its index, not its event: events put in or taken out
/// in front of it make it name another one. When the track is loaded anew, assigned or cleared its
/// identity changes, and the handle fails loudly instead of reading events it was not made for.
/// Moving past either end is no fault; it gives a handle that is not `valid()`.
///
/// Every operation throws `Kt::Exception::RuntimeError` when the handle is unbound or its track
/// has another identity, with the text "ce_handle::NAME: wrong cel id"; the accessors that read or
/// write an event throw the track's "Cel::NAME: invalid ce_handle" for any handle that is not
/// valid. All are O(1) unless they say otherwise.
class CEL_API ce_handle
{
public:
    /// Unbound: no track, index -1.
    ce_handle();
    ce_handle(const Kt::Ptr<Cel>& cel, int index);
    ce_handle(const ce_handle&);
    ce_handle(ce_handle&&) noexcept;
    ce_handle& operator=(const ce_handle&);
    ce_handle& operator=(ce_handle&&) noexcept;
    ~ce_handle();

    /// Binds the handle to a track and takes over its identity; the index stays.
    void set_its_cel(const Kt::Ptr<Cel>& cel);
    const Kt::Ptr<Cel>& get_its_cel() const { return its_cel_; }
    Kt::Ptr<Cel>& get_its_cel() { return its_cel_; }
    unsigned get_its_cel_id() const { return its_cel_id_; }

    void set_index(int index) { index_ = index; }
    int get_index() const { return index_; }

    /// The index becomes -1; the track stays.
    void invalidate() { index_ = -1; }

    /// 1 when the handle names an event of the track it was bound to.
    int valid() const;
    int excessive_valid() const { return 1; }

    /// Moves by one event of any kind. @return a copy of the handle after the move.
    ce_handle operator++();
    ce_handle operator--();
    ce_handle operator+(int n) const;
    ce_handle operator-(int n) const;

    /// Moves to the next (previous) event of a kind in the filter, or off the end. O(events
    /// passed).
    void increment(ce_info filter);
    void decrement(ce_info filter);

    ce_handle next() const;
    ce_handle prev() const;
    ce_handle get_start_ceh() const;
    ce_handle get_end_ceh() const;

    bool is_in_point() const;
    bool is_out_point() const;
    bool is_level_change() const;

    /// The in (out) point of this event's section: itself, or the nearest one before (after) it;
    /// not valid when there is none. O(events passed).
    ce_handle matching_in_ceh() const;
    ce_handle matching_out_ceh() const;

    /// Comparisons of positions.
    /// @throws Kt::Exception::RuntimeError "ce_handle::operator…: have to compare like ce_handles"
    /// when the two were bound to different tracks.
    bool operator<(const ce_handle& other) const;
    bool operator<=(const ce_handle& other) const;
    bool operator>(const ce_handle& other) const;
    bool operator>=(const ce_handle& other) const;
    int operator-(const ce_handle& other) const;

    /// Same track, identity and index; never throws.
    bool operator==(const ce_handle& other) const;

    double get_edit_time() const;
    void set_edit_time(double t, bool moveStrip = false);
    double get_strip_time(double t = cel::kUnsetTime) const;
    void set_strip_time(double t);
    void set_start_strip_time(double t);
    Cookie get_strip_cookie() const;
    void set_strip_cookie(const Cookie& material);
    CookieType get_cookie_type() const;
    float get_strip_level(double t = cel::kUnsetTime) const;
    void set_strip_level(float level);
    float get_strip_velocity() const;
    void set_strip_velocity(float velocity);
    int get_dmod_code() const;
    void set_dmod_code(int modifier);
    unsigned audioRamp_DurationQFrames() const;
    void set_audioRamp_DurationQFrames(unsigned quarterFrames);
    Aud::GainCurve::eCurveType audioRamp_CurveType() const;
    void set_audioRamp_CurveType(int curve);
    ce_info get_ce_info() const;
    int on_time(double t) const;
    int time_in_range(double t) const;
    int time_in_range_exclusive(double t) const;
    ce_handle get_next_ceh(ce_info filter) const;
    ce_handle get_prev_ceh(ce_info filter) const;

    /// Searches the track from this position on; `found` receives the result. See
    /// `Cel::find_ceh_seeded`.
    void find_ceh(ce_handle& found, double t, ce_info filter) const;

    /// The event itself; null when the handle is not valid. Dies at any change of the track's
    /// length.
    ChannelEvent* get_chan_evnt_ptr();
    const ChannelEvent* get_chan_evnt_ptr() const;

    /// Direct access to the event.
    /// @throws Kt::Exception::RuntimeError "ce_handle::NAME: invalid ce_handle".
    ChannelEvent get_channel_event() const;
    trim_type get_trim_type() const;
    bool isActive() const;
    void setActive(bool active);
    IdStamp getEffectGraph() const;
    void setEffectGraph(const IdStamp& id);
    bool is_effect() const;

    /// Selects the event for trimming, or takes the selection away.
    void select_trim(trim_type trim);
    void select_trim_start() { select_trim(trim_start); }
    void select_trim_end() { select_trim(trim_end); }
    void select_trim_black() { select_trim(trim_black); }
    void select_trim_roll_black() { select_trim(trim_roll_black); }
    void deselect_trim() { select_trim(trim_none); }

    /// Takes the selection away from every event of the track. O(events).
    void deselect_all_trims();

    /// The next position whose event is selected (whose trim mark is set); not valid when there is
    /// none. O(events passed).
    ce_handle find_next_trim() const;
    ce_handle find_next_trim_mark() const;

    /// 1 when the trim of this event's cut is shown at this event: an in point marks itself, an
    /// out point is marked by its own selection unless that of its in point turns it round.
    int get_trim_mark() const;

private:
    friend class Cel;

    /// On a track that asks for it itself: its share is counted once, not on the way as well.
    ce_handle(Cel& cel, int index);

    void requireSameIdentity(const char* message) const;
    void requireLikeHandles(const ce_handle& other, const char* message) const;
    ChannelEvent& event(const char* message) const;
    Cel& track() const;
    void step(ce_info filter, int by);
    ce_handle at(std::int64_t index) const;

    Kt::Ptr<Cel> its_cel_;
    std::int32_t index_ = -1;
    std::uint32_t its_cel_id_ = 0;
};

/// The in point and the out point of one section.
class CEL_API CEHPair
{
public:
    /// Both handles unbound.
    CEHPair() = default;

    /// The section of the event that `h` names; both stay unbound when it is not valid.
    explicit CEHPair(const ce_handle& h);

    /// The section that holds the edit time `t`; both stay unbound when there is none, `cel` is
    /// null or `t` is 1e99. O(log n).
    CEHPair(const Cel* cel, double t);

    ce_handle inH() const { return inH_; }
    ce_handle outH() const { return outH_; }

    bool valid() const { return inH_.valid() && outH_.valid(); }

    /// From the earlier to the later of the two edit times; (1e99, 1e99) for an invalid pair.
    NumRange<double, Ordered> editRange() const;

    /// Whether the section carries an effect: its edit graph has magic type 0 or 3.
    bool isEffect() const;

    /// Whether the section plays recorded material: magic type 0 or 1, neither effect nor black.
    bool isMaterial() const;

private:
    ce_handle inH_;
    ce_handle outH_;
};

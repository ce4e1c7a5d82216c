#pragma once

#include "cel/ChannelEvent.h"
#include "cel/Simplification.h"
#include "cel/ce_handle.h"
#include "platform/audio/GainCurve.h"
#include "platform/export.h"
#include "platform/foundation/CriticalSection.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/NumRange.h"
#include "platform/primitives/ParamResizeMethod.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/Taggable.h"
#include "platform/support/frame_duration.h"
#include "tracks/Editable.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <vector>

class Cel;
class EffectInstance_opu4h5a4j;
class TextFile;

namespace cel {
struct CelState;
CEL_API CelState inspect(const Cel& track);
CEL_API bool sectionsMeet(const Cel& track);
namespace detail {
class ObjectJournal;
class Qualifies;
struct BlackGap;
struct CutPlace;
struct InsertionPlace;
struct Splice;
struct TrimScan;
} // namespace detail
} // namespace cel

/// One edit track: a channel event list.
///
///     |in     out|in      out|in  out|
///     |  shot A  |   black   | shot B|
///     0                              end
///
/// Events lie by value in one vector in edit-time order and come in pairs: even indices are in
/// points, odd ones their out points. A pair is a section and plays one piece of material from a
/// strip time at a velocity. There are no gaps: empty stretches are sections of black. A level
/// change may stand inside a section that was built event by event.
///
/// A track is reference counted and lives only behind a `Kt::Ptr<Cel>`: handles on it count too,
/// so a track that no pointer holds would be deleted by its first handle. The protected destructor
/// keeps it off the stack; wrap the result of `new` at once.
///
/// Times are seconds. Indices out of range, stale handles and hostile stored data never reach
/// memory that is not the track's own. A track is used by one thread at a time; different tracks
/// may be used by different threads.
class CEL_API Cel : public Taggable
{
public:
    using IdMap = std::map<IdStamp, IdStamp>;
    using Range = NumRange<double, Ordered>; ///< seconds; ends given in reverse are swapped

    /// An empty track. @param capacity    events for which room is made; negative counts as 0.
    /// @param resolution  frame duration, see `set_resolution`.
    /// @throws Kt::Exception::RuntimeError as `set_resolution`.
    Cel(int capacity, double resolution);

    /// A track of its own with the same events, resolution and channel information: it has a new
    /// identity and is dirty, and it belongs to no store. One pass over the events.
    Cel(const Cel& other);

    /// Takes over what the copy constructor copies. The identity changes too, so that handles made
    /// before fail. Assigning a track to itself does nothing.
    Cel& operator=(const Cel& other);

    /// Identity of the track. Grows with every track made, loaded, assigned or cleared.
    unsigned getID() const { return id_; }

    /// Frame duration in seconds.
    double get_resolution() const { return resolution_; }

    /// @throws Kt::Exception::RuntimeError "Cel::set_resolution: too small" unless it is finite and
    /// at least 2e-6.
    void set_resolution(double seconds);

    /// For callers that share a track between threads; no operation of the track takes it.
    CriticalSection& lock() { return lock_; }

    /// 1 after any change that was not saved yet.
    int is_dirty() const { return dirty_; }
    void make_clean() { dirty_ = 0; }
    /// The counterpart of `make_clean`: what was taken for saved is not.
    void make_dirty() { dirty_ = 1; }

    /// Number of events in the list, black ones included.
    int numEvents() const { return static_cast<int>(events_.size()); }

    /// All events in order, for reading; valid until the track changes.
    std::span<const ChannelEvent> events() const { return events_; }

    /// Event `index`, or null when there is none; dies at any change of the track's length.
    ChannelEvent* getChanEventPtr(int index);
    const ChannelEvent* getChanEventPtr(int index) const;

    /// A copy of event `index`.
    /// @throws Kt::Exception::RuntimeError "Cel::get_event: index out of range".
    ChannelEvent get_event(int index) const;

    /// Edit time of the first and of the last event; 1e12 and -1e12 for an empty track.
    double get_start_time() const;
    double get_end_time() const;

    /// Start and end, of all events or of those that are not black; `Editable::invalidRange()` when
    /// there are none. The flag has no meaning here. O(1), or O(black at the ends).
    NumRange<double, Ordered> getExtents(Editable::ExtentType type, bool flag) const;

    /// Edit time of the first (last) event that is not black; 1e12 (-1e12) when there is none.
    double get_significant_start_time() const;
    double get_significant_end_time() const;

    // ---- admitting events ------------------------------------------------------------------

    /// Appends an event and checks it. An in point opens a section; its out point closes it and
    /// lays every event of the section on one line of strip time and velocity:
    /// strip = in.strip + velocity x (edit - in.edit).
    /// @return 1; or 0 for an event that the track refuses. The reason is logged with
    /// "Cel::addEvent() : ..." and the refused event stays in the list, uncounted.
    /// Amortised O(1); an out point rewrites its own section.
    int addEvent(const ChannelEvent& event);

    /// Puts a section of `duration` seconds in front of event `index` and moves what follows later
    /// by its length. It starts where the event before ends, at 0 in front of a track, and at
    /// `editStart` (unless negative) in an empty one.
    /// @return its in point; unbound when `index` is odd, negative or past the end, or the strip
    /// time or the duration is not finite. A pair that the track refuses at its end stays in the
    /// list, as `addEvent` says. O(events from `index` on).
    ce_handle insertEventPair(int index, const Cookie& material, double stripStart, double duration,
                              double editStart);

    /// The same at the end of the track; the material's kind is not looked at. Where the handle is
    /// not valid and the track has grown, `removeEventPair` takes the refused pair out.
    ce_handle appendEventPair(const Cookie& material, double stripStart, double duration,
                              double editStart);

    /// Takes `pairs` pairs of events out, from an even index on; fewer when the track ends before.
    /// With `shuffle` the later events move up by the length of what was taken out.
    /// @return the number of pairs taken out; 0 for an odd index or one out of range.
    /// One pass over the events from `index` on; the objects of the sections are destroyed last.
    int removeEventPairs(int index, int pairs, bool shuffle);
    int removeEventPair(int index, bool shuffle) { return removeEventPairs(index, 1, shuffle); }

    /// Takes all events out. The track gets a new identity and keeps its resolution and channel
    /// information.
    virtual void clear();

    // ---- handles and search ----------------------------------------------------------------

    /// 1 when the handle names an event of this very track.
    int check_ceh(const ce_handle& h) const;

    /// The first and the last event; unbound for an empty track.
    ce_handle get_start_ceh() const;
    ce_handle get_end_ceh() const;

    /// The next (previous) event of a kind in the filter; the first position past the end when
    /// there is none. @throws Kt::Exception::RuntimeError "Cel::get_next_ceh: invalid ce_handle".
    ce_handle get_next_ceh(const ce_handle& h, ce_info filter) const;
    ce_handle get_prev_ceh(const ce_handle& h, ce_info filter) const;

    /// The last event that is not after `t` (within 1e-6 s) and of a kind in the filter. Its index
    /// is -1 when `t` lies before the first or after the last event. O(log n).
    ce_handle find_ceh(double t, ce_info filter) const;

    /// The same search beginning at the event that `h` names; moves `h` to the result. The seed
    /// never changes the answer, only the cost: O(log distance).
    void find_ceh_seeded(ce_handle& h, double t, ce_info filter) const;

    // ---- one event through its handle ------------------------------------------------------
    // Each throws Kt::Exception::RuntimeError "Cel::NAME: invalid ce_handle" for a handle that
    // `check_ceh` rejects. Setters change the one event they name.

    ce_info get_ce_info(const ce_handle& h) const;
    double get_edit_time(const ce_handle& h) const;
    /// @param moveStrip  whether the strip time follows by velocity x difference.
    void set_edit_time(const ce_handle& h, double t, bool moveStrip = false);

    /// Strip time at the edit time `t` on the line that the event begins; the event's own for
    /// `t` = 2e81 or its own time; 2e81 when its section does not hold `t`.
    double get_strip_time(const ce_handle& h, double t = cel::kUnsetTime) const;
    void set_strip_time(const ce_handle& h, double t);

    /// Slips the section: its in point plays from strip time `t`, its other events follow on the
    /// line of the in point's velocity.
    void set_start_strip_time(const ce_handle& h, double t);

    Cookie get_strip_cookie(const ce_handle& h) const;
    void set_strip_cookie(const ce_handle& h, const Cookie& material);
    CookieType get_cookie_type(const ce_handle& h) const;

    /// Level at the edit time `t`, on the straight line from the section's in point to its out
    /// point; the event's own level for `t` = 2e81 or its own time; 0 outside its section. A level
    /// is a position on the gain curve: 1 is unity, 0 silence.
    float get_strip_level(const ce_handle& h, double t = cel::kUnsetTime) const;
    void set_strip_level(const ce_handle& h, float level);
    /// Seconds of material that play in a second, backwards when negative; 99999 when never set.
    float get_strip_velocity(const ce_handle& h) const;
    void set_strip_velocity(const ce_handle& h, float velocity);

    /// Varispeed display modifier, 0 to 15.
    int get_dmod_code(const ce_handle& h) const;
    void set_dmod_code(const ce_handle& h, int modifier);

    /// Length of the event's audio ramp, 0 to 16383 quarter frames, and its shape, 0 to 3; what is
    /// more is clamped.
    unsigned audioRamp_DurationQFrames(const ce_handle& h) const;
    void set_audioRamp_DurationQFrames(const ce_handle& h, unsigned quarterFrames);
    Aud::GainCurve::eCurveType audioRamp_CurveType(const ce_handle& h) const;
    void set_audioRamp_CurveType(const ce_handle& h, int curve);

    // ---- queries by time -------------------------------------------------------------------

    /// Whether `t` lies on the track, its end included or not; 0 for an empty one.
    int time_in_range(double t) const;
    int time_in_range_exclusive(double t) const;

    /// Whether the section of the event holds `t`. Both apply the same test.
    int isActive(const ce_handle& h, double t) const;
    int isActiveInclusive(const ce_handle& h, double t) const;

    /// Whether the event lies at `t` (closer than 1e-6 s).
    int on_time(const ce_handle& h, double t) const;

    // ---- checks ----------------------------------------------------------------------------

    /// Whether a section of no length plays anything but black; the first one is logged. O(n).
    bool checkForZeroUtrs() const;

    enum VerifyRC : int { kVerified = 0 };
    /// Kept for callers of old: checks nothing. `cel::audit` does.
    VerifyRC verify() const { return kVerified; }

    /// Logs a text together with the stack of the caller.
    static void reportError(const char* text);

    // ---- the edit channel that the track belongs to ----------------------------------------

    void editChannelInfo(const LightweightString<char>& name, const IdStamp& id,
                         const LightweightString<char>& subType,
                         const LightweightString<char>& materialInfo);
    IdStamp editChannelId() const { return editChannelId_; }
    /// Kept: does nothing. A channel's identity changes only together with the rest.
    void editChannelId(const IdStamp&) {}
    LightweightString<char> editChannelName() const { return editChannelName_; }
    void editChannelName(const LightweightString<char>& name);
    LightweightString<char> editChannelSubType() const { return editChannelSubType_; }
    void editChannelSubType(const LightweightString<char>& subType);
    LightweightString<char> editChannelMaterialInfo() const { return editChannelMaterialInfo_; }
    /// Kept: sets the sub type, as it always did; callers depend on it.
    void editChannelMaterialInfo(const LightweightString<char>& text);
    void editChannelClearCached();

    // ---- cutting and trimming --------------------------------------------------------------

    /// Cuts a section in two that meet at `t` and together play what the one played.
    ///
    ///     |      A      |   ->   |  A  |   A   |
    ///              ^t                  ^ the result
    /// @return the in point at `t`, also where a cut is already; unbound where no section can be
    /// cut: outside every section and on the last one's out point.
    /// The first half gets a copy of the section's effect object, both are fitted to their share.
    /// One move of the events after the cut.
    ce_handle makeCutAt(double t);

    /// The first event that is selected for trimming (whose trim mark is set); not valid when there
    /// is none. O(n).
    ce_handle findFirstTrim();
    ce_handle findFirstTrimMark();

    /// Takes the trim selection away from every event. O(n).
    void deselect_all_trims();

    /// Ripple trim of the section of `h` by `d` seconds; `h` moves to its in point. With
    /// `trim_start` the section grows at its head, with every other type at its tail; all that
    /// follows moves by `d`. Black is fed in by selections and `do_trim`. `trim` leaves the section
    /// at least one frame, `trimRaw` does not look.
    /// @return the seconds applied; 0 for an amount that is not finite.
    /// @throws Kt::Exception::RuntimeError "Cel::trim: ceh invalid". O(events from there on).
    double trim(ce_handle& h, double d, trim_type type);
    double trimRaw(ce_handle& h, double d, trim_type type);

    /// The largest part of `d` that the trim marks leave room for; 0 below 1e-6 s. O(n).
    double do_trim_test(double d);

    /// Trims the section of every selected event by the amount that `do_trim_test` allows, which is
    /// the result. Kept: a section with two selections is trimmed twice. One pass, whatever the
    /// number of selections.
    double do_trim(double d);

    // ---- editing ranges --------------------------------------------------------------------

    /// Takes a stretch out of the track and closes the gap it leaves.
    ///
    ///     |  A  |  B  |  C  |   ->   | A|B |  C  |
    ///        ^-----^
    /// Sections that the ends fall into are cut first. Nothing happens when the start lies on no
    /// section or an end is not finite. Kept: an end that lies on no section, in a hole, takes all
    /// that follows with it. Linear in the events from the start on, one move of them.
    void remove(const Range& range);

    /// Opens a gap at `at` and fills it with what `source` has in `range`, black where it has
    /// nothing; black alone without a source.
    ///
    ///     |  A  |  B  |   ->   |  A  | source |  B  |
    ///           ^at
    /// Inserted and later events come to lie on the track's frames. Before 0 the track is pushed
    /// later by |at| as well; past the end the way there is filled with black.
    /// @param idMap  identifiers that the copies of the source's effect objects get.
    /// Linear in the events from `at` on and those inserted; in all events when `at` lies in a
    /// hole or the track is its own source. The source may be the track itself. Nothing happens for
    /// an `at` or a range that is not finite or that no track can hold (1e12 s).
    void insert(const Cel* source, const Range& range, double at, const IdMap& idMap);

    /// Overwrites the stretch from `at` that is as long as `range` with the source's material; past
    /// the end of the track the rest of it is appended.
    /// Flags of 0 keep an effect on the section when material of the same length takes its place.
    void replace(const Cel* source, const Range& range, double at, const IdMap& idMap,
                 Editable::ReplaceFlags flags);

    // ---- new tracks out of this one ----------------------------------------------------------
    // Each makes a track of the same resolution, which the caller owns, and leaves this one alone.

    enum ExtractFlags : unsigned {
        EXTRACT_CLAMP_END = 1,       ///< an end beyond the track's is taken back to it; without it
                                     ///< the result is padded to the length that was asked for
        EXTRACT_EVEN_ZERO = 2,       ///< stretches of no length are honoured, with all that lies
                                     ///< at their ends
        EXTRACT_KEEP_EFFECT_IDS = 4, ///< the ends keep the identifiers of temporary effects
    };

    /// The stretch between two edit times, at its own times. Never null; empty for an empty track
    /// and a stretch of no length. A start in front of the track is taken to its start, one in a
    /// hole to the next section. Kept: one behind the track's end takes the whole track.
    /// @throws Kt::Exception::RuntimeError "Cel::extract: internal error" when no section lies at
    /// the start; Kt::Exception::Base when none lies before the end. O(log n + result).
    Kt::Ptr<Cel> extract(double start, double end, unsigned flags) const;

    /// The same, clamped to the track, with so many sections more before and after it. The last
    /// section after it comes with no length.
    Kt::Ptr<Cel> extract2(double start, double end, unsigned before, unsigned after) const;

    /// Every event, checked as `addEvent` checks. Channel information is not copied. One pass, as
    /// all that follows here.
    Kt::Ptr<Cel> copy() const;

    /// This track and then `other`, unchanged and unchecked: other must begin where this ends. A
    /// copy of this track without another.
    Kt::Ptr<Cel> appendCel(const Kt::Ptr<Cel>& other) const;

    /// Both tracks' events in one, each where it is; null when events of both lie at the same time,
    /// a copy of this track without another.
    Kt::Ptr<Cel> overlay(const Kt::Ptr<Cel>& other, bool copyTheirObjects) const;

    enum BlackEnds : int { kBlackAtStart = 1, kBlackAtEnd = 2 };
    /// A copy with sections of black of no length at its ends.
    /// @param type  letter of the track's material; 'S' gives black of sound.
    Kt::Ptr<Cel> add_black_to_ends(int which, char type) const;

    /// A copy on the track's frames. An in point that comes out of order is pulled back.
    /// @throws Kt::Exception::RuntimeError "cel:failed to fixup invalid quantisation\n".
    Kt::Ptr<Cel> quantise() const;

    /// The sections in reverse order. Kept: each plays on forward from its old end, since its
    /// velocity stays; unset velocities first to play backwards.
    Kt::Ptr<Cel> reverse() const;

    /// The stretch from `sourceStart` to `sourceEnd`, mapped onto `start` to `end` with levels
    /// multiplied by a factor between the two given; backwards when `end` lies before `start`.
    /// @param quantum  grid in seconds, below 1e-6 the track's frames. @param flags  of `extract`.
    Kt::Ptr<Cel> rescale(double sourceStart, double sourceEnd, double start, double end,
                         double levelStart, double levelEnd, double quantum, int flags) const;

    // ---- changing the whole track ------------------------------------------------------------

    /// Moves every event by `offset` seconds, wherever that is; nothing when it is not finite.
    /// Kept: the track does not become dirty. One pass.
    void slide(double offset);

    /// Adds the events of `other`, which may be the track itself, behind this track, moved by this
    /// track's length and `offset`, which leaves a hole; no track adds nothing.
    /// @throws Kt::Exception::RuntimeError "Cel::join: offset must be greater than zero" for one
    /// below 0. One pass over the added events.
    void weld(Cel* other, double offset);

    /// Moves every event, or the last one, to the nearest frame; strip times stay. No check is
    /// made.
    void quantiseInPlace();
    void quantiseCelEnd();

    /// Index of the first event that is off the frames; 0 when there is none, or when it is event
    /// 0.
    int quantise_check() const;

    /// Lets every in point copy (delete) the objects of its section. @return whether any did.
    bool copyObjects();
    bool deleteObjects();

    // ---- simplification ------------------------------------------------------------------------
    // A range limits a simplification to the cuts in it; `Editable::invalidRange()` means the whole
    // track. Each is one pass over the events.

    /// @return whether the number of events changed.
    bool simplify(Simplification::eType type, const Range& range);

    /// A copy without match-frame cuts (`mode` other than 0 ignores levels), and if asked for
    /// without needless black and sections of no length.
    Kt::Ptr<Cel> simplify(int mode, bool black, bool zeroLength) const;

    void simplifyAll(const Range& range);

    /// Takes sections of no length out, but for those that keep two effects apart.
    void simplifyZeroLengthSections(const Range& range);

    /// Merges sections that play on seamlessly.
    void simplifyMatchFrameCuts(const Range& range);

    /// Merges black that meets black, and closes holes with black. Black at the ends stays.
    void simplifyBlack(const Range& range);
    Kt::Ptr<Cel> simplify_black(const Range& range) const;

    /// Fills the holes between sections with black, and puts black of no length between effects.
    void simplifyTidy(const Range& range);

    bool hasRedundantCuts() const;
    bool hasRemovableCuts(int mode) const;
    bool hasSubFrameCuts() const;
    bool canSimplifyBlack() const;

    /// Whether there are no events; there are some in the range and all are black; none in the
    /// range is anything but black.
    bool is_empty() const;
    bool is_black(const Range& range) const;
    bool contains_only_black(const Range& range) const;

    /// Whether no material longer than 1e-6 s lies in the range (on the track).
    bool isEmpty(const Range& range) const;
    bool is_essentially_empty() const;

    // ---- two rolls ---------------------------------------------------------------------------
    // A shot is a section that plays something and has a length; everything else is black here.

    struct Rolls; ///< two tracks, `a` and `b`

    /// Lays the shots in turn on two new tracks of this one's extent, black opposite each.
    ///
    ///     |  1  |  2  |black| 3 |   ->   a  |  1  |   black   | 3 |
    ///                                    b  |black|  2  |  black  |
    /// Black changes no turn. What is neither black nor a shot is left out; of such sections of no
    /// length the first is logged (`checkForZeroUtrs`). The shots keep all their values but the
    /// identifiers of temporary effects; effect objects are copied in the track's store, to which
    /// the rolls belong as well. One pass.
    Rolls chequerboard() const;

    /// The way back: the shots of both rolls on one new track, black where both rest. Shots that
    /// overlap meet in the middle of the overlap, in whole frames from its start; none goes.
    ///
    ///     a  |  1  ----|  black  |   ->   |  1   |   2   |
    ///     b  | black |---   2    |
    /// The track belongs to the store of `a`; effect objects are copied as by `chequerboard`.
    /// @throws Kt::Exception::RuntimeError "Cel::cheq_merge: a shot lies within another" when one
    /// does, and "Cel::cheq_merge: rolls of different resolution". One pass over both.
    static Kt::Ptr<Cel> cheq_merge(const Cel& a, const Cel& b);

    enum WidenedEnds : int { kWidenHeads = 1, kWidenTails = 2 };

    /// Gives the shots handles: each goes on into the black (or hole) in front of it by `before`
    /// seconds and behind it by `after`, to the nearest frame and as far as there is room.
    ///
    ///     | black |  1  | black |   ->   |bl|--  1  --|bl|
    /// Strip times and levels go on along the shot's line, so that inside nothing plays
    /// differently; no handle begins before material time 0 or goes where the level would leave
    /// the gain curve. Two shots share the black between them, half each, in whole frames. Fades go
    /// along with the ends. Black that is used up goes; the track's extent stays.
    /// @param which  `WidenedEnds` that may grow.
    /// @return how many ends grew.
    /// @throws Kt::Exception::RuntimeError "Cel::cheq_widen_cel: negative handle"; also what the
    /// hooks throw, then the track is as it was. One pass.
    int cheq_widen_cel(double before, double after, int which);

    // ---- crossfades --------------------------------------------------------------------------
    // At a cut where a shot meets a shot, the outgoing one fades down and the incoming one up: both
    // events carry the same ramp, so many quarter frames of a curve.
    //
    //     |    1   \\|//  2    | black |
    //
    // A crossfade is no longer than either of its shots. Fades from and to black are none.

    /// Crossfades the cut at `t`.
    /// @param seconds  its length, limited by both shots; it is cut off to a quarter frame.
    /// @return its quarter frames; 0 where shots do not meet, or are too short.
    /// @throws Kt::Exception::RuntimeError "Cel::cfade: negative length". O(log n).
    unsigned cfade(double t, double seconds, Aud::GainCurve::eCurveType curve);

    /// Takes the ramps at the cut at `t` away. @return whether there were any. O(log n).
    bool cfade_removal(double t);

    /// The same at every cut between shots. @return how many have a crossfade now, or had ramps.
    /// @throws Kt::Exception::RuntimeError "Cel::crossfade_whole: negative length". One pass.
    int crossfade_whole(double seconds, Aud::GainCurve::eCurveType curve);
    int crossfade_removal_whole();

    /// Whether any event at a cut between shots has a ramp. One pass.
    bool crossfades_exist() const;

    /// Rolls to work crossfades on, as `AudCel` keeps them: those of `chequerboard`, where each
    /// end of a shot meets a black section of no length that tells where its fade comes from or
    /// goes to: silence at a ramp, else the level of the end. Level changes inside shots are left
    /// out; objects are not copied, and the lists belong to no store. One pass.
    Rolls cfade_lists() const;

    // ---- text edit list --------------------------------------------------------------------

    /// Appends the track as text lines in the frame units of a television standard. The track
    /// does not change. The velocity keeps 4 significant digits, levels 4 decimals, times 1e-6.
    void writeToED2(TextFile& file, Kt::Ed2Support::TVStd standard) const;

    /// Appends the sections of the block that starts at line `first` and takes over its frame
    /// duration. Gaps of the block are not kept, and a speed is set on the in points alone.
    /// @return false when the block's first two lines are not recognised (the track is unchanged);
    /// otherwise whether the track holds an even number of events.
    bool buildFrom(TextFile& file, unsigned short first);

    // ---- streams ---------------------------------------------------------------------------

    /// What the next save writes for the events: 3, flat records of 64 bytes an event, or 4, pair
    /// records of 96 bytes a section, for material whose references have version 1.
    unsigned char getChannelEventPackRevision() const;

    Kt::Ptr<Streamable> clone(BuilderType) const override;
    void assign(const Streamable* other) override;
    LightweightString<char> hierarchyName(bool shortForm, bool withBase) const override;
    LightweightString<char> subHierarchyName(bool shortForm, bool withBase) const;
    void STRM_hierarchyPack(PStream& stream) const override;
    void STRM_hierarchyUnpack(PStream& stream) override;
    static LightweightString<char> shortLayerName();
    static LightweightString<char> layerName();
    static void STRM_layerPack(const Cel* track, PStream& stream, PackStack* stack);
    static void STRM_layerUnpack(Cel* track, PStream& stream);

    /// An empty track for a reader to unpack into; its resolution is 1 s until then.
    static Kt::Ptr<Streamable> STRM_L_Cel_builder(PStream& stream);

    // ---- what kinds of tracks decide differently --------------------------------------------

    /// The black that fills this track: for sound if the track's first event is, else for picture.
    virtual Cookie getBlackCookie() const;

    /// Whether the track can hold material of a type; insertions put black in place of other
    /// material. A plain track holds all.
    virtual bool canReferTo(CookieType type) const;

protected:
    explicit Cel(BuilderType);
    Cel(BuilderType, const Cel& other);
    ~Cel() override;

    /// Whether edits must show every step to the track's hooks: a derived track does, unless it
    /// says otherwise, and one with an object store. Others are edited in one step.
    virtual bool keepsSegmentObjects() const;

    /// Whether the cut at out point `index` plays on seamlessly. Reads events `index` - 1 to
    /// `index` + 2; false when they are not all there. Asked in the middle of a simplification, so
    /// it reads no other events and does not throw.
    virtual bool isMatchFrameCut(int index) const;

    /// Gives a copied section its own effect object. The event that is being built receives the
    /// identifier of the copy: the one that the map assigns, a fresh one for a temporary effect or
    /// an object of this track's store, otherwise it keeps its own.
    /// @param h       the section that is copied, on its own track.
    /// @param share   the part of its duration that the copy will keep.
    /// @param method  which part that is; `resizeSegmentObject` is called with both afterwards.
    /// May throw: then the edit does not happen, and `destroySegmentObject` is called for what it
    /// had copied.
    virtual void copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap,
                                   double share, ParamResizeMethod method);

    /// A section went away: destroys its effect object, if the track's store has it. Called after
    /// the track is whole again; must not throw.
    virtual void destroySegmentObject(const IdStamp& id);

    /// A section keeps `share` of its former duration: its effect object follows. When an edit is
    /// taken back, the former duration is restored by a share above 1; objects of the track's
    /// store come back exactly as they were.
    virtual void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method);

private:
    friend cel::CelState cel::inspect(const Cel& track);
    friend bool cel::sectionsMeet(const Cel& track);

    friend class ce_handle;

    struct NoTrack
    {
    };
    explicit Cel(NoTrack);

    /// The track of handles that have none: always empty, so that every accessor refuses them with
    /// its own text.
    static Cel& noTrack();

    static bool acceptsResolution(double seconds);
    void init(unsigned capacity, double resolution);
    void copyFrom(const Cel& other);
    static std::uint32_t nextIdentity();

    void adjustEventCounts(const ChannelEvent& event, bool add);
    template <class EventAt, class Change, class Repair>
    void addEvents(std::size_t count, const EventAt& eventAt, const Change& change,
                   const Repair& repair);
    bool admitPlainSection();
    int admitLast();
    bool admitInPoint(std::size_t index);
    bool admitOutPoint(std::size_t index);
    void closePendingSection(std::size_t outIndex, float velocity);

    ce_handle handleAt(std::int64_t index) const;
    const ChannelEvent& eventOf(const ce_handle& h, const char* message) const;
    ChannelEvent& changeEventOf(const ce_handle& h, const char* message);

    class RangeEdit;
    class InsertedMaterial;
    class Extraction;
    class Compaction;
    class BlackJoining;
    class RemovedObjects;
    class RollBuilder;
    class RollMerger;
    class Widening;

    cel::detail::CutPlace placeOfCut(double t) const;

    // Edits in one splice: what the steps give, worked out aside.
    std::optional<cel::detail::Splice> spliceOut(const Range& range) const;
    cel::detail::Splice spliceOfCut(const cel::detail::CutPlace& place, double t) const;
    void apply(const cel::detail::Splice& splice);
    void putIn(const InsertedMaterial& material, const cel::detail::InsertionPlace& place,
               cel::detail::Splice splice);
    void alignOutPoint(std::size_t index, double t);
    void alignInPoints(std::size_t index, double t);

    void takePairs(int index, int pairs, bool shuffle);
    Kt::Ptr<Cel> snapshotForHooks() const;
    ce_handle effectToKeep(const Cel* source, const Range& range, double at) const;
    void replaceFrom(const Cel* source, const Range& range, double at, const IdMap& idMap);
    bool replaceAtOnce(const Cel* source, const Range& range, const Range& onto,
                       const IdMap& idMap);

    /// Collects an effect and, over their track inputs, all that are reached from it.
    void getSegmentEffects(const Kt::Ptr<EffectInstance_opu4h5a4j>& effect,
                           std::set<Kt::Ptr<EffectInstance_opu4h5a4j>>& effects) const;
    std::map<IdStamp, Kt::Ptr<Taggable>> reachableObjects(const IdStamp& root) const;
    void copyObjectTree(const IdStamp& source, const IdStamp& copyOfSource, const IdMap& idMap);

    Kt::Ptr<Cel> extractAux(double start, double end, unsigned flags, unsigned before,
                            unsigned after) const;
    Kt::Ptr<Cel> emptyTrackFor(std::size_t events) const;
    Kt::Ptr<Cel> merge(const Cel& other, bool copyTheirObjects) const;
    bool changeObjects(bool (ChannelEvent::*change)());
    void repairQuantised(const ChannelEvent& refused, const ChannelEvent* before);

    bool bordersEffects(std::size_t kept, std::size_t index) const;
    void dropZeroLengthSections(const Range& range, RemovedObjects& removed);
    template <class IsNeedless>
    void mergeCuts(const Range& range, const IsNeedless& isNeedless, RemovedObjects& removed);
    void closeBlack(const Range& range, const Cookie& black, RemovedObjects& removed,
                    std::vector<cel::detail::BlackGap>& holes);
    void tidyGaps(const Range& range, std::vector<cel::detail::BlackGap>& gaps);
    void tidyBlackVelocities();
    std::size_t mostGaps() const;
    void fillGaps(const std::vector<cel::detail::BlackGap>& gaps);
    void collectHoles(const cel::detail::Qualifies& qualifies, const Cookie& black,
                      std::vector<cel::detail::BlackGap>& holes) const;
    template <class Test>
    bool anyMaterial(const Test& test) const;

    double trimAux(ce_handle& h, double d, trim_type type, bool keepFrame);
    double feedInBlack(ce_handle& h, double d);
    cel::detail::TrimScan scanTrims(double d) const;

    bool checkEventOrder() const;
    void fixOutOfOrderEvents();

    void pack(PStream& stream) const;
    void packEditChannelInformation(PStream& stream) const;
    void packSingleEvents(PStream& stream) const;
    void packEventBlock(PStream& stream) const;
    /// @return false, having written some of them, when the events need pair records.
    bool packEventsV3(PStream& stream) const;
    void packEventsV4(PStream& stream) const;
    void unpack(PStream& stream);
    void unpackEditChannelInformation(PStream& stream);
    void unpackSingleEvents(PStream& stream, std::int32_t count);
    void unpackEventBlock(PStream& stream, unsigned version, std::int32_t count);
    // Both answer whether the events are in order.
    template <class Record>
    bool unpackLegacyEvents(PStream& stream, std::int32_t count);
    bool unpackEventsV4(PStream& stream, std::int32_t count);
    void patchUp(PStream& stream, bool lastAccepted);

    /// The next identity to hand out; tracks are made on several threads.
    static std::atomic<std::uint32_t> nextCelID_;
    static StreamClassRegistrar STRM_L_Cel_registrar_;

    std::vector<ChannelEvent> events_;
    std::int32_t eventCount_ = 0;      ///< events that count as material
    std::int32_t blackEventCount_ = 0; ///< events whose Cookie is black
    double resolution_ = 1.0;
    std::int32_t pendingInIndex_ = -1; ///< in point whose out point has not come yet
    mutable std::int32_t dirty_ = 1;
    std::uint32_t id_ = 0;
    cel::detail::ObjectJournal* journal_ = nullptr; ///< of the edit under way, if it has a store
    CriticalSection lock_;
    IdStamp editChannelId_{0, 0, 0};
    LightweightString<char> editChannelName_;
    LightweightString<char> editChannelSubType_;
    LightweightString<char> editChannelMaterialInfo_;
    mutable std::int32_t packRevision_ = 0; ///< revision of the layer last written or being read
};

/// What laying a track out on two rolls gives; never null.
struct Cel::Rolls
{
    Kt::Ptr<Cel> a;
    Kt::Ptr<Cel> b;
};

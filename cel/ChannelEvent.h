#pragma once

#include "cel/edit_time.h"
#include "platform/audio/GainCurve.h"
#include "platform/export.h"
#include "platform/support/Cookie.h"
#include "platform/support/IdStamp.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

class PStream;

/// The kind of an event. A bit set, so that a filter can name several kinds at once.
enum ce_info : std::uint32_t {
    in_point = 1,        ///< start of a section
    level_change = 2,    ///< level change inside a section
    out_point = 4,       ///< end of a section
    any_event = 7,       ///< filter that accepts all three
    undefined_event = 8, ///< kind of a freshly made event
};

/// How an event is selected for trimming.
enum trim_type : std::uint32_t {
    trim_none = 0,       ///< it is not
    trim_start = 1,      ///< the head of its section: later events move
    trim_end = 2,        ///< the tail of its section: later events move
    trim_black = 3,      ///< black in front of its section, which moves with what follows
    trim_roll_black = 4, ///< black over the head of its section: nothing else moves
};

/// Speed changes that can be applied to both times of an event; a bit set.
/// The names tell the factor by which times grow.
enum ChannelEventModification : std::uint32_t {
    kModify25over24 = 0x1,
    kModify25over48 = 0x2,
    kModifyHalf = 0x4,
    kModify5over4 = 0x8,
    kModify5over8 = 0x10,
    kModifyHalfAgain = 0x20,
    kModify1001over1000 = 0x40,
    kModify24over25 = 0x80,
    kModify4over5 = 0x100,
};

namespace cel {

/// Velocity of an event whose speed was never set.
inline constexpr float kUnsetVelocity = 220966.0F;

/// Largest level that legacy records may hold, as a magnitude.
inline constexpr double kLargestLegacyMagnitude = 4.5099;

namespace detail {
struct EventLayout; // where the fields of an event lie
}

} // namespace cel

/// Flat 64-byte record of an event: the element of stored event blocks of revision 3.
struct ChannelEventV3
{
    std::uint32_t trim;
    std::uint32_t modification;
    float level_sc; ///< position on the gain curve
    float velocity;
    double edit_time;
    double strip_time;
    std::uint32_t cookieFirst;
    std::uint32_t cookieThird;
    std::uint16_t cookieSecond; ///< a byte, widened
    std::uint16_t cookieType;   ///< a byte, widened
    std::uint32_t infoWord;
    std::uint32_t editGraph[3];
    std::uint16_t audioRampWord;
    std::uint16_t padding; ///< written as 0
};
static_assert(sizeof(ChannelEventV3) == 64 && std::is_trivially_copyable_v<ChannelEventV3>);
static_assert(offsetof(ChannelEventV3, edit_time) == 16 &&
              offsetof(ChannelEventV3, infoWord) == 44 &&
              offsetof(ChannelEventV3, audioRampWord) == 60);

/// Record of revisions 1 and 2: as `ChannelEventV3` without the audio ramp, and with the level as
/// a linear magnitude.
struct ChannelEventV2
{
    std::uint32_t trim;
    std::uint32_t modification;
    float level; ///< magnitude, 1 is unity
    float velocity;
    double edit_time;
    double strip_time;
    std::uint32_t cookieFirst;
    std::uint32_t cookieThird;
    std::uint16_t cookieSecond;
    std::uint16_t cookieType;
    std::uint32_t infoWord;
    std::uint32_t editGraph[3];
    std::uint32_t unused;
};
static_assert(sizeof(ChannelEventV2) == 64 && offsetof(ChannelEventV2, unused) == 60);

/// One event of a track: a point on its timeline at which a section starts or ends or changes its
/// level. Two times belong to it, both in seconds: the edit time, where it sits on the track, and
/// the strip time, where it sits within the material that its Cookie names.
///
/// A plain value of 72 bytes: it may be copied, moved and stored as bytes. Setters clamp, they do
/// not refuse; only a track decides which events it accepts.
class CEL_API ChannelEvent
{
public:
    /// An event of kind `undefined_event` with both times and the velocity unset, level 1, the
    /// invalid Cookie and a fresh edit graph identifier.
    ChannelEvent();
    explicit ChannelEvent(double edit_time);

    /// An active event without a ramp whose velocity is unset.
    /// @param editGraph  taken when it is valid, else the event gets a fresh identifier.
    /// @param varispeed_display_modifier  its low four bits.
    ChannelEvent(double edit_time, double strip_time, const Cookie& strip_name, float level_sc,
                 ce_info info, IdStamp editGraph, int varispeed_display_modifier);

    explicit ChannelEvent(const ChannelEventV3& record);

    /// The level is limited to [0, 4.5099] and mapped from a magnitude to the gain curve.
    explicit ChannelEvent(const ChannelEventV2& record);

    /// Writes every field of the record but its padding.
    void asV3(ChannelEventV3& record) const;

    /// A fresh identifier of magic type 1: an effect graph that no object store knows.
    static IdStamp newId();

    /// Revision of the streamed form that `pack` writes.
    static unsigned char currentBuildRevision() { return 4; }

    /// Seconds on the track's timeline; 2e81 while unset.
    double edit_time() const { return edit_time_; }
    void edit_time(double seconds) { edit_time_ = seconds; }

    /// Seconds within the material; 2e81 while unset.
    double strip_time() const { return strip_time_; }
    void strip_time(double seconds) { strip_time_ = seconds; }

    Cookie strip_name() const { return strip_name_; }
    void strip_name(const Cookie& material) { strip_name_ = material; }

    /// Level as a position on the gain curve; 1 is unity.
    float level_sc() const { return level_sc_; }
    void level_sc(float level) { level_sc_ = level; }

    /// Speed of the material from this event on; 1 is normal, 220966 means never set.
    float velocity() const { return velocity_; }
    void velocity(float speed) { velocity_ = speed; }

    IdStamp editGraph() const { return editGraph_; }
    void editGraph(const IdStamp& id) { editGraph_ = id; }

    ce_info info() const { return static_cast<ce_info>(infoWord_ & kKindMask); }
    void info(ce_info kind) { infoWord_ = (infoWord_ & 0xFF00U) | (kind & kKindMask); }

    /// 0 to 15.
    int varispeed_display_modifier() const
    {
        return static_cast<int>(infoWord_ >> kModifierShift & 15U);
    }
    void varispeed_display_modifier(int modifier)
    {
        infoWord_ = (infoWord_ & 0x10FFU) | (static_cast<unsigned>(modifier) & 15U)
                                                << kModifierShift;
    }

    bool isActive() const { return (infoWord_ & kInactive) == 0; }
    void setActive(bool active)
    {
        infoWord_ = active ? infoWord_ & ~kInactive : infoWord_ | kInactive;
    }

    trim_type get_trim_type() const { return trim_; }
    void set_trim(trim_type trim) { trim_ = trim; }

    /// The set of modifications that is applied to the times; setting it moves nothing.
    unsigned get_ChannelEventModification() const { return modification_; }
    void set_ChannelEventModification(unsigned modification) { modification_ = modification; }

    /// Length of the audio ramp in quarter frames of the track, 0 to 16383; longer is clamped.
    unsigned audioRamp_DurationQFrames() const { return audioRampWord_ & kLongestRampQFrames; }
    void audioRamp_DurationQFrames(unsigned quarterFrames);

    /// Shape of the audio ramp, 0 to 3; others are clamped.
    Aud::GainCurve::eCurveType audioRamp_CurveType() const
    {
        return static_cast<Aud::GainCurve::eCurveType>(audioRampWord_ >> kCurveShift);
    }
    void audioRamp_CurveType(int curve);

    /// The stored words as they are: kind, modifier and inactive flag; ramp length and curve.
    std::uint32_t infoWord() const { return infoWord_; }
    void infoWord(std::uint32_t word) { infoWord_ = word; }
    std::uint16_t audioRampWord() const { return audioRampWord_; }
    void audioRampWord(std::uint16_t word) { audioRampWord_ = word; }

    /// Hooks for events that own objects; this kind owns none. @return false.
    bool copyObjects() { return false; }
    bool deleteObjects() { return false; }

    /// Whether both events place and play the same. Selection, modification set and active flag
    /// take no part.
    bool operator==(const ChannelEvent& other) const;

    /// 1 when one of the two, a level change, says what the other says already (within 1e-6).
    int redundant(const ChannelEvent& other) const;

    /// Whether the cut after this out point carries no information: the next section goes on where
    /// this one ends.
    ///
    ///     sectionIn ---- this | nextIn ---- nextOut
    /// @param ignoreLevels  non-zero: levels, ramps and effects are not looked at.
    int removable_with(const ChannelEvent& sectionIn, const ChannelEvent& nextIn,
                       const ChannelEvent& nextOut, int ignoreLevels) const;

    /// 1 when this in point and the other event lie within `res` seconds and play the same
    /// material.
    int sub_frame_cut(const ChannelEvent& other, double res) const;

    /// A copy on the nearest multiple of `q` seconds; the strip time stays.
    /// @throws Kt::Exception::RuntimeError "quantise_time: quanta to small" below 1e-6.
    ChannelEvent quantise(double q) const;

    /// A copy whose edit time is mapped from the old stretch to the new one, its level multiplied
    /// by a factor that runs along with it; the velocity becomes unset.
    ChannelEvent rescale(double newStart, double newEnd, double oldStart, double oldEnd,
                         double levelStart, double levelEnd) const;

    /// A copy mirrored between the times `a` and `b`: in points become out points and vice versa.
    ChannelEvent reverse(double a, double b) const;
    void mirror(double a, double b)
    {
        edit_time_ = a + b - edit_time_;
        if (info() == in_point)
            info(out_point);
        else if (info() == out_point)
            info(in_point);
    }

    /// Converts both times by the factors of `modification`, which becomes the set applied. A set
    /// that was applied before is not undone.
    void modify_channel_event(unsigned modification);

    /// Converts both times back by the set applied, which becomes empty.
    void reverse_channel_event_modification();

    /// Conversion between seconds and quarter frames of a frame duration in seconds.
    static double QFramesToTime(unsigned short qframes, double frameDuration);
    static unsigned int timeToQFrames(double t, double frameDuration);

    /// Not to be used: the streamed form depends on its revision. Reports a fatal fault.
    void unpack(PStream& stream);

protected:
    void init();

private:
    friend class Cel; // reads and writes events as part of its own layer
    friend struct cel::detail::EventLayout;

    static constexpr std::uint32_t kKindMask = 0xFF;
    static constexpr int kModifierShift = 8;
    static constexpr std::uint32_t kInactive = 1U << 12;
    static constexpr unsigned kLongestRampQFrames = 0x3FFF;
    static constexpr int kCurveShift = 14;

    static double transform_time_unit_(double t, unsigned modification, bool inverse);
    void set_modified_edit_time(unsigned modification) { modification_ = modification; }

    void pack(PStream& stream) const;
    void unpack(PStream& stream, unsigned char revision);

    trim_type trim_ = trim_none;
    std::uint32_t modification_ = 0;
    float level_sc_ = 1.0F;
    float velocity_ = cel::kUnsetVelocity;
    double edit_time_ = cel::kUnsetTime;
    double strip_time_ = cel::kUnsetTime;
    Cookie strip_name_;
    std::uint32_t infoWord_ = undefined_event;
    IdStamp editGraph_{0, 0, 0};
    std::uint16_t audioRampWord_ = 0;
    std::uint16_t unused_ = 0;
};
static_assert(sizeof(ChannelEvent) == 72 && std::is_trivially_copyable_v<ChannelEvent>,
              "tracks move events as bytes");

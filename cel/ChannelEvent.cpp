#include "cel/ChannelEvent.h"

#include "cel/detail/event_array.h"
#include "cel/detail/faults.h"
#include "cel/detail/grid.h"
#include "platform/support/Log.h"
#include "platform/support/PStream.h"

#include <algorithm>
#include <bit>
#include <cmath>

using cel::detail::kTemporaryId;

namespace {

bool close(double a, double b)
{
    return std::fabs(a - b) <= cel::kTimeEpsilon;
}

float levelFromMagnitude(double magnitude)
{
    return Aud::GainCurve::Curve<2>::mapMagnitudeToUValue(
        std::clamp(magnitude, 0.0, cel::kLargestLegacyMagnitude));
}

/// The later record of the same event: the level in another unit, and no ramp.
ChannelEventV3 asFlatRecord(const ChannelEventV2& record)
{
    auto flat = std::bit_cast<ChannelEventV3>(record);
    flat.level_sc = levelFromMagnitude(record.level);
    flat.audioRampWord = 0;
    return flat;
}

} // namespace

ChannelEvent::ChannelEvent()
    : ChannelEvent(cel::kUnsetTime)
{
}

ChannelEvent::ChannelEvent(double edit_time)
    : edit_time_(edit_time)
    , editGraph_(newId())
{
}

ChannelEvent::ChannelEvent(double edit_time, double strip_time, const Cookie& strip_name,
                           float level_sc, ce_info info, IdStamp editGraph,
                           int varispeed_display_modifier)
    : level_sc_(level_sc)
    , edit_time_(edit_time)
    , strip_time_(strip_time)
    , strip_name_(strip_name)
    , infoWord_((static_cast<unsigned>(varispeed_display_modifier) & 15U) << kModifierShift | info)
    , editGraph_(editGraph.valid() ? editGraph : newId())
{
}

ChannelEvent::ChannelEvent(const ChannelEventV3& record)
    : trim_(static_cast<trim_type>(record.trim))
    , modification_(record.modification)
    , level_sc_(record.level_sc)
    , velocity_(record.velocity)
    , edit_time_(record.edit_time)
    , strip_time_(record.strip_time)
    , strip_name_(static_cast<CookieType>(record.cookieType), static_cast<int>(record.cookieFirst),
                  record.cookieSecond, static_cast<int>(record.cookieThird))
    , infoWord_(record.infoWord)
    , editGraph_(record.editGraph[0], record.editGraph[1], record.editGraph[2])
    , audioRampWord_(record.audioRampWord)
{
}

ChannelEvent::ChannelEvent(const ChannelEventV2& record)
    : ChannelEvent(asFlatRecord(record))
{
}

void ChannelEvent::asV3(ChannelEventV3& record) const
{
    record.trim = trim_;
    record.modification = modification_;
    record.level_sc = level_sc_;
    record.velocity = velocity_;
    record.edit_time = edit_time_;
    record.strip_time = strip_time_;
    record.cookieFirst = static_cast<std::uint32_t>(strip_name_.getInt1());
    record.cookieThird = static_cast<std::uint32_t>(strip_name_.getInt3());
    record.cookieSecond = static_cast<std::uint16_t>(strip_name_.getInt2());
    record.cookieType = strip_name_.type();
    record.infoWord = infoWord_;
    for (int i = 0; i < 3; ++i)
        record.editGraph[i] = editGraph_.word(i);
    record.audioRampWord = audioRampWord_;
}

void ChannelEvent::init()
{
    *this = ChannelEvent(cel::kUnsetTime);
}

IdStamp ChannelEvent::newId()
{
    IdStamp id;
    id.setMagicType(kTemporaryId);
    return id;
}

void ChannelEvent::audioRamp_DurationQFrames(unsigned quarterFrames)
{
    const unsigned stored = std::min(quarterFrames, kLongestRampQFrames);
    audioRampWord_ = static_cast<std::uint16_t>((audioRampWord_ & ~kLongestRampQFrames) | stored);
}

void ChannelEvent::audioRamp_CurveType(int curve)
{
    const auto stored = static_cast<unsigned>(std::clamp(curve, 0, 3));
    audioRampWord_ =
        static_cast<std::uint16_t>((audioRampWord_ & kLongestRampQFrames) | stored << kCurveShift);
}

bool ChannelEvent::operator==(const ChannelEvent& other) const
{
    return edit_time_ == other.edit_time_ && strip_time_ == other.strip_time_ &&
           strip_name_.compare(other.strip_name_) == 0 && info() == other.info() &&
           level_sc_ == other.level_sc_ && velocity_ == other.velocity_ &&
           varispeed_display_modifier() == other.varispeed_display_modifier() &&
           editGraph_ == other.editGraph_ && audioRampWord_ == other.audioRampWord_;
}

int ChannelEvent::redundant(const ChannelEvent& other) const
{
    return close(edit_time_, other.edit_time_) && close(strip_time_, other.strip_time_) &&
           strip_name_.compare(other.strip_name_) == 0 && close(level_sc_, other.level_sc_) &&
           close(velocity_, other.velocity_) && ((info() | other.info()) & level_change) != 0;
}

int ChannelEvent::removable_with(const ChannelEvent& sectionIn, const ChannelEvent& nextIn,
                                 const ChannelEvent& nextOut, int ignoreLevels) const
{
    // Written so that a NaN in anything looked at keeps the cut.
    if (!close(edit_time_, nextIn.edit_time_) || !close(strip_time_, nextIn.strip_time_))
        return 0;
    if (strip_name_.compare(nextIn.strip_name_) != 0)
        return 0;
    if (!close(velocity_, nextIn.velocity_) || info() != out_point || nextIn.info() != in_point)
        return 0;
    if (ignoreLevels)
        return 1;

    if (!close(level_sc_, nextIn.level_sc_))
        return 0;
    const double before = edit_time_ - sectionIn.edit_time_;
    const double after = nextOut.edit_time_ - nextIn.edit_time_;
    if (!(before <= 0) && !(after <= 0)) {
        const double slopeBefore = (double(level_sc_) - double(sectionIn.level_sc_)) / before;
        const double slopeAfter = (double(nextOut.level_sc_) - double(nextIn.level_sc_)) / after;
        if (!close(slopeBefore, slopeAfter))
            return 0;
    }
    if (sectionIn.editGraph_.getMagicType() != kTemporaryId ||
        nextIn.editGraph_.getMagicType() != kTemporaryId || audioRamp_DurationQFrames() != 0)
        return 0;
    return nextIn.audioRamp_DurationQFrames() == 0;
}

int ChannelEvent::sub_frame_cut(const ChannelEvent& other, double res) const
{
    return info() == in_point &&
           std::fabs(edit_time_ - other.edit_time_) <= res + cel::kTimeEpsilon &&
           strip_name_.compare(other.strip_name_) == 0;
}

ChannelEvent ChannelEvent::quantise(double q) const
{
    // Kept: a text and a line of its own beside those of quantiseTime.
    if (!(q >= cel::kTimeEpsilon))
        cel::detail::fail("quantise_time: quanta to small", cel::detail::kEventModule, 320);
    ChannelEvent onGrid = *this;
    onGrid.edit_time_ = cel::detail::toGrid(edit_time_, q);
    return onGrid;
}

ChannelEvent ChannelEvent::rescale(double newStart, double newEnd, double oldStart, double oldEnd,
                                   double levelStart, double levelEnd) const
{
    ChannelEvent scaled = *this;
    double factor = levelStart;
    if (std::fabs(oldEnd - oldStart) >= cel::kTimeEpsilon) {
        const double share = (edit_time_ - oldStart) / (oldEnd - oldStart);
        scaled.edit_time_ = newStart + (newEnd - newStart) * share;
        factor = levelStart + (levelEnd - levelStart) * share;
    } else {
        scaled.edit_time_ = newStart;
    }
    scaled.level_sc_ = static_cast<float>(double(level_sc_) * factor);
    scaled.velocity_ = cel::kUnsetVelocity;
    return scaled;
}

ChannelEvent ChannelEvent::reverse(double a, double b) const
{
    ChannelEvent mirrored = *this;
    mirrored.mirror(a, b);
    return mirrored;
}

double ChannelEvent::transform_time_unit_(double t, unsigned modification, bool inverse)
{
    struct Factors
    {
        unsigned bit;
        double forward;
        double inverse;
    };
    static constexpr Factors kFactors[] = {
        {kModify25over24, 25.0 / 24.0, 0.96},
        {kModify24over25, 0.96, 25.0 / 24.0},
        {kModify25over48, 25.0 / 48.0, 1.92},
        {kModifyHalf, 0.5, 2.0},
        {kModify5over4, 1.25, 0.8},
        {kModify4over5, 0.8, 1.25},
        {kModify5over8, 0.625, 1.6},
        {kModifyHalfAgain, 0.5, 2.0},
        // Kept: not the quotient, which is one bit away.
        {kModify1001over1000, 1.001, 0.999000999000999},
    };
    for (const Factors& factors : kFactors)
        if (modification & factors.bit)
            t *= inverse ? factors.inverse : factors.forward;
    return t;
}

void ChannelEvent::modify_channel_event(unsigned modification)
{
    edit_time_ = transform_time_unit_(edit_time_, modification, false);
    strip_time_ = transform_time_unit_(strip_time_, modification, false);
    set_modified_edit_time(modification);
}

void ChannelEvent::reverse_channel_event_modification()
{
    edit_time_ = transform_time_unit_(edit_time_, modification_, true);
    strip_time_ = transform_time_unit_(strip_time_, modification_, true);
    set_modified_edit_time(0);
}

double ChannelEvent::QFramesToTime(unsigned short qframes, double frameDuration)
{
    return qframes * (frameDuration * 0.25);
}

unsigned int ChannelEvent::timeToQFrames(double t, double frameDuration)
{
    const double quarter = frameDuration * 0.25;
    // Kept: the rounding term is half a quarter frame in seconds, added to a count.
    return static_cast<unsigned int>(cel::truncateToInt64(t / quarter + quarter * 0.5));
}

void ChannelEvent::pack(PStream& stream) const
{
    StreamFile& file = stream.file();
    file.setDouble(level_sc_);
    file.setDouble(velocity_);
    file.setDouble(transform_time_unit_(edit_time_, modification_, true));
    file.setDouble(transform_time_unit_(strip_time_, modification_, true));
    stream.writeBinary(strip_name_.asString(true), 0, false, false);
    file.setLong(static_cast<std::int32_t>(infoWord_));
    stream << editGraph_.asString();
    file.setUnsignedShort(static_cast<std::uint16_t>(audioRamp_DurationQFrames()));
    file.setLong(audioRamp_CurveType());
}

void ChannelEvent::unpack(PStream& stream, unsigned char revision)
{
    constexpr unsigned char kLastMagnitudeRevision = 2;
    StreamFile& file = stream.file();
    const double level = file.getDouble();
    level_sc_ =
        revision <= kLastMagnitudeRevision ? levelFromMagnitude(level) : static_cast<float>(level);
    velocity_ = static_cast<float>(file.getDouble());
    edit_time_ = transform_time_unit_(file.getDouble(), modification_, false);
    strip_time_ = transform_time_unit_(file.getDouble(), modification_, false);

    LightweightString<char> text;
    stream >> text;
    strip_name_ = Cookie(text, true);
    infoWord_ = file.getUnsignedLong();
    stream >> text;
    editGraph_ = IdStamp(text);
    if (revision > kLastMagnitudeRevision) {
        audioRamp_DurationQFrames(file.getUnsignedShort());
        audioRamp_CurveType(file.getLong());
    }
}

void ChannelEvent::unpack(PStream&)
{
    ura_splat("Call made using illegal unpack syntax in ChannelEvent.");
}

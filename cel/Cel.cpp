#include "cel/Cel.h"

#include "cel/detail/faults.h"
#include "cel/detail/room.h"
#include "cel/inspect.h"

#include <algorithm>
#include <cmath>

using cel::detail::fail;
using cel::detail::kCelModule;

constinit std::atomic<std::uint32_t> Cel::nextCelID_{0xAABBCC};

namespace {

constexpr double kShortestFrame = 2e-6;

} // namespace

Cel::Cel(int capacity, double resolution)
{
    init(static_cast<unsigned>(std::max(capacity, 0)), resolution);
}

Cel::Cel(const Cel& other)
    : Kt::InternalRefCount()
    , Taggable(other)
{
    copyFrom(other);
}

Cel::Cel(BuilderType)
    : Cel(0, 1.0)
{
}

Cel::Cel(BuilderType, const Cel& other)
    : Cel(other)
{
}

Cel::Cel(NoTrack) {}

Cel::~Cel() = default;

Cel& Cel::operator=(const Cel& other)
{
    if (this != &other)
        copyFrom(other);
    return *this;
}

Cel& Cel::noTrack()
{
    static const Kt::Ptr<Cel> empty(new Cel(NoTrack()));
    return *empty;
}

void Cel::init(unsigned capacity, double resolution)
{
    set_resolution(resolution);
    events_.clear();
    if (capacity > events_.capacity())
        events_.reserve(capacity);
    eventCount_ = 0;
    blackEventCount_ = 0;
    pendingInIndex_ = -1;
    dirty_ = 1;
    id_ = nextIdentity();
}

std::uint32_t Cel::nextIdentity()
{
    return nextCelID_.fetch_add(1, std::memory_order_relaxed);
}

void Cel::copyFrom(const Cel& other)
{
    cel::detail::reserveWithRoom(events_, other.events_.size());
    events_.assign(other.events_.begin(), other.events_.end());
    eventCount_ = other.eventCount_;
    blackEventCount_ = other.blackEventCount_;
    resolution_ = other.resolution_;
    pendingInIndex_ = other.pendingInIndex_;
    editChannelId_ = other.editChannelId_;
    editChannelName_ = other.editChannelName_;
    editChannelSubType_ = other.editChannelSubType_;
    editChannelMaterialInfo_ = other.editChannelMaterialInfo_;
    dirty_ = 1;
    id_ = nextIdentity();
}

void Cel::clear()
{
    init(0, resolution_);
}

bool Cel::acceptsResolution(double seconds)
{
    return seconds >= kShortestFrame && std::isfinite(seconds);
}

void Cel::set_resolution(double seconds)
{
    if (!acceptsResolution(seconds))
        fail("Cel::set_resolution: too small", kCelModule, __LINE__);
    resolution_ = seconds;
    dirty_ = 1;
}

ChannelEvent* Cel::getChanEventPtr(int index)
{
    return index >= 0 && index < numEvents() ? &events_[static_cast<std::size_t>(index)] : nullptr;
}

const ChannelEvent* Cel::getChanEventPtr(int index) const
{
    return index >= 0 && index < numEvents() ? &events_[static_cast<std::size_t>(index)] : nullptr;
}

ChannelEvent Cel::get_event(int index) const
{
    const ChannelEvent* event = getChanEventPtr(index);
    if (!event)
        fail("Cel::get_event: index out of range", kCelModule, __LINE__);
    return *event;
}

double Cel::get_start_time() const
{
    return events_.empty() ? cel::kEndlessTime : events_.front().edit_time();
}

double Cel::get_end_time() const
{
    return events_.empty() ? -cel::kEndlessTime : events_.back().edit_time();
}

double Cel::get_significant_start_time() const
{
    const auto first = std::find_if(events_.begin(), events_.end(), [](const ChannelEvent& event) {
        return !event.strip_name().isBlack();
    });
    return first == events_.end() ? cel::kEndlessTime : first->edit_time();
}

double Cel::get_significant_end_time() const
{
    const auto last = std::find_if(events_.rbegin(), events_.rend(), [](const ChannelEvent& event) {
        return !event.strip_name().isBlack();
    });
    return last == events_.rend() ? -cel::kEndlessTime : last->edit_time();
}

NumRange<double, Ordered> Cel::getExtents(Editable::ExtentType type, bool) const
{
    const bool significant = type == Editable::kSignificant;
    const bool nothing =
        significant ? contains_only_black(Editable::invalidRange()) : events_.empty();
    if (nothing)
        return Editable::invalidRange();
    return significant ? Range(get_significant_start_time(), get_significant_end_time())
                       : Range(get_start_time(), get_end_time());
}

// ---- edit channel -----------------------------------------------------------------------------

void Cel::editChannelInfo(const LightweightString<char>& name, const IdStamp& id,
                          const LightweightString<char>& subType,
                          const LightweightString<char>& materialInfo)
{
    editChannelName_ = name;
    editChannelId_ = id;
    editChannelSubType_ = subType;
    editChannelMaterialInfo_ = materialInfo;
    dirty_ = 1;
}

void Cel::editChannelName(const LightweightString<char>& name)
{
    editChannelName_ = name;
    dirty_ = 1;
}

void Cel::editChannelSubType(const LightweightString<char>& subType)
{
    editChannelSubType_ = subType;
    dirty_ = 1;
}

void Cel::editChannelMaterialInfo(const LightweightString<char>& text)
{
    editChannelSubType(text);
}

void Cel::editChannelClearCached()
{
    editChannelInfo({}, IdStamp(LightweightString<char>()), {}, {});
}

// ---- what other kinds of tracks decide differently --------------------------------------------

Cookie Cel::getBlackCookie() const
{
    const bool sound = !events_.empty() && events_.front().strip_name().type() == kAudioCookie;
    return sound ? audio_black : video_black;
}

bool Cel::canReferTo(CookieType) const
{
    return true;
}

bool Cel::isMatchFrameCut(int index) const
{
    if (index < 1 || index + 2 >= numEvents())
        return false;
    const ChannelEvent* out = getChanEventPtr(index);
    return out->removable_with(out[-1], out[1], out[2], 0) != 0;
}

cel::CelState cel::inspect(const Cel& track)
{
    return {track.eventCount_, track.blackEventCount_, track.pendingInIndex_};
}

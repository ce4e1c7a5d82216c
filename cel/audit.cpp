#include "cel/audit.h"

#include "cel/Cel.h"
#include "cel/detail/event_array.h"
#include "cel/inspect.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>
#include <string_view>

namespace cel {

namespace {

namespace invariant {
constexpr const char* kPairs = "pairs";
constexpr const char* kKinds = "kinds";
constexpr const char* kOpenSection = "open-section";
constexpr const char* kPending = "pending";
constexpr const char* kEditTime = "edit-time";
constexpr const char* kStripTime = "strip-time";
constexpr const char* kOrder = "order";
constexpr const char* kOverlap = "overlap";
constexpr const char* kGap = "gap";
constexpr const char* kZeroLength = "zero-length";
constexpr const char* kLevel = "level";
constexpr const char* kVelocity = "velocity";
constexpr const char* kSectionSpeed = "section-speed";
constexpr const char* kStripLine = "strip-line";
constexpr const char* kCookie = "cookie";
constexpr const char* kMaterial = "material";
constexpr const char* kEventCount = "event-count";
constexpr const char* kBlackCount = "black-count";
constexpr const char* kPairForm = "pair-form";
constexpr const char* kLevelChange = "level-change";
constexpr const char* kOffGrid = "off-grid";
} // namespace invariant

/// Events that a track keeps in a block of records; fewer are stored one by one, without loss.
constexpr int kFewestInBlock = 3;

/// A number as a sentence shows it: to a millionth, without the digits that only rounding made.
std::string number(double value)
{
    if (std::fabs(value) < 1e9)
        value = std::round(value * 1e6) / 1e6 + 0.0; // not "-0"
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

std::string nameOf(const Cookie& cookie)
{
    return std::string(cookie.asString(true).view());
}

bool isInPoint(const ChannelEvent& event)
{
    return event.info() == in_point;
}
bool isOutPoint(const ChannelEvent& event)
{
    return event.info() == out_point;
}

/// Whether a time misses the grid of a track's frames. Frame numbers beyond 32 bits, which the test
/// cannot tell apart, count as on it.
bool isOffGrid(double time, double frame)
{
    constexpr double kLastFrame = 2147483647.0;
    return std::fabs(time) / frame < kLastFrame && !isQuantised(time, frame);
}

/// How far a strip time may lie off its section's line. Moving a track rounds its times once per
/// edit, so the room grows with their magnitude: 1e-12 of it is some thousand roundings.
double stripTolerance(const ChannelEvent& in, const ChannelEvent& event)
{
    const double edits = std::fabs(in.edit_time()) + std::fabs(event.edit_time());
    const double strips = std::fabs(in.strip_time()) + std::fabs(event.strip_time());
    return kTimeEpsilon + 1e-12 * (strips + edits * (1 + std::fabs(double{in.velocity()})));
}

/// One pass over the events of a track, with the section that is open on the way.
class Audit
{
public:
    explicit Audit(const Cel& track)
        : track_(track)
        , events_(track.events())
        , inPairForm_(track.numEvents() >= kFewestInBlock &&
                      track.getChannelEventPackRevision() == 4)
    {
    }

    std::vector<Finding> run()
    {
        for (int i = 0; i < count(); ++i) {
            checkEvent(i);
            checkNeighbour(i);
            followSection(i);
            if (inPairForm_)
                checkPairForm(i);
        }
        checkWhole();
        // A section is judged when it ends, the track when all is seen: back to the events' order.
        std::stable_sort(findings_.begin(), findings_.end(),
                         [](const Finding& a, const Finding& b) { return a.index < b.index; });
        return std::move(findings_);
    }

private:
    void checkEvent(int i);
    void checkNeighbour(int i);
    void followSection(int i);
    void checkSection(int in, int out);
    void checkAgainstInPoint(int in, int i);
    void checkPairForm(int i);
    void checkWhole();
    void checkPending(int pending);
    void checkCounter(const char* name, std::int32_t stored, int counted, const char* counts);

    int count() const { return static_cast<int>(events_.size()); }
    const ChannelEvent& at(int i) const { return events_[static_cast<std::size_t>(i)]; }

    void report(const char* invariant, int index, Severity severity, std::string text)
    {
        const double time = index < 0 ? kUnsetTime : at(index).edit_time();
        findings_.push_back({invariant, index, time, severity, std::move(text)});
    }

    const Cel& track_;
    std::span<const ChannelEvent> events_;
    bool inPairForm_;
    std::vector<Finding> findings_;
    int openIn_ = -1; ///< in point of the section that the walk stands in
    int materialEvents_ = 0;
    int blackEvents_ = 0;
    int levelChanges_ = 0;
};

void Audit::checkEvent(int i)
{
    const ChannelEvent& event = at(i);
    const Cookie material = event.strip_name();
    if (!isRealTime(event.edit_time()))
        report(invariant::kEditTime, i, Severity::fault,
               "the edit time " + number(event.edit_time()) + " is no place on a track");
    else if (isOffGrid(event.edit_time(), track_.get_resolution()))
        report(invariant::kOffGrid, i, Severity::note,
               "lies between two frames of " + number(track_.get_resolution()) + " s");
    if (!isRealTime(event.strip_time()))
        report(invariant::kStripTime, i, Severity::fault,
               "the strip time " + number(event.strip_time()) + " is no place in the material");
    if (!(event.level_sc() >= -1e-6F) || !std::isfinite(event.level_sc()))
        report(invariant::kLevel, i, Severity::fault,
               "the level is " + number(double{event.level_sc()}));
    if (!std::isfinite(event.velocity()))
        report(invariant::kVelocity, i, Severity::fault,
               "the velocity is " + number(double{event.velocity()}));
    else if (event.velocity() == kUnsetVelocity)
        report(invariant::kVelocity, i, Severity::warning,
               "the velocity was never set; it plays at normal speed");
    if (material.type() == kInvalidCookie)
        report(invariant::kCookie, i, Severity::fault, "names no material");
    materialEvents_ += detail::countsAsMaterial(material);
    blackEvents_ += material.isBlack();
}

void Audit::checkNeighbour(int i)
{
    if (i == 0 || !isRealTime(at(i - 1).edit_time()) || !isRealTime(at(i).edit_time()))
        return;
    const double later = at(i).edit_time() - at(i - 1).edit_time();
    const bool betweenSections = isOutPoint(at(i - 1)) && isInPoint(at(i));
    if (later < -kTimeEpsilon && betweenSections)
        report(invariant::kOverlap, i, Severity::fault,
               "the section starts " + number(-later) + " s before the one in front of it ends");
    else if (later < -kTimeEpsilon)
        report(invariant::kOrder, i, Severity::fault,
               "lies " + number(-later) + " s before the event in front of it");
    else if (later > kTimeEpsilon && betweenSections)
        report(invariant::kGap, i, Severity::fault,
               "the section starts " + number(later) +
                   " s after the one in front of it ends; nothing plays in between");
}

void Audit::followSection(int i)
{
    const ce_info kind = at(i).info();
    if (kind == in_point) {
        if (openIn_ >= 0)
            report(invariant::kKinds, i, Severity::fault,
                   "an in point inside the section of event " + std::to_string(openIn_));
        openIn_ = i;
    } else if (kind != out_point && kind != level_change) {
        report(invariant::kKinds, i, Severity::fault,
               "the kind " + std::to_string(kind) + " is none of in, level change and out");
    } else if (openIn_ < 0) {
        report(invariant::kKinds, i, Severity::fault,
               kind == out_point ? "an out point that no in point belongs to"
                                 : "a level change outside any section");
    } else if (kind == out_point) {
        checkSection(openIn_, i);
        openIn_ = -1;
    } else {
        ++levelChanges_;
        report(invariant::kLevelChange, i, Severity::note,
               "a level change inside the section of event " + std::to_string(openIn_));
    }
}

void Audit::checkSection(int in, int out)
{
    const bool isPlaced = isRealTime(at(in).edit_time()) && isRealTime(at(out).edit_time());
    const double length = at(out).edit_time() - at(in).edit_time();
    if (isPlaced && !at(in).strip_name().isBlack() && std::fabs(length) < kTimeEpsilon)
        report(invariant::kZeroLength, in, Severity::fault,
               "the section of " + nameOf(at(in).strip_name()) + " has no length");
    for (int i = in + 1; i <= out; ++i)
        checkAgainstInPoint(in, i);
}

void Audit::checkAgainstInPoint(int in, int i)
{
    const ChannelEvent& start = at(in);
    const ChannelEvent& event = at(i);
    if (start.strip_name() != event.strip_name())
        report(invariant::kMaterial, i, Severity::warning,
               "names " + nameOf(event.strip_name()) + ", its in point names " +
                   nameOf(start.strip_name()));
    // Black is the same at every time and speed.
    if (start.strip_name().isBlack() || !std::isfinite(start.velocity()) ||
        start.velocity() == kUnsetVelocity)
        return;
    if (event.velocity() != start.velocity() && std::isfinite(event.velocity()) &&
        event.velocity() != kUnsetVelocity)
        report(invariant::kSectionSpeed, i, Severity::warning,
               "has the velocity " + number(double{event.velocity()}) + ", its in point has " +
                   number(double{start.velocity()}));

    const double length = event.edit_time() - start.edit_time();
    const double expected = start.strip_time() + double{start.velocity()} * length;
    const double off = std::fabs(event.strip_time() - expected);
    const bool isReal =
        isRealTime(length) && isRealTime(start.strip_time()) && isRealTime(event.strip_time());
    if (isReal && off > stripTolerance(start, event))
        report(invariant::kStripLine, i, Severity::warning,
               "the strip time is " + number(event.strip_time()) +
                   " s, but the in point leads to " + number(expected) + " s");
}

/// The pair form keeps two events in one record: by their place, not their kind, and with one
/// level, velocity, Cookie and set of flags for both.
void Audit::checkPairForm(int i)
{
    const ChannelEvent& event = at(i);
    const bool isFirst = i % 2 == 0;
    std::string lost;
    const auto loses = [&lost](bool differs, const char* what) {
        if (differs)
            lost += (lost.empty() ? "" : ", ") + std::string(what);
    };
    loses(event.info() != (isFirst ? in_point : out_point), "its kind");
    if (!isFirst) {
        const ChannelEvent& first = at(i - 1);
        loses(event.level_sc() != first.level_sc(), "its level");
        loses(event.velocity() != first.velocity(), "its velocity");
        loses(event.strip_name() != first.strip_name(), "its material");
        loses((event.infoWord() & 0xFF00U) != (first.infoWord() & 0xFF00U), "its flags");
    }
    loses(event.get_trim_type() != trim_none, "its selection");
    loses(event.get_ChannelEventModification() != 0, "its speed modification");
    if (!lost.empty())
        report(invariant::kPairForm, i, Severity::warning,
               "the form that this track is stored in loses " + lost);
}

void Audit::checkWhole()
{
    const CelState state = inspect(track_);
    if (count() % 2 != 0)
        report(invariant::kPairs, -1, levelChanges_ % 2 != 0 ? Severity::warning : Severity::fault,
               std::to_string(count()) + " events are no whole number of pairs");
    if (count() % 2 != 0 && inPairForm_)
        report(invariant::kPairForm, -1, Severity::warning,
               "the form that this track is stored in would lose all of an odd number of events");
    if (openIn_ >= 0)
        report(invariant::kOpenSection, openIn_, Severity::fault, "the section has no out point");
    checkPending(state.pendingInIndex);
    checkCounter(invariant::kEventCount, state.eventCount, materialEvents_, "material");
    checkCounter(invariant::kBlackCount, state.blackEventCount, blackEvents_, "black");
}

void Audit::checkPending(int pending)
{
    if (pending == -1 || pending == openIn_)
        return;
    report(invariant::kPending, pending >= 0 && pending < count() ? pending : -1, Severity::fault,
           "the track takes event " + std::to_string(pending) +
               " for the in point of an open section");
}

void Audit::checkCounter(const char* name, std::int32_t stored, int counted, const char* counts)
{
    if (stored != counted)
        report(name, -1, Severity::warning,
               "the track counts " + std::to_string(stored) + " events as " + counts +
                   ", there are " + std::to_string(counted));
}

} // namespace

std::vector<Finding> audit(const Cel& track)
{
    return Audit(track).run();
}

const std::vector<InvariantInfo>& auditedInvariants()
{
    static const std::vector<InvariantInfo> all = {
        {invariant::kPairs, "Events come in pairs, so their number is even."},
        {invariant::kKinds, "In points and out points alternate, an in point first."},
        {invariant::kOpenSection, "Every section has an out point."},
        {invariant::kPending, "Only the in point of an open section is waiting for an out point."},
        {invariant::kEditTime, "Every edit time is set and within 1e12 s of zero."},
        {invariant::kStripTime, "Every strip time is set and within 1e12 s of zero."},
        {invariant::kOrder, "Within a section no event lies before the one in front of it."},
        {invariant::kOverlap, "No section starts before the one in front of it ends."},
        {invariant::kGap, "Every section starts where the one in front of it ends."},
        {invariant::kZeroLength, "Only black may have no length."},
        {invariant::kLevel, "Every level is finite and not negative."},
        {invariant::kVelocity, "Every velocity is set and finite."},
        {invariant::kSectionSpeed, "The events of a section share one velocity."},
        {invariant::kStripLine, "Strip times run from the in point's on at the velocity."},
        {invariant::kCookie, "Every event names material."},
        {invariant::kMaterial, "The events of a section name the same material."},
        {invariant::kEventCount, "The stored number of events of material is true."},
        {invariant::kBlackCount, "The stored number of black events is true."},
        {invariant::kPairForm, "The form that the track is stored in keeps all of it."},
        {invariant::kLevelChange, "No level changes inside a section."},
        {invariant::kOffGrid, "Every event lies on a frame of the track."},
    };
    return all;
}

const char* describe(Severity severity)
{
    switch (severity) {
    case Severity::note:
        return "note";
    case Severity::warning:
        return "warning";
    case Severity::fault:
        break;
    }
    return "fault";
}

} // namespace cel

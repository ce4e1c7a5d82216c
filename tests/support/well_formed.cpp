#include "tests/support/well_formed.h"

#include "cel/inspect.h"
#include "platform/foundation/Exception.h"
#include "tests/support/track_notation.h"

#include <climits>
#include <cmath>

namespace cel::test {

namespace {

std::string firstFault(std::span<const ChannelEvent> events)
{
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double t = events[i].edit_time();
        const std::string where = " at event " + std::to_string(i);
        if (events[i].info() != (i % 2 == 0 ? in_point : out_point))
            return "not in, out, in, out" + where;
        if (!(std::fabs(t) <= 1e12) || !(std::fabs(events[i].strip_time()) <= 1e12))
            return "no real time" + where;
        if (i > 0 && t < events[i - 1].edit_time() - 1e-6)
            return "out of order" + where;
        if (i > 0 && i % 2 == 0 && t > events[i - 1].edit_time() + 1e-6)
            return "a gap" + where;
    }
    return events.size() % 2 == 0 ? "" : "an odd number of events";
}

std::string wrongState(const Cel& track)
{
    int material = 0;
    int black = 0;
    for (const ChannelEvent& event : track.events()) {
        const Cookie cookie = event.strip_name();
        const bool synthetic = cookie.getInt3() == 647;
        material += !synthetic || (cookie.getInt1() >= 2 && cookie.getInt1() <= 5);
        black += synthetic && cookie.getInt1() == 1;
    }
    const CelState state = inspect(track);
    if (state.eventCount != material)
        return "counts " + std::to_string(state.eventCount) + " events as material";
    if (state.blackEventCount != black)
        return "counts " + std::to_string(state.blackEventCount) + " black events";
    return state.pendingInIndex == -1 ? "" : "a section is open";
}

template <class Call>
void ask(Call call)
{
    try {
        static_cast<void>(call());
    } catch (const Kt::Exception::RuntimeError&) {
        // Misuse is answered so; what matters is that nothing else happens.
    }
}

void askHandle(const Cel& track, const ce_handle& h, double t)
{
    ask([&] { return h.get_edit_time() + h.get_strip_time(t) + double(h.get_strip_level(t)); });
    ask([&] { return h.get_strip_velocity() + float(h.get_dmod_code() + h.get_cookie_type()); });
    ask([&] { return h.audioRamp_DurationQFrames() + unsigned(h.audioRamp_CurveType()); });
    ask([&] { return h.get_strip_cookie().asString(true).size() + h.get_ce_info(); });
    ask([&] { return h.is_in_point() + h.is_out_point() + h.is_level_change() + h.is_effect(); });
    ask([&] { return h.matching_in_ceh().valid() + h.matching_out_ceh().valid(); });
    ask([&] { return h.get_trim_mark() + h.find_next_trim().valid(); });
    ask([&] { return h.find_next_trim_mark().valid() + (h == h.next()) + (h <= h.prev()); });
    ask([&] { return (h + INT_MAX).valid() + (h - INT_MAX).valid() + h.on_time(t); });
    ask([&] { return h.get_next_ceh(in_point).valid() + h.get_prev_ceh(out_point).valid(); });
    ask([&] { return track.isActive(h, t) + h.time_in_range(t) + h.isActive(); });
    ask([&] { return CEHPair(h).editRange().length() + CEHPair(h).isMaterial(); });
    ask([&] { return h.get_channel_event() == h.get_channel_event(); });
    ask([&] { return h.getEffectGraph().getMagicType() + int(h.get_trim_type()); });
    ask([&] {
        ce_handle seed = h;
        track.find_ceh_seeded(seed, t, any_event);
        return seed.valid();
    });
}

} // namespace

testing::AssertionResult wellFormed(const Cel& track)
{
    std::string fault = firstFault(track.events());
    if (fault.empty())
        fault = wrongState(track);
    if (fault.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << fault << ": " << describe(track);
}

void askEverything(const Kt::Ptr<Cel>& track)
{
    const Cel& cel = *track;
    cel.checkForZeroUtrs();
    cel.getExtents(Editable::kSignificant, false);
    cel.getChannelEventPackRevision();
    describe(cel);
    const int count = cel.numEvents();
    const int step = count / 16 + 1;
    for (int i = -1; i <= count; i += i < 0 || i >= count - 2 ? 1 : step) {
        const ce_handle h(track, i);
        const double here = h.valid() ? h.get_edit_time() : 1e99;
        for (const double t : {here, here + 1.0, 2e81, -1e12, std::nan("")}) {
            askHandle(cel, h, t);
            ask([&] { return cel.find_ceh(t, in_point).valid() + CEHPair(&cel, t).isEffect(); });
            if (!h.valid())
                break; // it refuses every time alike
        }
        ask([&] { return cel.get_event(i).redundant(cel.get_event(i + 1)); });
        ask([&] {
            return cel.get_event(i).removable_with(cel.get_event(i - 1), cel.get_event(i + 1),
                                                   cel.get_event(i + 2), 0);
        });
    }
}

} // namespace cel::test

// Operations that ask a track something and leave it as it is.

#include "tools/cel/replay_fields.h"

namespace cel::replay {

namespace {

void find(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).find_ceh(a[1].number(), kindsFrom(a[2]));
    s.out.line("find", a[0].text(), h.get_index());
}

void findSeeded(Session& s, Arguments a)
{
    ce_handle h = s.handleAt(a[0], a[1]);
    s.track(a[0]).find_ceh_seeded(h, a[2].number(), kindsFrom(a[3]));
    s.out.line("findSeeded", a[0].text(), h.get_index());
}

void get(Session& s, Arguments a)
{
    const std::string value =
        getFromTrack(a[2].text(), s.track(a[0]), s.handleAt(a[0], a[1]), timeOrOwn(a, 3));
    s.out.line("get", a[0].text(), value);
}

void next(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).get_next_ceh(s.handleAt(a[0], a[1]), kindsFrom(a[2]));
    s.out.line("next", a[0].text(), h.get_index());
}

void prev(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).get_prev_ceh(s.handleAt(a[0], a[1]), kindsFrom(a[2]));
    s.out.line("next", a[0].text(), h.get_index());
}

void times(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    s.out.line("times", a[0].text(), track.get_start_time(), track.get_end_time(),
               track.get_significant_start_time(), track.get_significant_end_time());
}

void extents(Session& s, Arguments a)
{
    const auto kind = static_cast<Editable::ExtentType>(a[1].integer());
    const auto range = s.track(a[0]).getExtents(kind, false);
    s.out.line("extents", a[0].text(), range.start(), range.end());
}

void inRange(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    const double t = a[1].number();
    s.out.line("inRange", a[0].text(), track.time_in_range(t), track.time_in_range_exclusive(t));
}

void firstTrim(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).findFirstTrim();
    s.out.line("firstTrim", a[0].text(), h.valid() ? h.get_index() : -1);
}

void firstTrimMark(Session& s, Arguments a)
{
    const ce_handle h = s.track(a[0]).findFirstTrimMark();
    s.out.line("firstTrim", a[0].text(), h.valid() ? h.get_index() : -1);
}

void marks(Session& s, Arguments a)
{
    const Kt::Ptr<Cel>& track = s.trackPointer(a[0]);
    std::string line = "marks " + a[0].text();
    for (int i = 0; i < track->numEvents(); ++i)
        line += ' ' + Printer::shown(ce_handle(track, i).get_trim_mark());
    s.out.line(line);
}

void quantiseCheck(Session& s, Arguments a)
{
    s.out.line("quantiseCheck", a[0].text(), s.track(a[0]).quantise_check());
}

void flags(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    s.out.line("flags", a[0].text(), track.hasRedundantCuts(), track.hasRemovableCuts(0),
               track.hasRemovableCuts(1), track.hasSubFrameCuts(), track.canSimplifyBlack());
}

void black(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    const Cel::Range range = rangeFrom(a[1], a[2]);
    s.out.line("black", a[0].text(), track.is_black(range), track.isEmpty(range),
               track.is_essentially_empty(), track.is_empty());
}

void utrs(Session& s, Arguments a)
{
    s.out.line("utrs", a[0].text(), s.track(a[0]).checkForZeroUtrs());
}

void showPair(Session& s, const Value& name, const CEHPair& pair)
{
    const auto range = pair.editRange();
    s.out.line("pair", name.text(), pair.inH().get_index(), pair.outH().get_index(), range.start(),
               range.end(), pair.isEffect(), pair.isMaterial());
}

void pair(Session& s, Arguments a)
{
    showPair(s, a[0], CEHPair(s.handleAt(a[0], a[1])));
}

void pairAt(Session& s, Arguments a)
{
    showPair(s, a[0], CEHPair(&s.track(a[0]), a[1].number()));
}

void event(Session& s, Arguments a)
{
    s.out.line("event", a[0].text(), s.track(a[0]).get_event(a[1].integer()));
}

constexpr Operation kOperations[] = {
    {"find", 3, 3, find},
    {"findSeeded", 4, 4, findSeeded},
    {"get", 3, 4, get},
    {"next", 3, 3, next},
    {"prev", 3, 3, prev},
    {"times", 1, 1, times},
    {"extents", 2, 2, extents},
    {"inRange", 2, 2, inRange},
    {"marks", 1, 1, marks},
    {"utrs", 1, 1, utrs},
    {"pair", 2, 2, pair},
    {"pairAt", 2, 2, pairAt},
    {"event", 2, 2, event},
    {"firstTrim", 1, 1, firstTrim},
    {"firstTrimMark", 1, 1, firstTrimMark},
    {"quantiseCheck", 1, 1, quantiseCheck},
    {"flags", 1, 1, flags},
    {"black", 3, 3, black},
};

} // namespace

std::span<const Operation> queryOperations()
{
    return kOperations;
}

} // namespace cel::replay

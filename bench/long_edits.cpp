#include "bench/bare_track.h"
#include "bench/long_track.h"
#include "bench/rows.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string_view>

namespace cel::bench {

namespace {

// Edits that do the same at many places of a track at once: what costs more for every place than
// one look at it shows in a ratio that grows with the track. The operation includes a copy of the
// track, which every pass starts from; the floor is that copy and one shift of all events.

/// Sections of a second, so far apart, with so many level changes in each; '.' is black.
struct Pattern
{
    std::string_view materials;
    double spacing;
    int levelChanges;
};

Cookie materialOf(char letter)
{
    return letter == '.' ? video_black
                         : Cookie(kVideoCookie, static_cast<std::uint32_t>(letter), 0, 0);
}

Kt::Ptr<Cel> patternTrack(const Pattern& pattern, std::size_t sections)
{
    const int changes = pattern.levelChanges;
    Kt::Ptr<Cel> track(new Cel(static_cast<int>(sections) * (2 + changes), kFrame));
    for (std::size_t i = 0; i < sections; ++i) {
        const double start = static_cast<double>(i) * pattern.spacing;
        const Cookie shot = materialOf(pattern.materials[i % pattern.materials.size()]);
        const IdStamp id;
        track->addEvent(ChannelEvent(start, 0, shot, 1, in_point, id, 0));
        for (int k = 1; k <= changes; ++k)
            track->addEvent(ChannelEvent(start + static_cast<double>(k) / (changes + 1), 0, shot,
                                         0.5F, level_change, id, 0));
        ChannelEvent out(start + 1, 1, shot, 1, out_point, id, 0);
        out.velocity(1);
        track->addEvent(out);
    }
    return track;
}

using Change = void (*)(Cel& track);

void leaveAsItIs(Cel&) {}

template <trim_type kType, int kEvery>
void select(Cel& track)
{
    for (int i = 0; i < track.numEvents(); i += kEvery)
        track.getChanEventPtr(i)->set_trim(kType);
}

/// Every section but the first of each second pair loses its length.
void emptySections(Cel& track)
{
    for (int i = 1; i < track.numEvents(); i += 4)
        track.getChanEventPtr(i)->edit_time(track.getChanEventPtr(i - 1)->edit_time());
}

double lengthOf(const Cel& track)
{
    return track.events().back().edit_time();
}

std::function<Contest(std::size_t)> changing(const Pattern& pattern, Change prepare, Change edit)
{
    return [=](std::size_t sections) -> Contest {
        const Kt::Ptr<Cel> track = patternTrack(pattern, sections);
        prepare(*track);
        const auto bare = std::make_shared<BareTrack>(*track);
        return {[=] {
                    const Kt::Ptr<Cel> edited(new Cel(*track));
                    edit(*edited);
                },
                [=] {
                    bare->restore();
                    shiftRounding(bare->events(), 0.0, kFrame);
                    benchmark::DoNotOptimize(bare->events().data());
                }};
    };
}

void insertItself(Cel& track)
{
    track.insert(&track, {0, lengthOf(track)}, 0.5, {});
}

void replaceByItself(Cel& track)
{
    track.replace(&track, {0, lengthOf(track) / 2}, 0.5, {}, Editable::kReplacePlain);
}

void simplifyBlack(Cel& track)
{
    track.simplifyBlack(Editable::invalidRange());
}

void simplifyAll(Cel& track)
{
    track.simplifyAll(Editable::invalidRange());
}

void trimByAFrame(Cel& track)
{
    track.do_trim(kFrame);
}

} // namespace

std::vector<Row> longEditRows()
{
    const std::vector<std::size_t> sizes = {1'000, 10'000, 100'000};
    struct Case
    {
        const char* name;
        Pattern pattern;
        Change prepare;
        Change edit;
    };
    const Case cases[] = {
        {"insert a track into itself", {"AB", 1, 0}, leaveAsItIs, insertItself},
        {"insert a track with holes into itself", {"AB", 2, 0}, leaveAsItIs, insertItself},
        {"replace a track by its first half", {"AB", 1, 0}, leaveAsItIs, replaceByItself},
        {"simplify: black with level changes", {".", 1, 2}, leaveAsItIs, simplifyBlack},
        {"simplify: holes in black", {".", 2, 2}, leaveAsItIs, simplifyBlack},
        {"simplify: holes beside black", {"A.", 2, 1}, leaveAsItIs, simplifyBlack},
        {"simplify all: cuts", {"A", 1, 0}, leaveAsItIs, simplifyAll},
        {"simplify all: holes", {"AB", 2, 0}, leaveAsItIs, simplifyAll},
        {"simplify all: empty sections", {"AB", 1, 0}, emptySections, simplifyAll},
        {"trim every section's start", {"AB", 1, 0}, select<trim_start, 2>, trimByAFrame},
        {"trim every section's end", {"AB", 1, 2}, select<trim_end, 4>, trimByAFrame},
        {"trim every black", {"A.", 1, 2}, select<trim_black, 4>, trimByAFrame},
    };
    std::vector<Row> rows;
    for (const Case& c : cases)
        rows.push_back(
            {std::string("long: ") + c.name, sizes, changing(c.pattern, c.prepare, c.edit)});
    return rows;
}

} // namespace cel::bench

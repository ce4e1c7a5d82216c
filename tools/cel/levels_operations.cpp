// What `cel levels` does to an envelope.

#include "platform/support/Log.h"
#include "tools/cel/commands.h"
#include "tools/cel/level_values.h"
#include "tools/cel/levels_operation.h"
#include "tools/cel/setting.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;

/// Keeps the library's notes on the method that it thins by off the terminal.
class QuietLog
{
public:
    QuietLog()
        : former_(setLogSink([](LogChannel, const std::string&) {}))
    {
    }
    ~QuietLog() { setLogSink(std::move(former_)); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    LogSink former_;
};

// ---- thin -------------------------------------------------------------------------------------

void setArea(const std::string& text)
{
    double area = 0.0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), area);
    const bool whole = fault == std::errc() && end == text.data() + text.size();
    if (!whole || !(area >= 0.0) || !std::isfinite(area))
        throw Failure(kUsage, "--area " + printable(text) + " is no number of 0 or more");
    setSetting("simplify2_maxArea", textOf(area));
}

/// Thins by one of the methods that the library has under a number.
void thinBy(AudLevelsCel& levels, const char* style, const AudLevelsCel::Range& range)
{
    const QuietLog quiet;
    setSetting("track_sound_simplify_style", style);
    levels.simplify(Simplification::kAll, range);
}

/// Which methods take which options and arguments.
void checkThinning(const TrackEdit& edit, std::size_t method, const LevelsOptions& options)
{
    enum { slope, area, section, within };
    const bool hasRange = edit.has(1) || edit.has(2);
    if (method == section && !(edit.has(1) && edit.has(2)))
        throw Failure(kUsage, "thin section needs two times, A and B");
    if (method != section && hasRange)
        throw Failure(kUsage, "only thin section takes times");
    if (!options.area.empty() && method != area && method != section)
        throw Failure(kUsage, "--area is for thin area and thin section");
    if (method == within && options.within.empty())
        throw Failure(kUsage, "thin needs a method, slope, area or section, or --within DECIBELS");
    if (method != within && !options.within.empty())
        throw Failure(kUsage, "--within is a method of its own; leave the other one out");
}

std::string thin(TrackEdit& edit, EnvelopeEdit& envelope, const LevelsOptions& options,
                 std::optional<Thinning>& thinning)
{
    const std::size_t method = edit.has(0) ? edit.choice(0, {"slope", "area", "section"}) : 3;
    checkThinning(edit, method, options);
    AudLevelsCel levels = envelope.levels();
    const Store before = levels.snapshot();
    std::string how;
    if (!options.area.empty())
        setArea(options.area);
    if (method == 0) {
        thinBy(levels, "1", Editable::invalidRange());
        how = "by slope";
    } else if (method == 1) {
        thinBy(levels, "2", Editable::invalidRange());
        how = "by area";
    } else if (method == 2) {
        const Cel::Range range = edit.stretch(1);
        thinBy(levels, "2", {range.start(), range.end()});
        edit.mark({range.start(), range.end()}, {range.start(), range.end()});
        how = "by area from " + edit.from({range.start(), range.end()});
    } else {
        const double decibels = decibelsFrom("--within", options.within);
        levels.thinToWithin(decibels);
        how = "to within " + describeDecibels(decibels);
    }
    const Store after = levels.snapshot();
    thinning = Thinning{before.size() - after.size(), worstLevelError(before, after)};
    return "thinned " + how;
}

// ---- set, remove, insert ----------------------------------------------------------------------

/// What a node changes besides its own time: all between its neighbours, where there are any.
TimeRange stretchAround(const TrackEdit& edit, const Store& levels, double at)
{
    TimeRange stretch = {std::min(edit.start(), at), std::max(edit.end(), at)};
    for (const Store::Node& node : levels.nodes()) {
        const double t = node.getRawTime();
        if (t < at - kTimeEpsilon)
            stretch.from = std::max(stretch.from, t);
        else if (t > at + kTimeEpsilon)
            stretch.to = std::min(stretch.to, t);
    }
    return stretch;
}

std::string set(TrackEdit& edit, EnvelopeEdit& envelope, const LevelsOptions&,
                std::optional<Thinning>&)
{
    const float level = levelFrom("set LEVEL", edit.text(0));
    const std::string words = "to " + describeDecibels(decibelsOf(level)) + " (" +
                              number(static_cast<double>(level)) + ")";
    if (edit.has(2)) {
        const Cel::Range range = edit.stretch(1);
        const TimeRange stretch = {range.start(), range.end()};
        envelope.hold(stretch, level);
        edit.mark(stretch, stretch);
        return "set " + edit.from(stretch) + " " + words;
    }
    const double at = edit.placeOnTrack(1);
    envelope.draw(at, level);
    edit.mark({at, at}, {at, at});
    return "set " + edit.at(at) + " " + words + "; the level changes from " +
           edit.from(stretchAround(edit, envelope.levels().snapshot(), at));
}

std::string remove(TrackEdit& edit, EnvelopeEdit& envelope, const LevelsOptions&,
                   std::optional<Thinning>&)
{
    const Cel::Range range = edit.stretch(0);
    const TimeRange stretch = {range.start(), range.end()};
    envelope.remove(stretch);
    edit.mark(stretch, {stretch.from, stretch.from});
    return "removed " + edit.from(stretch) + ", " + edit.lasting(range.length());
}

std::string insert(TrackEdit& edit, EnvelopeEdit& envelope, const LevelsOptions&,
                   std::optional<Thinning>&)
{
    const double at = edit.placeOnTrack(0);
    const MaterialStretch& material = edit.material();
    const double length = material.length();
    if (material.track)
        envelope.insert(material.levels, {material.range.start(), material.range.end()}, at);
    else
        envelope.insertBlack(at, length);
    edit.mark({at, at}, {at, at + length});
    return "inserted " + (material.track ? "the levels of " + material.text : material.text) +
           " at " + edit.at(at) + ", " + edit.lasting(length);
}

const LevelsOperation kOperations[] = {
    {"thin",
     "Takes nodes out that the curve can do without",
     {{"[METHOD]", "slope, area or section; none with --within"},
      {"[A]", "section: from here"},
      {"[B]", "section: to here"}},
     kTakesThinning,
     "A1 thin --within 0.5dB",
     thin,
     "  slope    nodes go that continue the line so far, exactly or in small steps\n"
     "  area     as many go as a chord may replace without enclosing more than --area\n"
     "  section  the same between two times, guards included\n"
     "  --within the fewest nodes stay whose lines keep within that many decibels\n"},
    {"set",
     "Sets the level at a time, or from one time to another between guards",
     {{"LEVEL", "Decibels (-6dB), a factor (0.5) or silent"},
      {"A", "Where, or from here"},
      {"[B]", "to here"}},
     kTakesNothing,
     "A1 set -6dB 10:00:10:00 10:00:12:12",
     set,
     "  set LEVEL A    puts a node at A; the level runs to it from the nodes on both sides\n"
     "  set LEVEL A B  holds the level from A to B alone; what is around them stays\n"},
    {"remove",
     "Takes a stretch of the envelope out; what follows moves up, the track stays",
     {{"A", "From here"}, {"B", "to here"}},
     kTakesNothing,
     "A1 remove 10 12.5",
     remove},
    {"insert",
     "Opens the envelope at a place for another's levels or black; the track stays",
     {{"AT", "Where"}},
     kTakesMaterial | kTakesBlack,
     "A1 insert 10 --from A2 --range 3 5.5",
     insert},
};

} // namespace

std::span<const LevelsOperation> levelsOperations()
{
    return kOperations;
}

} // namespace cel::tool

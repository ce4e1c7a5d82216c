#include "tools/cel/timeline_drawing.h"

#include "interchange/cut_levels.h"
#include "tools/cel/envelope_drawing.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <vector>

namespace cel::tool {

namespace {

constexpr std::size_t kWidestName = 12;
constexpr std::size_t kFewestColumns = 20;

/// One line of cells, each a code point in a style.
class Line
{
public:
    explicit Line(std::size_t columns)
        : cells_(columns)
    {
    }

    /// Writes the text from a column on; what reaches past the line's end is left out.
    void write(std::size_t column, std::string_view text, Style style)
    {
        for (const char byte : text) {
            const bool continues = (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
            if (!continues && column++ >= cells_.size())
                return;
            Cell& cell = cells_[column - 1];
            if (!continues)
                cell = {"", style};
            cell.glyph += byte;
        }
    }

    /// The line without blanks at its end.
    std::string text(bool colour) const
    {
        std::string result;
        std::string run;
        Style style = Style::plain;
        std::size_t used = cells_.size();
        while (used > 0 && cells_[used - 1].glyph == " ")
            --used;
        for (std::size_t i = 0; i < used; ++i) {
            if (cells_[i].style != style) {
                result += run.empty() ? run : styled(run, style, colour);
                run.clear();
                style = cells_[i].style;
            }
            run += cells_[i].glyph;
        }
        return result + (run.empty() ? run : styled(run, style, colour));
    }

private:
    struct Cell
    {
        std::string glyph = " ";
        Style style = Style::plain;
    };
    std::vector<Cell> cells_;
};

/// Where times stand on a line: the stretch spans the columns from the margin to the line's end.
class Scale
{
public:
    Scale(const TimeRange& stretch, std::size_t margin, std::size_t width)
        : stretch_(stretch)
        , margin_(margin)
        , columns_(std::max(kFewestColumns, width > margin ? width - margin : 0))
    {
    }

    std::size_t margin() const { return margin_; }
    std::size_t width() const { return margin_ + columns_; }
    double secondsPerColumn() const
    {
        return (stretch_.to - stretch_.from) / static_cast<double>(columns_ - 1);
    }

    /// Column of a time; times outside the stretch, and those that are none, go to its ends.
    std::size_t column(double seconds) const
    {
        const double place = (seconds - stretch_.from) / secondsPerColumn();
        const double last = static_cast<double>(columns_ - 1);
        const double inside = place >= 0 ? std::min(place, last) : 0;
        return margin_ + static_cast<std::size_t>(std::lround(inside));
    }

    bool holds(double seconds) const { return seconds >= stretch_.from && seconds <= stretch_.to; }
    bool overlaps(const TimeRange& range) const
    {
        return range.to >= stretch_.from && range.from <= stretch_.to;
    }

private:
    TimeRange stretch_;
    std::size_t margin_;
    std::size_t columns_;
};

/// The least round number of frames between two marks of the ruler that leaves room for a label.
std::int64_t framesBetweenMarks(const Cut& cut, const Scale& scale)
{
    constexpr double kLabelColumns = 13;
    constexpr std::array kSeconds = {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800};
    const double fewest = kLabelColumns * scale.secondsPerColumn() * cut.rate.framesPerSecond();
    const std::int64_t second = cut.rate.timecodeBase();
    if (fewest < 1)
        return 1;
    if (fewest <= static_cast<double>(second) / 2)
        return static_cast<std::int64_t>(std::ceil(fewest));
    for (const int seconds : kSeconds)
        if (static_cast<double>(seconds * second) >= fewest)
            return seconds * second;
    const double hour = 3600.0 * static_cast<double>(second);
    return static_cast<std::int64_t>(std::min(std::ceil(fewest / hour) * hour, 1e18));
}

/// The first frame of a second of timecode; at the full minute drop-frame numbering may skip some.
std::int64_t frameOfSecond(std::int64_t second, const FrameRate& rate)
{
    constexpr std::int64_t kMostHours = 99;
    TimecodeFields fields;
    fields.hours = static_cast<std::int16_t>(std::min(second / 3600, kMostHours));
    fields.minutes = static_cast<std::int16_t>(second / 60 % 60);
    fields.seconds = static_cast<std::int16_t>(second % 60);
    for (; fields.frames < rate.timecodeBase(); ++fields.frames)
        if (const auto frame = framesOf(fields, rate))
            return *frame;
    return 0;
}

/// Frames of the cut on which marks stand: from the last one in front of the stretch on, so many
/// frames apart, or so many seconds as timecode counts them.
std::vector<std::int64_t> marksFrom(double start, const Cut& cut, std::int64_t step)
{
    constexpr std::int64_t kMostMarks = 1000; // more than any line has room for
    const std::int64_t first = nearestFrame(start, cut.rate);
    const std::int64_t second = cut.rate.timecodeBase();
    std::vector<std::int64_t> marks;
    if (cut.rate.dropFrame && step % second == 0 && first + cut.startFrame >= 0) {
        const auto label = splitTimecode(timecodeFromFrames(first + cut.startFrame, cut.rate));
        const std::int64_t at =
            label ? (label->hours * 60 + label->minutes) * 60 + label->seconds : 0;
        const std::int64_t apart = step / second;
        for (std::int64_t i = 0; i < kMostMarks; ++i)
            marks.push_back(frameOfSecond(at - at % apart + i * apart, cut.rate) - cut.startFrame);
        return marks;
    }
    const std::int64_t offset = ((first % step + cut.startFrame % step) % step + step) % step;
    for (std::int64_t i = 0; i < kMostMarks; ++i)
        marks.push_back(first - offset + i * step);
    return marks;
}

std::string drawRuler(const Cut& cut, const TimeRange& stretch, const Scale& scale, bool colour)
{
    Line labels(scale.width());
    Line marks(scale.width());
    for (const std::int64_t frame : marksFrom(stretch.from, cut, framesBetweenMarks(cut, scale))) {
        const double seconds = static_cast<double>(frame) * cut.rate.frameDuration();
        if (seconds > stretch.to)
            break;
        if (!scale.holds(seconds))
            continue;
        const std::size_t column = scale.column(seconds);
        const std::string label = cut.timecodeAt(seconds);
        if (column + label.size() <= scale.width())
            labels.write(column, label, Style::plain);
        marks.write(column, "╵", Style::dim);
    }
    return labels.text(colour) + "\n" + marks.text(colour) + "\n";
}

/// Points from above at places and stretches; empty when none of them lies in the picture.
std::string drawMarks(const std::vector<TimeRange>& marks, const Scale& scale, bool colour)
{
    Line line(scale.width());
    bool any = false;
    for (const TimeRange& mark : marks) {
        if (!scale.overlaps(mark))
            continue;
        any = true;
        const std::size_t from = scale.column(mark.from);
        const std::size_t to = scale.column(mark.to);
        for (std::size_t i = from + 1; i < to; ++i)
            line.write(i, "━", Style::warning);
        line.write(from, "▼", Style::warning);
        line.write(to, "▼", Style::warning);
    }
    return any ? line.text(colour) + "\n" : "";
}

/// What the marks of a drawing mean, for those that occur in it.
struct Legend
{
    bool faster = false, slower = false, reversed = false, frozen = false;
    bool manyCuts = false, black = false, marked = false, levels = false, fades = false;

    /// The mark of a section's speed, remembered for the legend; empty for normal speed.
    std::string markOf(double speed)
    {
        if (speed < 0)
            return reversed = true, "«";
        if (speed == 0)
            return frozen = true, "‖";
        return speed > 1 ? (faster = true, "»") : (slower = true, "›");
    }

    std::string text() const
    {
        std::string all;
        const auto explain = [&all](bool occurs, const char* what) {
            if (occurs)
                all += (all.empty() ? "" : "   ") + std::string(what);
        };
        explain(marked, "▼ the edit");
        explain(black, "··· black");
        explain(faster, "» faster");
        explain(slower, "› slower");
        explain(reversed, "« backwards");
        explain(frozen, "‖ frozen");
        explain(fades, "╱╲ fades");
        explain(levels, kLevelBlocks);
        explain(manyCuts, "▂▄▆█ several cuts in one column (--from and --to look closer)");
        return all.empty() ? all : all + "\n";
    }
};

/// A row of boxes: three lines, and on the way the cuts in each column and where sections lie.
class Row
{
public:
    Row(const Scale& scale, bool colour)
        : scale_(scale)
        , colour_(colour)
        , top_(scale.width())
        , middle_(scale.width())
        , bottom_(scale.width())
        , cuts_(scale.width())
        , covered_(scale.width())
        , ramps_(scale.width())
    {
    }

    void add(const ListedSection& section, Style kind, Legend& legend)
    {
        const std::size_t from = scale_.column(section.record.from);
        const std::size_t to = std::max(from, scale_.column(section.record.to));
        if (scale_.holds(section.record.from) && section.record.from != lastEnd_)
            ++cuts_[from];
        if (scale_.holds(section.record.to))
            ++cuts_[to];
        lastEnd_ = section.record.to;
        std::fill(covered_.begin() + static_cast<std::ptrdiff_t>(from),
                  covered_.begin() + static_cast<std::ptrdiff_t>(to), true);
        fillBox(section, from + 1, to > from ? to - from - 1 : 0, kind, legend);
        if (!section.black)
            addRamps(section, from, to);
    }

    std::string text(std::string_view name, Legend& legend)
    {
        middle_.write(0, name, Style::plain);
        for (std::size_t i = 0; i < scale_.width(); ++i)
            drawColumn(i, legend);
        return top_.text(colour_) + "\n" + middle_.text(colour_) + "\n" + bottom_.text(colour_) +
               "\n";
    }

private:
    void fillBox(const ListedSection& section, std::size_t column, std::size_t width, Style kind,
                 Legend& legend)
    {
        if (width == 0)
            return;
        if (section.black) {
            legend.black = true;
            for (std::size_t i = 0; i < width; ++i)
                middle_.write(column + i, "·", Style::dim);
        } else if (section.changesSpeed()) {
            const std::string mark = legend.markOf(section.speed);
            const std::string percent =
                section.speed == 0 ? "" : describeSpeed(section.speed) + " ";
            const std::string text = mark + " " + percent + section.label();
            middle_.write(column, width < 3 ? mark : clipped(text, width), Style::speed);
        } else {
            middle_.write(column, clipped(section.label(), width), kind);
        }
    }

    /// Slopes on the upper border, as long as the fades, one column at least.
    void addRamps(const ListedSection& section, std::size_t from, std::size_t to)
    {
        if (to <= from + 1)
            return;
        const auto room = static_cast<double>(to - from - 1);
        const auto columnsOfFade = [&](double seconds, double end) {
            const double columns = std::round(seconds / scale_.secondsPerColumn());
            const bool shown = seconds > 0 && scale_.holds(end);
            return shown ? static_cast<std::size_t>(std::clamp(columns, 1.0, room)) : 0U;
        };
        const std::size_t in = columnsOfFade(section.fadeIn, section.record.from);
        const std::size_t out = columnsOfFade(section.fadeOut, section.record.to);
        std::fill_n(ramps_.begin() + static_cast<std::ptrdiff_t>(from + 1), in, "╱");
        std::fill_n(ramps_.begin() + static_cast<std::ptrdiff_t>(to - out), out, "╲");
    }

    void drawColumn(std::size_t i, Legend& legend)
    {
        static constexpr std::array kBars = {"│", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
        const bool left = i > 0 && covered_[i - 1];
        const bool right = covered_[i];
        if (cuts_[i] == 0) {
            if (right) {
                top_.write(i, ramps_[i].empty() ? "─" : ramps_[i], Style::dim);
                legend.fades |= !ramps_[i].empty();
                bottom_.write(i, "─", Style::dim);
            }
            return;
        }
        top_.write(i, left && right ? "┬" : left ? "┐" : right ? "┌" : "╷", Style::dim);
        bottom_.write(i, left && right ? "┴" : left ? "┘" : right ? "└" : "╵", Style::dim);
        middle_.write(i, kBars[std::min(cuts_[i], kBars.size()) - 1], Style::dim);
        legend.manyCuts |= cuts_[i] > 1;
    }

    const Scale& scale_;
    bool colour_;
    Line top_, middle_, bottom_;
    std::vector<std::size_t> cuts_;
    std::vector<bool> covered_;           ///< whether a section lies right of the column's middle
    std::vector<std::string_view> ramps_; ///< the slope of a fade in each column, if any
    double lastEnd_ = kInvalidTime;
};

/// The level envelope of a track as a line of blocks; empty for a track without one.
std::string drawLevels(const Cut& cut, const Cel& track, const TimeRange& stretch,
                       const Scale& scale, bool colour, Legend& legend)
{
    const AudLevelsCel levels = levelsOf(cut, track);
    if (!levels.valid() || track.numEvents() == 0)
        return "";
    legend.levels = true;
    const TimeRange held = {track.get_start_time(), track.get_end_time()};
    Line line(scale.width());
    line.write(scale.margin(),
               drawLevelBlocks(levels.snapshot(), stretch, scale.width() - scale.margin(), held),
               Style::sound);
    return line.text(colour) + "\n";
}

Style styleOf(CookieType kind)
{
    return kind == kAudioCookie ? Style::sound : Style::picture;
}

} // namespace

std::string drawTimeline(const Cut& cut, const std::vector<std::size_t>& tracks,
                         const TimeRange& stretch, const Terminal& terminal,
                         const std::vector<TimeRange>& marks)
{
    std::size_t margin = 0;
    for (const std::size_t track : tracks)
        margin = std::max(margin, columnsOf(clipped(nameOfTrack(cut, track), kWidestName)) + 1);
    const Scale scale(stretch, margin, terminal.width);

    Legend legend;
    std::string drawing = drawRuler(cut, stretch, scale, terminal.colour);
    const std::string pointers = drawMarks(marks, scale, terminal.colour);
    legend.marked = !pointers.empty();
    drawing += pointers;
    for (const std::size_t track : tracks) {
        const Cel& cel = *cut.tracks[track];
        Row row(scale, terminal.colour);
        for (const ListedSection& section : sectionsOf(cel, cut.materials))
            if (shows(section, stretch))
                row.add(section, styleOf(kindOf(cel)), legend);
        drawing += row.text(clipped(nameOfTrack(cut, track), kWidestName), legend);
        drawing += drawLevels(cut, cel, stretch, scale, terminal.colour, legend);
    }
    return drawing + legend.text();
}

std::string drawRuler(const Cut& cut, const TimeRange& stretch, std::size_t margin,
                      std::size_t width, bool colour)
{
    return drawRuler(cut, stretch, Scale(stretch, margin, width), colour);
}

std::vector<std::size_t> tracksFromTop(const Cut& cut)
{
    std::vector<std::size_t> order;
    for (std::size_t i = cut.tracks.size(); i-- > 0;)
        if (kindOf(*cut.tracks[i]) == kVideoCookie)
            order.push_back(i);
    for (std::size_t i = 0; i < cut.tracks.size(); ++i)
        if (kindOf(*cut.tracks[i]) != kVideoCookie)
            order.push_back(i);
    return order;
}

} // namespace cel::tool

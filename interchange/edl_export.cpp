#include "interchange/edl.h"
#include "interchange/edl_list.h"
#include "interchange/edl_reels.h"
#include "interchange/sections.h"
#include "interchange/text_lines.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

namespace cel {

namespace {

constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kLongestTitle = 256;

/// Speeds that an M2 line has digits for, in tenths of a frame a second.
constexpr double kFastestTenths = 999'999.0;

/// Source timecode is written with two digits of hours.
constexpr std::int64_t kSourceHours = 100;

/// An event of the list: a section on the frames of the record, with what it could not carry.
struct Row
{
    std::int64_t start = 0; ///< frames from the start of the cut
    std::int64_t end = 0;
    const ChannelEvent* in = nullptr; ///< null for black that only holds a place
    std::string channel;
    std::int64_t source = 0;
    std::int64_t speedTenths = 0; ///< frames a second times ten
    bool hasSpeed = false;
    std::vector<SectionLoss> losses;
};

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string digits(std::int64_t value, std::size_t count)
{
    const std::string text = std::to_string(value);
    return text.size() < count ? std::string(count - text.size(), '0') + text : text;
}

/// "025.0", "-012.5".
std::string speedText(std::int64_t tenths)
{
    const std::int64_t size = std::abs(tenths);
    return (tenths < 0 ? "-" : "") + digits(size / 10, 3) + "." + std::to_string(size % 10);
}

/// Turns the sections of one track into rows.
class RowMaker
{
public:
    RowMaker(const Cut& cut, std::string trackName, std::string channel, LossLedger& losses)
        : cut_(cut)
        , trackName_(std::move(trackName))
        , channel_(std::move(channel))
        , losses_(losses)
    {
    }

    void add(const Cel& track, std::vector<Row>& rows)
    {
        walkSections(
            track, [&](const Section& section) { addSection(section, rows); },
            [&](const ChannelEvent& event) {
                lose(event, "section", "is an event without its section");
            });
    }

private:
    void addSection(const Section& section, std::vector<Row>& rows)
    {
        const ChannelEvent& in = section.in;
        const ChannelEvent& out = section.out;
        const bool placed = isRealTime(in.edit_time()) && isRealTime(out.edit_time()) &&
                            isRealTime(in.strip_time());
        Row row;
        row.in = &in;
        row.channel = channel_;
        row.start = nearestFrame(in.edit_time(), cut_.rate);
        row.end = nearestFrame(out.edit_time(), cut_.rate);
        if (!placed || row.start < 0 || row.end <= row.start) {
            lose(in, "empty", placed ? "has no length in whole frames" : "has no place in time");
            return;
        }
        if (!onFrame(in.edit_time()) || !onFrame(out.edit_time()))
            row.losses.push_back({"subframe", "its cuts were moved to whole frames"});
        if (!section.isBlack()) {
            setSource(row, in);
            setSpeed(row, section);
        }
        if (in.level_sc() != 1.0F || out.level_sc() != 1.0F || section.levelChanges)
            row.losses.push_back({"level", "its level is not kept"});
        for (SectionLoss& loss : lossesInText(section))
            row.losses.push_back(std::move(loss));
        rows.push_back(std::move(row));
    }

    bool onFrame(double seconds) const
    {
        const double frame = secondsOfFrames(nearestFrame(seconds, cut_.rate), cut_.rate);
        return std::fabs(seconds - frame) <= kTimeEpsilon;
    }

    void setSource(Row& row, const ChannelEvent& in) const
    {
        row.source = nearestFrame(in.strip_time(), cut_.rate);
        if (!onFrame(in.strip_time()))
            row.losses.push_back({"subframe", "its source starts between two frames"});
        const std::int64_t limit =
            kSourceHours * 3600 * cut_.rate.timecodeBase() - framesPerDay(cut_.rate);
        if (row.source < 0 || row.source >= limit) {
            row.losses.push_back({"timecode", "its source starts at " +
                                                  timecodeFromFrames(row.source, cut_.rate) +
                                                  ", which is no timecode; 0 was written"});
            row.source = 0;
        }
    }

    void setSpeed(Row& row, const Section& section) const
    {
        const double speed = section.speed();
        const double tenths = speed * cut_.rate.timecodeBase() * 10.0;
        if (!(std::fabs(tenths) <= kFastestTenths)) {
            row.losses.push_back({"speed", "its speed is out of range; normal speed was written"});
            return;
        }
        row.hasSpeed = speed != 1.0;
        row.speedTenths = std::llround(tenths);
        constexpr double kSeenDifference = 0.01; // of a tenth of a frame: what a float leaves
        if (std::fabs(tenths - static_cast<double>(row.speedTenths)) > kSeenDifference)
            row.losses.push_back({"speed", "its speed was rounded to " +
                                               speedText(row.speedTenths) + " frames a second"});
        if (!section.runsEvenly(cut_.rate.frameDuration()))
            row.losses.push_back({"speed", "its source does not run at one speed to its end"});
    }

    void lose(const ChannelEvent& event, const char* kind, const char* text)
    {
        const std::string place =
            isRealTime(event.edit_time()) ? " at " + cut_.timecodeAt(event.edit_time()) + " " : " ";
        losses_.add(0, kind, "track " + trackName_ + ": what stands" + place + text);
    }

    const Cut& cut_;
    std::string trackName_;
    std::string channel_;
    LossLedger& losses_;
};

/// Gives every track a channel of the list, by its name where that is one.
class ChannelNames
{
public:
    /// The channel, "V", "V2", "A" or so; empty when the track is of no kind that a list knows.
    std::string channelOf(const Cel& track, LossLedger& losses)
    {
        const CookieType kind = kindOf(track);
        if (kind != kVideoCookie && kind != kAudioCookie)
            return {};
        const char letter = kind == kVideoCookie ? 'V' : 'A';
        const std::string name(track.editChannelName().view());
        const auto named =
            name.empty() || name[0] != letter ? std::nullopt : edl::parseChannels(name);
        int number = 1;
        while (number <= edl::kMostChannels && used_.contains(channel(letter, number)))
            ++number;
        if (named && named->count() == 1)
            for (int i = 1; i <= edl::kMostChannels; ++i)
                if (numbered(letter, i) == name && !used_.contains(channel(letter, i)))
                    number = i;
        if (number > edl::kMostChannels)
            return {};
        std::string chosen = channel(letter, number);
        used_.insert(chosen);
        if (numbered(letter, number) != name)
            losses.add(0, "track", "track " + quoted(name) + " became channel " + chosen);
        return chosen;
    }

private:
    static std::string numbered(char letter, int number) { return letter + std::to_string(number); }
    static std::string channel(char letter, int number)
    {
        return number == 1 ? std::string(1, letter) : numbered(letter, number);
    }

    std::set<std::string> used_;
};

/// Writes the lines of a list and enters losses under the line they belong to.
class ListWriter
{
public:
    ListWriter(const Cut& cut, EdlReels& reels, LossLedger& losses)
        : cut_(cut)
        , reels_(reels)
        , losses_(losses)
    {
    }

    void writeHeader()
    {
        const std::string title = asOneLine(cut_.title, kLongestTitle);
        line("TITLE: " + title);
        if (title != cut_.title)
            losses_.add(line_, "title", "the title had to be changed to fit a line");
        line(cut_.rate.dropFrame ? "FCM: DROP FRAME" : "FCM: NON-DROP FRAME");
    }

    void write(const Row& row, std::size_t number, std::size_t numberDigits)
    {
        const bool black = !row.in || row.in->strip_name().isBlack();
        const Material* const material =
            black ? nullptr : cut_.materials.find(row.in->strip_name());
        const EdlReels::Name reel =
            black ? EdlReels::Name{"BL", false} : reels_.nameOf(material ? material->reel : "");
        const std::string event = digits(static_cast<std::int64_t>(number), numberDigits);
        line(event + "  " + padded(reel.text, 8) + " " + padded(row.channel, 5) + " C        " +
             timecodeFromFrames(row.source, cut_.rate) + " " +
             timecodeFromFrames(row.source + sourceFrames(row), cut_.rate) + " " +
             recordTimecode(row.start) + " " + recordTimecode(row.end));
        for (const SectionLoss& loss : row.losses)
            losses_.add(line_, loss.kind, "event " + event + ": " + loss.text);
        if (reel.isChanged && material)
            losses_.add(line_, "reel",
                        "reel " + quoted(material->reel) + " is written as " + reel.text);
        if (row.hasSpeed)
            line("M2   " + padded(reel.text, 8) + "       " +
                 padded(speedText(row.speedTenths), 6) + "               " +
                 timecodeFromFrames(row.source, cut_.rate));
        if (material) {
            writeName("* FROM CLIP NAME: ", material->name);
            writeName("* SOURCE FILE: ", material->file);
        } else if (!black) {
            losses_.add(line_, "material",
                        "event " + event + ": nothing is known of its material " +
                            std::string(row.in->strip_name().asString(true).view()) +
                            "; reel AX stands for it");
        }
    }

    std::string take() { return std::move(text_); }

private:
    void line(const std::string& text)
    {
        text_ += text;
        while (text_.ends_with(' '))
            text_.pop_back();
        text_ += '\n';
        ++line_;
    }

    void writeName(const char* comment, const std::string& name)
    {
        if (name.empty())
            return;
        const std::string shown = asOneLine(name, kLongestName);
        line(comment + shown);
        if (shown != name)
            losses_.add(line_, "name", "a name had to be changed to fit a line: " + quoted(shown));
    }

    /// Frames of the source that a section uses; a still frame uses one.
    std::int64_t sourceFrames(const Row& row) const
    {
        const std::int64_t length = row.end - row.start;
        if (!row.hasSpeed)
            return length;
        const double speed =
            std::fabs(static_cast<double>(row.speedTenths)) / 10.0 / cut_.rate.timecodeBase();
        const auto used = std::llround(static_cast<double>(length) * speed);
        return std::clamp<std::int64_t>(used, 1, framesPerDay(cut_.rate) / 2);
    }

    std::string recordTimecode(std::int64_t frame) const
    {
        const std::int64_t day = framesPerDay(cut_.rate);
        return timecodeFromFrames(((cut_.startFrame + frame) % day + day) % day, cut_.rate);
    }

    const Cut& cut_;
    EdlReels& reels_;
    LossLedger& losses_;
    std::string text_;
    std::size_t line_ = 0;
};

/// @param tracks  counts those that have rows.
std::vector<Row> rowsOf(const Cut& cut, LossLedger& losses, std::size_t& tracks)
{
    std::vector<Row> rows;
    ChannelNames channels;
    for (const Kt::Ptr<Cel>& track : cut.tracks) {
        const std::string name(track->editChannelName().view());
        const std::string channel = channels.channelOf(*track, losses);
        const std::size_t before = rows.size();
        if (!channel.empty())
            RowMaker(cut, name, channel, losses).add(*track, rows);
        tracks += rows.size() > before;
        if (rows.size() == before)
            losses.add(0, "track",
                       "track " + quoted(name) +
                           (channel.empty() ? " is of a kind that an edit list does not know"
                                            : " has no sections, so the list does not name it"));
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.start < b.start; });
    // Readers count from the first record time; black holds the place of a later start.
    if (!rows.empty() && rows.front().start > 0) {
        Row black;
        black.end = rows.front().start;
        black.channel = rows.front().channel;
        rows.insert(rows.begin(), black);
    }
    return rows;
}

void noteClock(const Cut& cut, const std::vector<Row>& rows, LossLedger& losses)
{
    const std::int64_t day = framesPerDay(cut.rate);
    std::int64_t end = 0;
    for (const Row& row : rows)
        end = std::max(end, row.end);
    if (cut.startFrame < 0 || cut.startFrame >= day)
        losses.add(0, "timecode", "the start timecode was brought into one day");
    if (end >= day / 2 && cut.startFrame + end > day)
        losses.add(0, "timecode",
                   "the cut is longer than half a day and runs over midnight, where its timecode "
                   "becomes ambiguous");
}

void noteRate(const Cut& cut, const std::string& text, LossLedger& losses)
{
    LossLedger unused;
    const FrameRate guessed = edl::guessRate(edl::readEditList(text, unused)).rate;
    if (guessed != cut.rate)
        losses.add(0, "rate",
                   "a list does not say its frame rate, and readers would take " +
                       describe(guessed) + "; tell them " + describe(cut.rate));
}

} // namespace

EdlExport exportEdl(const Cut& cut)
{
    EdlExport result;
    const std::vector<Row> rows = rowsOf(cut, result.losses, result.tracks);
    noteClock(cut, rows, result.losses);

    EdlReels reels;
    for (const Row& row : rows)
        if (const Material* const material =
                row.in ? cut.materials.find(row.in->strip_name()) : nullptr)
            reels.reserve(material->reel);

    constexpr std::size_t kMostThreeDigits = 999;
    const std::size_t numberDigits = rows.size() > kMostThreeDigits ? 6 : 3;
    ListWriter writer(cut, reels, result.losses);
    writer.writeHeader();
    for (std::size_t i = 0; i < rows.size(); ++i)
        writer.write(rows[i], i + 1, numberDigits);
    result.text = writer.take();
    noteRate(cut, result.text, result.losses);
    return result;
}

} // namespace cel

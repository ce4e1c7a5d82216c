#include "interchange/edl.h"
#include "interchange/edl_timing.h"
#include "interchange/text_lines.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace cel {

namespace {

using edl::Event;

/// Sections that one import makes at most, so that no small file grows without bound.
constexpr std::size_t kMostSections = 1'000'000;

/// Overlaps that are told one by one.
constexpr std::size_t kMostOverlaps = 10'000;

/// An event on one track.
struct Piece
{
    std::int64_t start; ///< frames from the start of the cut
    std::int64_t end;
    const Event* event;
};

/// Lays the pieces of a track end to end: sorted, none over another. Of two at one place the later
/// line of the list wins.
class TrackLayout
{
public:
    /// @param overlaps  how many were told so far, on all tracks.
    TrackLayout(std::string name, LossLedger& losses, std::size_t& overlaps)
        : name_(std::move(name))
        , losses_(losses)
        , overlaps_(overlaps)
    {
    }

    std::vector<Piece> lay(std::vector<Piece> pieces)
    {
        std::stable_sort(pieces.begin(), pieces.end(),
                         [](const Piece& a, const Piece& b) { return a.start < b.start; });
        std::size_t laid = 0;
        for (const Piece& piece : pieces) {
            if (laid > 0 && piece.start < pieces[laid - 1].end)
                laid = giveWay(pieces[laid - 1], piece) ? laid : laid - 1;
            pieces[laid++] = piece;
        }
        pieces.resize(laid);
        return pieces;
    }

private:
    /// Shortens `earlier` to where `later` starts. @return whether anything is left of it.
    bool giveWay(Piece& earlier, const Piece& later)
    {
        const std::int64_t over = earlier.end - later.start;
        earlier.end = later.start;
        const bool remains = earlier.end > earlier.start;
        // A list that overlaps everywhere would have a story to tell for each of its channels.
        if (++overlaps_ > kMostOverlaps)
            return remains;
        losses_.add(
            earlier.event->line, "overlap",
            edl::nameOf(*earlier.event) +
                (remains ? " runs " + std::to_string(over) + " frames into " : " is covered by ") +
                edl::nameOf(*later.event) + " on " + name_ +
                (remains ? " and ends where that starts" : " and left out there"));
        return remains;
    }

    std::string name_;
    LossLedger& losses_;
    std::size_t& overlaps_;
};

/// Makes the tracks of a cut from the events of a list.
class CutBuilder
{
public:
    CutBuilder(Cut& cut, LossLedger& losses)
        : cut_(cut)
        , losses_(losses)
    {
    }

    void build(const edl::EditList& list)
    {
        collect(list);
        for (std::size_t i = 0; i < picture_.size(); ++i)
            addTrack(kVideoCookie, static_cast<int>(i) + 1, picture_[i]);
        for (std::size_t i = 0; i < sound_.size(); ++i)
            addTrack(kAudioCookie, static_cast<int>(i) + 1, sound_[i]);
        if (overlaps_ > kMostOverlaps)
            losses_.add(0, "overlap",
                        std::to_string(overlaps_ - kMostOverlaps) +
                            " more overlaps were resolved in the same way");
    }

private:
    using Channels = std::vector<std::vector<Piece>>;

    void collect(const edl::EditList& list)
    {
        std::size_t sections = 0;
        for (const Event& event : list.events) {
            if (!event.plays)
                continue;
            sections += static_cast<std::size_t>(event.channels.count());
            if (sections > kMostSections) {
                losses_.add(event.line, "limit",
                            "more than " + std::to_string(kMostSections) +
                                " sections; this event and all later ones are left out");
                return;
            }
            collect(event, event.channels.picture, picture_);
            collect(event, event.channels.sound, sound_);
        }
    }

    void collect(const Event& event, std::uint64_t channels, Channels& tracks)
    {
        for (; channels != 0; channels &= channels - 1) {
            const auto channel = static_cast<std::size_t>(std::countr_zero(channels));
            tracks[channel].push_back(
                {event.recordStart - cut_.startFrame, event.recordEnd - cut_.startFrame, &event});
        }
    }

    void addTrack(CookieType kind, int number, std::vector<Piece>& pieces)
    {
        if (pieces.empty())
            return;
        const Kt::Ptr<Cel> track = cut_.addTrack(kind, number);
        const std::string name = std::string(track->editChannelName().view());
        pieces = TrackLayout(name, losses_, overlaps_).lay(std::move(pieces));
        std::int64_t end = 0;
        for (const Piece& piece : pieces) {
            if (piece.start > end)
                addSection(*track, blackOf(kind), {end, piece.start, nullptr});
            addSection(*track, materialOf(*piece.event, kind), piece);
            end = piece.end;
        }
        pieces = {};
    }

    static Cookie blackOf(CookieType kind)
    {
        return kind == kAudioCookie ? audio_black : video_black;
    }

    Cookie materialOf(const Event& event, CookieType kind)
    {
        if (event.isBlack())
            return blackOf(kind);
        return cut_.materials.add({kind, std::string(event.clip.text), std::string(event.reel),
                                   std::string(event.sourceFile.text)});
    }

    void addSection(Cel& track, const Cookie& material, const Piece& piece)
    {
        const bool black = material.isBlack();
        const double strip = black ? 0.0 : secondsOfFrames(piece.event->sourceStart, cut_.rate);
        const float velocity =
            black ? 1.0F : static_cast<float>(edl::velocityOf(*piece.event, cut_.rate));
        const IdStamp fresh(0, 0, 0);
        ChannelEvent in(secondsOfFrames(piece.start, cut_.rate), strip, material, 1.0F, in_point,
                        fresh, 0);
        ChannelEvent out(secondsOfFrames(piece.end, cut_.rate), kUnsetTime, material, 1.0F,
                         out_point, fresh, 0);
        in.velocity(velocity);
        out.velocity(velocity); // the track lays the out point's strip time by it
        track.addEvent(in);
        track.addEvent(out);
    }

    Cut& cut_;
    LossLedger& losses_;
    std::size_t overlaps_ = 0;
    Channels picture_{static_cast<std::size_t>(edl::kMostChannels)};
    Channels sound_{static_cast<std::size_t>(edl::kMostChannels)};
};

void noteCleaning(const CleanText& text, LossLedger& losses)
{
    if (text.wasLatin1)
        losses.add(0, "text", "the list is no UTF-8; its special characters were read as Latin-1");
    if (text.hadControls)
        losses.add(0, "text", "control characters in the list became blanks");
}

/// The rate that was asked for, counting as the list counts where it can.
FrameRate asListed(FrameRate rate, const edl::EditList& list)
{
    rate.dropFrame = rate.dropFrame || (canDropFrames(rate) && edl::recordDrops(list));
    return rate;
}

std::optional<std::int64_t> earliestRecord(const edl::EditList& list)
{
    std::optional<std::int64_t> earliest;
    for (const Event& event : list.events)
        if (event.plays)
            earliest = std::min(earliest.value_or(event.recordStart), event.recordStart);
    return earliest;
}

std::string firstReason(const LossLedger& losses)
{
    for (const LossLedger::Entry& entry : losses.entries())
        for (const char* kind : {"event", "timecode", "channel", "empty", "limit"})
            if (entry.kind == kind)
                return "line " + std::to_string(entry.line) + ": " + entry.text;
    return "no line of it is an event";
}

} // namespace

std::optional<EdlImport> importEdl(std::string_view text, std::optional<FrameRate> rate,
                                   std::string& error)
{
    if (text.size() > kLargestTextBytes) {
        error = "the edit list is larger than 64 MiB";
        return std::nullopt;
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        error = "the edit list is UTF-16 text; save it as UTF-8";
        return std::nullopt;
    }
    const CleanText clean = cleanText(text);
    LossLedger losses;
    noteCleaning(clean, losses);
    edl::EditList list = edl::readEditList(clean.text, losses);

    EdlImport result;
    result.rateGuessed = !rate;
    edl::RateGuess guess =
        rate ? edl::RateGuess{asListed(*rate, list), "as asked for"} : edl::guessRate(list);
    result.cut.rate = guess.rate;
    result.rateReason = std::move(guess.reason);
    result.cut.title = list.title;

    edl::resolveTimes(list, result.cut.rate, losses);
    edl::settleTransitions(list, losses);
    const auto start = earliestRecord(list);
    if (!start) {
        losses.sortByLine();
        error = "nothing in the edit list can be read as an event; " + firstReason(losses);
        return std::nullopt;
    }
    result.cut.startFrame = *start;
    edl::attachSpeeds(list, losses);
    edl::compareDurations(list, result.cut.rate, losses);
    CutBuilder(result.cut, losses).build(list);
    losses.sortByLine();
    result.losses = std::move(losses);
    return result;
}

} // namespace cel

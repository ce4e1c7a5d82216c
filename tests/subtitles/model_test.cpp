#include "tests/subtitles/subtitle_text.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace cel::test {
namespace {

constexpr double kFrame = 0.04;

/// The plain model: what each frame shows, "." for black.
using Frames = std::vector<std::string>;

Frames framesOf(const SubtitleTrack& track)
{
    Frames frames;
    const Kt::Ptr<Cel> list = track.getCel();
    for (int i = 0; i + 1 < list->numEvents(); i += 2) {
        const ChannelEvent& in = *list->getChanEventPtr(i);
        const auto& lines = track.getElement(in.editGraph()).lines;
        const double length = list->getChanEventPtr(i + 1)->edit_time() - in.edit_time();
        const bool black = in.strip_name().isBlack();
        const std::string text = black || lines.empty()
                                     ? "."
                                     : std::string(lines[0].view().begin(), lines[0].view().end());
        frames.insert(frames.end(), static_cast<std::size_t>(std::lround(length / kFrame)), text);
    }
    return frames;
}

/// Random edits of a track and of its model.
class Editor
{
public:
    explicit Editor(unsigned seed)
        : random_(seed)
    {
    }

    void edit(SubtitleTrack& track, Frames& frames)
    {
        const int length = static_cast<int>(frames.size());
        const int at = below(length + 1);
        switch (below(9)) {
        case 0: {
            const int end = at + below(12);
            track.remove(range(at, end));
            erase(frames, at, end);
            break;
        }
        case 1:
        case 2:
            insertFrom(source(), track, frames, at);
            break;
        case 3:
            insertFrom(track, track, frames, at);
            break;
        case 4: {
            const SubtitleTrack from = source();
            const auto [start, end] = stretch();
            track.replace(from, range(start, end), at * kFrame, {}, Editable::kReplacePlain);
            const Frames material = part(framesOf(from), start, end);
            erase(frames, at, at + end - start);
            put(frames, material, at);
            break;
        }
        case 5: {
            const int end = at + 1 + below(6);
            const std::string text = newText();
            track.add({{{std::wstring(text.begin(), text.end())}, {}}, at * kFrame, end * kFrame});
            erase(frames, at, end);
            put(frames, Frames(static_cast<std::size_t>(end - at), text), at);
            break;
        }
        case 6:
            track.getCel()->makeCutAt(at * kFrame);
            break;
        case 7:
            track.simplify(static_cast<Simplification::eType>(below(5)), Editable::invalidRange());
            break;
        case 8:
            track = below(2) ? track.clone() : stored(track);
            break;
        }
    }

private:
    int below(int count)
    {
        return count > 0 ? static_cast<int>(random_() % static_cast<unsigned>(count)) : 0;
    }

    std::string newText() { return "t" + std::to_string(++texts_); }

    static SubtitleTrack::Range range(int start, int end) { return {start * kFrame, end * kFrame}; }

    std::pair<int, int> stretch()
    {
        const int start = below(16);
        return {start, start + 1 + below(16)};
    }

    SubtitleTrack source()
    {
        std::string notation;
        int at = 0;
        for (int i = below(4); i >= 0; --i) {
            at += below(3);
            const int end = at + 1 + below(5);
            notation += std::to_string(at * 4) + "e-2-" + std::to_string(end * 4) + "e-2 " +
                        newText() + "; ";
            at = end;
        }
        return subtitles(notation, at * kFrame);
    }

    void insertFrom(const SubtitleTrack& from, SubtitleTrack& track, Frames& frames, int at)
    {
        const auto [start, end] = stretch();
        const Frames material = part(framesOf(from), start, end);
        track.insert(from, range(start, end), at * kFrame, {});
        put(frames, material, at);
    }

    /// Frames of a stretch, black where there are none.
    static Frames part(const Frames& frames, int start, int end)
    {
        Frames cut;
        for (int i = start; i < end; ++i)
            cut.push_back(i < static_cast<int>(frames.size()) ? frames[static_cast<std::size_t>(i)]
                                                              : ".");
        return cut;
    }

    static void erase(Frames& frames, int start, int end)
    {
        const int length = static_cast<int>(frames.size());
        frames.erase(frames.begin() + std::min(start, length),
                     frames.begin() + std::min(end, length));
    }

    static void put(Frames& frames, const Frames& material, int at)
    {
        frames.insert(frames.begin() + at, material.begin(), material.end());
    }

    std::mt19937 random_;
    int texts_ = 0;
};

TEST(SubtitleEdits, ShowOnEveryFrameWhatAPlainModelShows)
{
    for (unsigned seed = 1; seed <= 400; ++seed) {
        Editor editor(seed);
        SubtitleTrack track(kFrame);
        Frames frames;
        for (int step = 0; step < 40; ++step) {
            editor.edit(track, frames);
            ASSERT_EQ(framesOf(track), frames) << "seed " << seed << ", step " << step;
            ASSERT_EQ(faultsOf(track), "") << "seed " << seed << ", step " << step;
        }
    }
}

} // namespace
} // namespace cel::test

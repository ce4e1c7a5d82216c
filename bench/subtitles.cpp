#include "bench/rows.h"

#include "subtitles/SubtitleTrack.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace cel::bench {

namespace {

constexpr double kSubtitleFrame = 0.04;
constexpr std::size_t kEdits = 16; ///< in a pass

using Elements = std::vector<SubtitleTrack::RangedElement>;

/// Two lines of some thirty characters every five seconds, four of them with the text.
Elements manyElements(std::size_t count)
{
    Elements elements(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        elements[i].lines = {L"Who goes there, at this hour? " + number,
                             L"None but the watch, sir."};
        elements[i].style = "KT1";
        elements[i].start = 5.0 * static_cast<double>(i);
        elements[i].end = elements[i].start + 4.0;
    }
    return elements;
}

/// A track, and the same sections without texts.
struct Tracks
{
    explicit Tracks(std::size_t count)
        : elements(manyElements(count))
        , track(elements, 5.0 * static_cast<double>(count), kSubtitleFrame)
        , bare(new Cel(*track.getCel()))
        , material(manyElements(2), 10.0, kSubtitleFrame)
        , bareMaterial(new Cel(*material.getCel()))
    {
    }

    /// Places all over the track, in the middle of a subtitle each.
    double place(std::size_t edit) const
    {
        const std::size_t cue = (edit * 7919 + 13) % elements.size();
        return 5.0 * static_cast<double>(cue) + 2.0;
    }

    Elements elements;
    SubtitleTrack track;
    Kt::Ptr<Cel> bare;
    SubtitleTrack material;
    Kt::Ptr<Cel> bareMaterial;
};

/// The floor: the sections alone.
void appendSections(const Elements& elements)
{
    const Kt::Ptr<Cel> list(new Cel(0, kSubtitleFrame));
    for (std::size_t i = 0; i < elements.size(); ++i) {
        list->appendEventPair(SubtitleTrack::textCookie(), 0.0, 4.0, -1.0);
        list->appendEventPair(SubtitleTrack::blackCookie(), 0.0, 1.0, -1.0);
    }
    benchmark::DoNotOptimize(list->numEvents());
}

Contest setting(std::size_t count)
{
    const auto data = std::make_shared<Tracks>(count);
    return {[data] { data->track.setElements(data->elements, 0.0); },
            [data] { appendSections(data->elements); }};
}

Contest inserting(std::size_t count)
{
    const auto data = std::make_shared<Tracks>(count);
    const SubtitleTrack::Range whole(0.0, 10.0);
    return {[=] {
                for (std::size_t i = 0; i < kEdits; ++i) {
                    const double at = data->place(i);
                    data->track.insert(data->material, whole, at, {});
                    data->track.remove({at, at + 10.0});
                }
                data->track.simplify(Simplification::kMatchFrameCuts, Editable::invalidRange());
            },
            [=] {
                for (std::size_t i = 0; i < kEdits; ++i) {
                    const double at = data->place(i);
                    data->bare->insert(data->bareMaterial.get(), whole, at, {});
                    data->bare->remove({at, at + 10.0});
                }
                data->bare->simplify(Simplification::kMatchFrameCuts, Editable::invalidRange());
            },
            kEdits};
}

/// The floor: every line of text once, one list after the other, in the case that is asked for.
Contest searching(std::size_t count)
{
    const auto data = std::make_shared<Tracks>(count);
    return {[data] {
                const ce_handle found = data->track.find(L"nowhere", {}, {});
                benchmark::DoNotOptimize(found.get_index());
            },
            [data] {
                const std::wstring_view text = L"nowhere";
                std::size_t found = 0;
                for (const auto& element : data->elements)
                    for (const auto& line : element.lines)
                        found += line.view().find(text) != text.npos ? 1U : 0U;
                benchmark::DoNotOptimize(found);
            }};
}

} // namespace

std::vector<Row> subtitleRows()
{
    const std::vector<std::size_t> sizes = {1'000, 10'000, 100'000};
    return {
        {"set the elements of a subtitle track", sizes, setting},
        {"insert two subtitles and remove them", sizes, inserting},
        {"search all subtitles", sizes, searching},
    };
}

} // namespace cel::bench

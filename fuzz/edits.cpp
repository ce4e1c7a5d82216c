#include "cel/audit.h"
#include "fuzz/fuzz.h"

#include <algorithm>
#include <string_view>

namespace {

using namespace cel::fuzz;

/// Events that break what no edit may break on a track that was in order.
std::ptrdiff_t faults(const Cel& track)
{
    const auto events = track.events();
    // A section may end up on one frame, the two sides of a cut in the middle of a frame may be
    // rounded apart, and a speed from anywhere plays material from anywhere.
    const auto isAllowed = [&](const cel::Finding& finding) {
        const std::string_view invariant = finding.invariant;
        const auto index = static_cast<std::size_t>(finding.index);
        return invariant == "zero-length" || invariant == "strip-time" ||
               (invariant == "overlap" && finding.index > 0 &&
                events[index - 1].edit_time() - events[index].edit_time() <
                    1.01 * track.get_resolution());
    };
    const std::vector<cel::Finding> found = cel::audit(track);
    return std::count_if(found.begin(), found.end(), [&](const cel::Finding& finding) {
        return finding.severity == cel::Severity::fault && !isAllowed(finding);
    });
}

/// Edits that keep a track in order, with times and ranges from anywhere.
void editInOrder(const Kt::Ptr<Cel>& track, const Kt::Ptr<Cel>& source, Choices& choices)
{
    const auto range = choices.range(*track);
    const auto putIn = [&] {
        const Cel* from = choices.below(3) == 0 ? track.get() : source.get();
        const double at = choices.time(*track);
        if (choices.below(2) == 0)
            track->insert(from, range, at, {});
        else
            track->replace(from, range, at, {}, Editable::kReplacePlain);
    };
    // clang-format off
    switch (choices.below(8)) {
    case 0: track->makeCutAt(choices.time(*track)); break;
    case 1: track->remove(range); break;
    case 2:
    case 3: putIn(); break;
    case 4: track->simplify(static_cast<Simplification::eType>(choices.below(5)), range); break;
    case 5: track->simplifyTidy(range); break;
    case 6: track->appendEventPair(video_black, 0.0, double(choices.below(100)) / 25, -1.0); break;
    default: track->quantiseInPlace();
    }
    // clang-format on
}

bool hasLevelChanges(const Cel& track)
{
    const auto events = track.events();
    return std::any_of(events.begin(), events.end(),
                       [](const ChannelEvent& event) { return event.info() == level_change; });
}

} // namespace

/// A track from the body of a layer, damaged or not, and edits of it: the input is the length of
/// the body, the body, and what decides on the edits. A track in order stays in order.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int kEdits = 32;
    constexpr int kLargeTrack = 200;
    constexpr std::size_t kHead = 2;
    if (size < kHead)
        return 0;
    const std::size_t body = std::min<std::size_t>(data[0] + 256U * data[1], size - kHead);
    const Kt::Ptr<Cel> source = decode(bytesOf(data + kHead, body), 4);
    if (!source)
        return 0;
    const Kt::Ptr<Cel> track = source->copy();
    // Tidying pairs events by their places and so takes level changes apart.
    const bool inOrder = faults(*source) == 0 && faults(*track) == 0 && !hasLevelChanges(*track);
    Choices choices(bytesOf(data + kHead + body, size - kHead - body));
    for (int i = 0; i < kEdits && track->numEvents() < kLargeTrack; ++i) {
        const int before = track->numEvents() + source->numEvents();
        if (inOrder)
            editInOrder(track, source, choices);
        else
            edit(choices.below(4) == 0 ? source : track, choices);
        // The track itself goes in again, and black into its holes.
        require(track->numEvents() <= 3 * before + 8, "an edit adds what it was given");
        if (inOrder && !(track->get_end_time() < 1e9))
            break;
        require(!inOrder || faults(*track) == 0, "a track in order stays in order");
    }
    examine(*track, choices);
    requireStableForm(*track);
    return 0;
}

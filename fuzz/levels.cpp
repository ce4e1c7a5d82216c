#include "fuzz/fuzz.h"

#include "tests/tracks/level_stream.h"
#include "tracks/AudCel.h"
#include "tracks/AudLevelsCel.h"
#include "tracks/level_accuracy.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace cel::fuzz;
using cel::test::encodeLevels;
using Store = AudLevelsCelRep::Store;

constexpr double kInf = std::numeric_limits<double>::infinity();

/// A layer read into an envelope.
Kt::Ptr<AudLevelsCelRep> read(std::span<const std::byte> body, unsigned char revision)
{
    const cel::test::DecodedLevels levels = cel::test::decodeLevels(body, revision);
    require(levels.atEnd, "a reader stands behind its layer");
    return levels.levels;
}

bool inOrder(const Store& store)
{
    const auto nodes = store.nodes();
    return std::is_sorted(nodes.begin(), nodes.end(), [](const auto& a, const auto& b) {
        const double t = b.getRawTime();
        return t == t ? a.getRawTime() < t : a.getRawTime() == a.getRawTime();
    });
}

double timeFor(Choices& choices, const Store& store)
{
    static constexpr double kTimes[] = {0.0,   1e-6, -1.0,  2.5, 1e12, 1e99,
                                        -kInf, kInf, 1e300, NAN, 0.01, 7.0};
    if (store.empty() || choices.below(3) == 0)
        return kTimes[choices.below(std::size(kTimes))];
    const std::size_t index = choices.below(256) % store.size();
    const double near = choices.below(3) * 5e-7 + choices.below(2) * 0.5;
    return store.nodes()[index].getRawTime() + (choices.below(2) ? near : -near);
}

/// A track with some sections of sound and of silence.
AudCel someTrack(Choices& choices)
{
    AudCel track;
    const Kt::Ptr<Cel> list(new Cel(0, 0.04));
    for (unsigned i = choices.below(4); i > 0; --i)
        list->appendEventPair(choices.below(2) ? audio_black : Cookie(kAudioCookie, 1, 0, 0), 0.0,
                              0.5 * choices.below(9), -1.0);
    static_cast<ManagedCel_CelSetter&>(track).setCel(list);
    return track;
}

/// Does one thing to an envelope.
void editLevels(AudLevelsCelRep& levels, Choices& choices)
{
    const auto time = [&] { return timeFor(choices, levels.nodes()); };
    const AudLevelsCelRep::Range range(time(), time());
    const AudLevelsCelRep* const source = choices.below(2) ? &levels : nullptr;
    // clang-format off
    switch (choices.below(11)) {
    case 0: levels.remove(range); break;
    case 1: levels.insert(source, range, time(), {}); break;
    case 2: levels.replace(source, range, time(), {}, Editable::kReplacePlain); break;
    case 3: levels.tidyGuardNodesBackward(time()); break;
    case 4: levels.tidyGuardNodesForward(time()); break;
    case 5: levels.replaceDependentGuardNodesAtPoint(time()); break;
    case 6: levels.removeCoincidentNodes(); break;
    case 7: levels.simplify1(); break;
    case 8: levels.simplify2(); break;
    case 9: levels.simplify_section_2(range.start(), range.end()); break;
    default: levels.checkNodesRevision(someTrack(choices));
    }
    // clang-format on
}

/// Thins a copy within a distance, and measures that it stays there.
void requireWithin(const AudLevelsCelRep& levels, double decibels)
{
    AudLevelsCelRep* const copy = new AudLevelsCelRep(levels);
    const Kt::Ptr<AudLevelsCelRep> held(copy);
    copy->thinToWithin(decibels);
    const auto real = [](const auto& node) {
        return std::isfinite(node.getLevel()) && std::fabs(node.getRawTime()) <= 1e12;
    };
    const Store before = levels.snapshot();
    if (std::all_of(before.nodes().begin(), before.nodes().end(), real))
        require(cel::worstLevelError(before, copy->snapshot()).decibels <= decibels + 1e-3,
                "a thinned envelope stays within its distance");
}

void requireSound(AudLevelsCelRep& levels)
{
    require(inOrder(levels.nodes()), "nodes are in order");
    levels.getExtents(Editable::kAllEvents, false);
    for (const double t : {-kInf, 0.0, 2.5, kInf, double(NAN)})
        levels.levelAt(t);
    // Equal times of neighbours are dropped, so the first reading may lose some.
    const Bytes settled = encodeLevels(*read(encodeLevels(levels), 3));
    require(settled == encodeLevels(*read(settled, 3)), "what was read is stored the same");
}

} // namespace

/// Any bytes as the body of an envelope's layer, the first of them as its revision; then edits.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr unsigned kRevisions = 5;
    constexpr int kEdits = 20;
    constexpr std::size_t kLarge = 256; ///< nodes; an envelope put into itself doubles
    if (size == 0)
        return 0;
    const auto levels =
        read(bytesOf(data + 1, size - 1), static_cast<unsigned char>(data[0] % kRevisions));
    Choices choices(bytesOf(data, size));
    requireSound(*levels);
    for (int i = 0; i < kEdits && levels->nodes().size() < kLarge; ++i)
        editLevels(*levels, choices);
    requireSound(*levels);
    if (levels->nodes().size() < kLarge)
        requireWithin(*levels, choices.below(64) / 4.0);
    return 0;
}

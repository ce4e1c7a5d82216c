#include "tools/cel/levels_show.h"

#include "tools/cel/envelope_drawing.h"
#include "tools/cel/level_values.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cmath>

namespace cel::tool {

namespace {

using Store = AudLevelsCel::Store;

/// Calls `each` with the index and the node of those in the stretch, and those at no time.
template <class Each>
void eachShown(const ShownLevels& shown, const Each& each)
{
    const auto nodes = shown.nodes.nodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const double t = nodes[i].getRawTime();
        if (!(t < shown.stretch.from - kTimeEpsilon) && !(t > shown.stretch.to + kTimeEpsilon))
            each(i, nodes[i]);
    }
}

std::string describeNode(const ShownLevels& shown, std::size_t index, const Store::Node& node)
{
    return padded(std::to_string(index + 1), 6) +
           padded(recordTimecode(shown.cut, node.getRawTime()), 13) +
           padded(number(node.getRawTime()) + " s", 16) +
           padded(describeDecibels(decibelsOf(node.getLevel())), 12) +
           padded(number(static_cast<double>(node.getLevel())), 12) +
           describeType(node.getNodeType()) + (node.isInAudioBlack() ? ", black" : "") + "\n";
}

std::string nodeTable(const ShownLevels& shown, bool all)
{
    constexpr std::size_t kShown = 40;
    std::size_t count = 0;
    std::string text;
    eachShown(shown, [&](std::size_t index, const Store::Node& node) {
        if (all || count < kShown)
            text += describeNode(shown, index, node);
        ++count;
    });
    if (!all && count > kShown)
        text += "and " + counted(static_cast<long long>(count - kShown), "node") +
                " more (--all lists them)\n";
    return text;
}

} // namespace

std::string describeLevels(const ShownLevels& shown, const Terminal& terminal, bool all)
{
    const std::string name = nameOfTrack(shown.cut, shown.track);
    if (!shown.present)
        return name + "  no level envelope; it plays at unity\n";
    const auto nodes = shown.nodes.nodes();
    const auto guards =
        std::count_if(nodes.begin(), nodes.end(), [](const auto& n) { return n.isGuardNode(); });
    const LevelSpan span = levelsIn(shown.nodes, shown.stretch);
    const std::string quietest = describeDecibels(decibelsOf(span.least));
    const std::string loudest = describeDecibels(decibelsOf(span.most));
    return name + "  " + counted(static_cast<long long>(nodes.size()), "node") +
           (guards > 0 ? ", " + std::to_string(guards) + " of them guards" : "") + "; " +
           (quietest == loudest ? quietest : quietest + " to " + loudest) + "\n\n" +
           drawEnvelope(shown.cut, shown.nodes, shown.stretch, terminal) + "\n" +
           nodeTable(shown, all);
}

Json levelsAsJson(const ShownLevels& shown)
{
    Json nodes = Json::array();
    eachShown(shown, [&](std::size_t index, const Store::Node& node) {
        Json json = Json::object();
        json.set("number", index + 1)
            .set("seconds", node.getRawTime())
            .set("timecode", recordTimecode(shown.cut, node.getRawTime()))
            .set("level", static_cast<double>(node.getLevel()))
            .set("decibels", decibelsOf(node.getLevel()))
            .set("type", describeType(node.getNodeType()))
            .set("black", node.isInAudioBlack());
        nodes.push(std::move(json));
    });
    Json json = Json::object();
    json.set("track", nameOfTrack(shown.cut, shown.track))
        .set("envelope", shown.present)
        .set("count", shown.nodes.size())
        .set("nodes", std::move(nodes));
    return json;
}

Json errorAsJson(const Cut& cut, const LevelError& error)
{
    Json json = Json::object();
    json.set("decibels", error.decibels)
        .set("seconds", error.time)
        .set("timecode", recordTimecode(cut, error.time));
    return json;
}

} // namespace cel::tool

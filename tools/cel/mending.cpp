#include "tools/cel/mending.h"

#include "cel/audit.h"
#include "cel/inspect.h"
#include "cel/plays_same.h"
#include "interchange/cel_stream.h"
#include "tools/cel/listed_sections.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>

namespace cel::tool {

namespace {

/// How much is wrong with a track: faults before warnings before notes.
using Score = std::array<std::size_t, 3>;

Score scoreOf(const std::vector<Finding>& findings)
{
    Score score{};
    for (const Finding& finding : findings)
        ++score[2 - static_cast<std::size_t>(finding.severity)];
    return score;
}

/// "2 gap, 1 order": by how much each kind of finding became rarer.
std::string whatIsGone(const std::vector<Finding>& before, const std::vector<Finding>& after)
{
    std::map<std::string_view, long> gone;
    for (const Finding& finding : before)
        ++gone[finding.invariant];
    for (const Finding& finding : after)
        --gone[finding.invariant];
    std::string text;
    for (const auto& [kind, count] : gone)
        if (count > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(kind);
    return text;
}

struct Remedy
{
    const char* done;
    void (*apply)(Cel& track);
};

constexpr Remedy kRemedies[] = {
    {"holes filled with black", [](Cel& track) { track.simplifyTidy(Editable::invalidRange()); }},
    {"sections of no length taken out",
     [](Cel& track) { track.simplifyZeroLengthSections(Editable::invalidRange()); }},
    {"black joined", [](Cel& track) { track.simplifyBlack(Editable::invalidRange()); }},
    {"times laid on the frames they missed by rounding",
     [](Cel& track) { track.quantiseInPlace(); }},
    {"black laid at normal speed, and all of the above",
     [](Cel& track) { track.simplifyAll(Editable::invalidRange()); }},
};

/// A track on its way from what the file holds to something better.
class Patient
{
public:
    explicit Patient(const Kt::Ptr<Cel>& track)
        : original_(track)
        , current_(track)
        , findings_(audit(*track))
    {
    }

    bool isSound() const { return findings_.empty(); }
    const Kt::Ptr<Cel>& track() const { return current_; }
    Kt::Ptr<Cel> copy() const { return copyOfTrack(*current_); }

    /// Takes a candidate that plays as the original does and has less wrong with it.
    /// @return what it mends, or nothing when it is not taken.
    std::optional<std::string> consider(const Kt::Ptr<Cel>& candidate)
    {
        std::vector<Finding> findings = audit(*candidate);
        if (!(scoreOf(findings) < scoreOf(findings_)) || !playsSame(*original_, *candidate))
            return std::nullopt;
        std::string gone = whatIsGone(findings_, findings);
        current_ = candidate;
        findings_ = std::move(findings);
        return gone;
    }

private:
    Kt::Ptr<Cel> original_;
    Kt::Ptr<Cel> current_;
    std::vector<Finding> findings_;
};

/// The tracks as any other command reads them: with their events put in order. Nothing when the
/// stored form cannot carry them.
std::vector<Kt::Ptr<Cel>> tracksInOrder(const Cut& cut)
{
    const bool before = setOrderRepair(true);
    std::string error;
    std::optional<LoadedCut> read = readCut(writeCut(cut), error);
    setOrderRepair(before);
    if (!read || read->cut.tracks.size() != cut.tracks.size())
        return {};
    return std::move(read->cut.tracks);
}

} // namespace

MendedCut mend(const Cut& cut)
{
    MendedCut mended{cut, {}};
    const std::vector<Kt::Ptr<Cel>> inOrder = tracksInOrder(cut);
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        Patient patient(cut.tracks[i]);
        const auto attempt = [&](const Kt::Ptr<Cel>& candidate, const char* done) {
            if (auto gone = patient.consider(candidate))
                mended.steps.push_back({i + 1, nameOfTrack(cut, i), done, *gone});
        };
        if (!patient.isSound() && !inOrder.empty())
            attempt(inOrder[i], "events put in order");
        for (const Remedy& remedy : kRemedies) {
            if (patient.isSound())
                break;
            const Kt::Ptr<Cel> candidate = patient.copy();
            remedy.apply(*candidate);
            settleBlack(*candidate);
            attempt(candidate, remedy.done);
        }
        mended.cut.tracks[i] = patient.track();
    }
    return mended;
}

} // namespace cel::tool

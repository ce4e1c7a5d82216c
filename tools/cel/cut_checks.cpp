#include "tools/cel/cut_checks.h"

#include "interchange/cut_levels.h"
#include "tools/cel/level_checks.h"
#include "tools/cel/listed_sections.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace cel::tool {

namespace {

/// Checks one track as part of a cut.
class TrackCheck
{
public:
    TrackCheck(const Cut& cut, std::size_t index)
        : cut_(cut)
        , track_(*cut.tracks[index])
        , number_(index + 1)
        , name_(nameOfTrack(cut, index))
    {
    }

    /// @param namesBefore  of the tracks in front of this one; receives its name.
    std::vector<CutFinding> run(std::set<std::string>& namesBefore, const SubtitleLimits& limits)
    {
        checkName(namesBefore);
        checkResolution();
        for (const Finding& found : audit(track_))
            report(found.invariant, found.severity, found.text, found.index);
        checkMaterials();
        checkLevels();
        checkTexts(limits);
        std::stable_sort(findings_.begin(), findings_.end(),
                         [](const auto& a, const auto& b) { return a.index < b.index; });
        return std::move(findings_);
    }

private:
    void checkName(std::set<std::string>& namesBefore)
    {
        if (track_.editChannelName().empty())
            report("track-name", Severity::note, "the track has no name");
        else if (!namesBefore.insert(name_).second)
            report("track-name", Severity::warning, "another track is called " + name_ + " too");
    }

    void checkResolution()
    {
        constexpr double kRounding = 1e-9; // text edit lists keep twelve decimals
        const double frame = cut_.rate.frameDuration();
        if (!(std::fabs(track_.get_resolution() - frame) <= kRounding))
            report("resolution", Severity::warning,
                   "a frame of the track lasts " + number(track_.get_resolution()) +
                       " s, one of the cut " + number(frame) + " s");
    }

    void checkMaterials()
    {
        const bool subtitles = kindOf(track_) == kSubtitleCookie;
        for (const ListedSection& section : sectionsOf(track_, cut_.materials)) {
            if (lacksMaterial(section.cookie))
                report("missing-material", Severity::warning,
                       "no clip is known for " + printable(section.cookie.asString(true).view()),
                       section.event);
            if (subtitles && section.cookie.type() != kSubtitleCookie)
                report("section-kind", Severity::warning,
                       std::string("it is ") + describeKind(section.cookie.type()) +
                           " among subtitles",
                       section.event);
        }
    }

    void checkLevels()
    {
        const AudLevelsCel levels = levelsOf(cut_, track_);
        if (levels.valid() && kindOf(track_) != kAudioCookie)
            report("levels-kind", Severity::warning,
                   "it has a level envelope, which only sound plays by");
        for (const LevelFinding& found : auditLevels(levels.snapshot())) {
            report(found.invariant, found.severity, found.text);
            findings_.back().place = "node " + std::to_string(found.index + 1) + " of its levels";
            if (isRealTime(found.time))
                findings_.back().place += " at " + recordTimecode(cut_, found.time);
        }
    }

    void checkTexts(const SubtitleLimits& limits)
    {
        const SubtitleTrack track = SubtitleTrack::createFromCel(Kt::Ptr<Cel>(&track_));
        for (const Finding& found : checkSubtitles(track, limits))
            if (std::string_view(found.invariant) != "overlap") // the audit has said so
                report(found.invariant, found.severity, found.text, found.index);
    }

    /// Recorded material has an entry in the table; what is made needs none. A cut without any
    /// table came from a form that names its material elsewhere.
    bool lacksMaterial(const Cookie& cookie) const
    {
        return !cut_.materials.materials().empty() && cookie.getInt3() != Cookie::kSynthetic &&
               cookie.type() != kInvalidCookie && cookie.type() != kSubtitleCookie &&
               !cut_.materials.find(cookie);
    }

    void report(const char* invariant, Severity severity, std::string text, int event = -1)
    {
        CutFinding finding;
        finding.severity = severity;
        finding.invariant = invariant;
        finding.text = std::move(text);
        finding.trackNumber = number_;
        finding.track = name_;
        finding.index = event;
        if (event >= 0)
            finding.time = track_.getChanEventPtr(event)->edit_time();
        findings_.push_back(std::move(finding));
    }

    const Cut& cut_;
    Cel& track_;
    std::size_t number_;
    std::string name_;
    std::vector<CutFinding> findings_;
};

} // namespace

std::vector<CutFinding> checkCut(const Cut& cut, const std::vector<LoadFinding>& damage,
                                 const SubtitleLimits& limits)
{
    std::vector<CutFinding> findings;
    for (const LoadFinding& place : damage) {
        CutFinding finding;
        finding.invariant = "file";
        finding.text =
            (place.where == "file" ? "" : printable(place.where) + ": ") + printable(place.text);
        finding.offset = place.offset;
        findings.push_back(std::move(finding));
    }
    std::set<std::string> names;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        std::vector<CutFinding> ofTrack = TrackCheck(cut, i).run(names, limits);
        std::move(ofTrack.begin(), ofTrack.end(), std::back_inserter(findings));
    }
    return findings;
}

std::vector<CutFinding> overlapsOf(const Cut& cut, const LossLedger& losses)
{
    std::vector<CutFinding> findings;
    for (const LossLedger::Entry& entry : losses.entries()) {
        if (entry.kind != "overlap")
            continue;
        CutFinding finding;
        finding.invariant = entry.kind;
        finding.text = entry.text;
        finding.trackNumber = 1;
        finding.track = nameOfTrack(cut, 0);
        finding.place = "line " + std::to_string(entry.line);
        findings.push_back(std::move(finding));
    }
    return findings;
}

} // namespace cel::tool

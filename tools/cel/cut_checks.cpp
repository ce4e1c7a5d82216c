#include "tools/cel/cut_checks.h"

#include "tools/cel/listed_sections.h"
#include "tools/cel/text.h"

#include <cmath>
#include <set>
#include <utility>

namespace cel::tool {

namespace {

CutFinding aboutTrack(const std::string& track, const char* invariant, Severity severity,
                      std::string text)
{
    CutFinding finding;
    finding.severity = severity;
    finding.invariant = invariant;
    finding.text = std::move(text);
    finding.track = track;
    return finding;
}

/// Recorded material has an entry in the table; what is made needs none. A cut without any table
/// came from a form that names its material elsewhere.
bool lacksMaterial(const Cut& cut, const Cookie& cookie)
{
    return !cut.materials.materials().empty() && cookie.getInt3() != Cookie::kSynthetic &&
           cookie.type() != kInvalidCookie && !cut.materials.find(cookie);
}

void checkMaterials(const Cut& cut, const Cel& track, const std::string& name,
                    std::vector<CutFinding>& findings)
{
    for (const ListedSection& section : sectionsOf(track, cut.materials)) {
        if (!lacksMaterial(cut, section.cookie))
            continue;
        CutFinding finding =
            aboutTrack(name, "missing-material", Severity::warning,
                       "no clip is known for " + printable(section.cookie.asString(true).view()));
        finding.index = section.event;
        finding.time = section.record.from;
        findings.push_back(std::move(finding));
    }
}

void checkResolution(const Cut& cut, const Cel& track, const std::string& name,
                     std::vector<CutFinding>& findings)
{
    constexpr double kRounding = 1e-9; // text edit lists keep twelve decimals
    const double frame = cut.rate.frameDuration();
    if (!(std::fabs(track.get_resolution() - frame) <= kRounding))
        findings.push_back(aboutTrack(name, "resolution", Severity::warning,
                                      "a frame of the track lasts " +
                                          number(track.get_resolution()) + " s, one of the cut " +
                                          number(frame) + " s"));
}

void checkNames(const Cut& cut, std::vector<CutFinding>& findings)
{
    std::set<std::string> seen;
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const std::string name = nameOfTrack(cut, i);
        if (cut.tracks[i]->editChannelName().empty())
            findings.push_back(
                aboutTrack(name, "track-name", Severity::note, "the track has no name"));
        else if (!seen.insert(name).second)
            findings.push_back(aboutTrack(name, "track-name", Severity::warning,
                                          "more than one track is called " + name));
    }
}

} // namespace

std::vector<CutFinding> checkCut(const Cut& cut, const std::vector<LoadFinding>& damage)
{
    std::vector<CutFinding> findings;
    for (const LoadFinding& place : damage) {
        const std::string where = place.where == "file" ? "" : printable(place.where) + ": ";
        CutFinding finding = aboutTrack("", "file", Severity::fault, where + printable(place.text));
        finding.offset = place.offset;
        findings.push_back(std::move(finding));
    }
    checkNames(cut, findings);
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const Cel& track = *cut.tracks[i];
        const std::string name = nameOfTrack(cut, i);
        checkResolution(cut, track, name, findings);
        for (const Finding& found : audit(track)) {
            CutFinding finding = aboutTrack(name, found.invariant, found.severity, found.text);
            finding.index = found.index;
            finding.time = found.time;
            findings.push_back(std::move(finding));
        }
        checkMaterials(cut, track, name, findings);
    }
    return findings;
}

} // namespace cel::tool

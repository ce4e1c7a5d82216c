#include "tools/cel/material_source.h"

#include "tools/cel/adopt_material.h"
#include "tools/cel/commands.h"
#include "tools/cel/cut_files.h"
#include "tools/cel/positions.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <utility>

namespace cel::tool {

namespace {

/// The tracks that material comes from, and what the edited cut calls it.
class Source
{
public:
    explicit Source(Cut& edited)
        : edited_(edited)
        , cut_(edited)
    {
    }

    void open(const OpenedCut& edited, const std::string& path)
    {
        file_ = path;
        OpenedCut opened = openBeside(edited, path);
        if (!opened.findings.empty())
            throw Failure(kUnreadable, path + ": the file is damaged; cel check says where");
        cut_ = std::move(opened.cut);
    }

    const Cut& cut() const { return cut_; }

    MaterialStretch stretch(std::size_t track, const std::vector<std::string>& range) const
    {
        const Kt::Ptr<Cel> all = copyOfTrack(*cut_.tracks[track]);
        const std::string name =
            nameOfTrack(cut_, track) + (file_.empty() ? "" : " of " + printable(file_));
        if (all->numEvents() == 0)
            throw Failure(kUsage, "--from: " + name + " is empty");
        if (!file_.empty())
            adoptNamedMaterial(*all, cut_.materials, edited_.materials, printable(file_));
        const double from = end("--range A", range, 0, all->get_start_time(), *all, name);
        const double to = end("--range B", range, 1, all->get_end_time(), *all, name);
        if (!(to > from + kTimeEpsilon))
            throw Failure(kUsage, "--range must end after it begins");
        return {all, {from, to}, {}, name, levelsOf(cut_, *cut_.tracks[track])};
    }

private:
    /// One end of the range; what is there without one.
    double end(const char* what, const std::vector<std::string>& range, std::size_t index,
               double otherwise, const Cel& track, const std::string& name) const
    {
        if (range.empty())
            return otherwise;
        const double lowest = track.get_start_time();
        const double highest = track.get_end_time();
        const double seconds = positionOf(what, range[index], cut_);
        if (!(seconds >= lowest - kTimeEpsilon && seconds <= highest + kTimeEpsilon))
            throw Failure(kUsage, std::string(what) + " " + printable(range[index]) +
                                      " must lie between " + describePosition(cut_, lowest) +
                                      " and " + describePosition(cut_, highest) + " on " + name);
        return std::clamp(seconds, lowest, highest);
    }

    Cut& edited_;
    Cut cut_;
    std::string file_; ///< empty for the edited cut
};

std::vector<MaterialStretch> blackFor(const Cut& cut, const std::vector<std::size_t>& tracks,
                                      const std::string& text)
{
    const double length = lengthOf("--black", text, cut.rate);
    if (!(length >= cut.rate.frameDuration() - kTimeEpsilon && length <= kLongestCut))
        throw Failure(kUsage, "--black " + printable(text) + " must be between " +
                                  describeLength(cut.rate, cut.rate.frameDuration()) + " and " +
                                  describeLength(cut.rate, kLongestCut));
    std::vector<MaterialStretch> material;
    for (const std::size_t track : tracks)
        material.push_back({nullptr,
                            {0.0, length},
                            blackOf(*cut.tracks[track]),
                            "black",
                            AudLevelsCel::createInvalid()});
    return material;
}

} // namespace

std::vector<std::string> splitNames(const std::string& names)
{
    std::vector<std::string> single;
    for (std::size_t from = 0; from <= names.size();) {
        const std::size_t comma = std::min(names.find(',', from), names.size());
        single.push_back(names.substr(from, comma - from));
        from = comma + 1;
    }
    return single;
}

std::vector<std::size_t> tracksOfList(const Cut& cut, const std::string& names)
{
    for (std::size_t i = 0; i < cut.tracks.size(); ++i)
        if (nameOfTrack(cut, i) == names)
            return {i};
    return chosenTracks(cut, splitNames(names));
}

std::vector<MaterialStretch> collectMaterial(const OpenedCut& opened, Cut& cut,
                                             const std::vector<std::size_t>& tracks,
                                             const MaterialRequest& request)
{
    if (!request.black.empty())
        return blackFor(cut, tracks, request.black);
    Source source(cut);
    if (request.from.size() == 2)
        source.open(opened, request.from.front());
    const std::vector<std::size_t> chosen = tracksOfList(source.cut(), request.from.back());
    if (chosen.size() != tracks.size())
        throw Failure(kUsage, "--from " + printable(request.from.back()) + ": " +
                                  counted(static_cast<long long>(chosen.size()), "track") +
                                  " for the " +
                                  counted(static_cast<long long>(tracks.size()), "track") +
                                  " to edit; name as many, separated by commas");
    std::vector<MaterialStretch> material;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const Cel& from = *source.cut().tracks[chosen[i]];
        const Cel& to = *cut.tracks[tracks[i]];
        if (kindOf(from) != kindOf(to))
            throw Failure(kUsage, "--from: " + nameOfTrack(source.cut(), chosen[i]) + " is " +
                                      describeKind(kindOf(from)) + ", " +
                                      nameOfTrack(cut, tracks[i]) + " is " +
                                      describeKind(kindOf(to)));
        material.push_back(source.stretch(chosen[i], request.range));
    }
    return material;
}

} // namespace cel::tool

#pragma once

#include "tools/cel/cut_files.h"
#include "tools/cel/edit_operation.h"
#include "tools/cel/edit_report.h"
#include "tools/cel/track_edit.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cel::tool {

/// An edit as it was typed.
struct EditRequest
{
    std::string file;
    std::string tracks;
    std::vector<std::string> unknown; ///< what was typed in place of an operation
    EditTexts texts;
    std::vector<std::string> from;
    std::string to;
    std::string output;
    std::size_t width = 0; ///< 0 for the terminal's
    bool dryRun = false;
    bool picture = false;
    bool force = false;
    bool json = false;
};

/// An edit from its request to its result in memory. Files are read and none is written.
class Edit
{
public:
    /// @throws Failure for a file that cannot be edited and options that do not fit together.
    Edit(const EditOperation& operation, const EditRequest& request);

    /// Edits each track in memory; when one refuses, none was edited.
    /// @throws Failure as `EditOperation::run`.
    void run();

    const OpenedCut& opened() const { return opened_; }
    const Cut& before() const { return opened_.cut; }
    const std::vector<EditedTrack>& tracks() const { return tracks_; }
    bool changesCut() const;

    /// What is to be saved: the edited cut, or with `--to FILE` a cut of what was taken out.
    Cut result() const;

    /// Where to; the edited file itself unless another is named.
    std::string target() const;

private:
    void checkOptions() const;
    bool makesFile() const { return !request_.to.empty() && kindOfName(request_.to).has_value(); }
    EditedTrack editTrack(std::size_t index, std::optional<MaterialStretch> material);
    void checkOutcome(EditedTrack& edited) const;
    void placeProduced();
    void placeRolls();
    void addTrack(const std::string& name, const Kt::Ptr<Cel>& made, CookieType kind,
                  const AudLevelsCel& levels);

    const EditOperation& operation_;
    const EditRequest& request_;
    OpenedCut opened_;
    Cut cut_; ///< shares the tracks that are not edited
    std::vector<EditedTrack> tracks_;
};

/// The name of an argument without the brackets that say that it may be left out.
std::string plainName(const EditArgument& argument);

} // namespace cel::tool

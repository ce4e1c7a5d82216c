#include "interchange/text_list.h"
#include "fuzz/fuzz.h"
#include "platform/support/TextFile.h"

#include <sstream>

/// Any text as a file of text edit lists, read by the importer and by a track.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    TextFile file;
    std::istringstream lines{std::string(textOf(data, size))};
    for (std::string line; std::getline(lines, line);)
        file.appendLine(line);
    Choices choices(bytesOf(data, size));

    const Kt::Ptr<Cel> track(new Cel(0, 0.04));
    try {
        track->buildFrom(file, static_cast<unsigned short>(choices.below(3)));
    } catch (const Kt::Exception::Base&) {
        require(track->numEvents() == 0, "a block with an impossible frame adds nothing");
    }
    examine(*track, choices);
    requireStableForm(*track);

    std::string error;
    const auto imported = cel::importTextList(file, error);
    require(imported.has_value() == error.empty(), "a cut or an error, not both");
    if (!imported)
        return 0;
    requireReadable(imported->cut);
    TextFile again;
    cel::exportTextList(imported->cut, again);
    return 0;
}

#include "interchange/text_list.h"
#include "fuzz/fuzz.h"
#include "platform/support/TextFile.h"

namespace {

TextFile linesOf(std::string_view text)
{
    TextFile file;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        file.appendLine(LightweightString<char>(line));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return file;
}

} // namespace

/// Any text as a file of text edit lists, read by the importer and by a track.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cel::fuzz;
    TextFile file = linesOf(textOf(data, size));
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

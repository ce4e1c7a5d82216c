// A file of styles, which is also what a preference of a font may hold.

#include "fuzz/fuzz.h"

#include "platform/support/JSON.h"
#include "subtitles/SubtitleStyle.h"

#include <string>

namespace {

std::string written(const SubtitleStyle& style)
{
    JSON::Builder builder(2);
    builder.startChild();
    style.write(builder);
    builder.endChild();
    return std::string(builder.getOutput().view());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using cel::fuzz::require;
    const auto root = JSON::parse(cel::fuzz::textOf(data, size));
    FontDefinition font;
    font.read(root);
    const auto list = root ? root->getChild("styles") : nullptr;
    for (std::size_t i = 0; list && i < 1000; ++i) {
        const auto element = list->getChild(i);
        if (!element)
            break;
        SubtitleStyle style;
        require(style.read(element) == style.valid(), "a style that was read has an identifier");
        const std::string once = written(style);
        const auto parsed = JSON::parse(once);
        require(parsed != nullptr, "what is written can be read");
        SubtitleStyle again;
        require(again.read(parsed) == style.valid() && again == style,
                "a style that was written is read as the same");
        require(written(again) == once, "what is read is written as it was");
    }
    return 0;
}

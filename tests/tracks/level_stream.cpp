#include "tests/tracks/level_stream.h"

#include "platform/support/PStream.h"
#include "platform/support/layers.h"

#include <stdexcept>

namespace cel::test {

DecodedLevels decodeLevels(std::span<const std::byte> body, int revision)
{
    StreamFile file;
    PStream stream(file);
    writeLayer(stream, AudLevelsCelRep::shortLayerName().view(), [&](PStream& layer) {
        layer.file().write(body);
        return static_cast<unsigned char>(revision);
    });
    DecodedLevels result;
    const auto builder = StreamClassRegistrar::find(nextLayerName(stream));
    result.levels = dynamicCast<AudLevelsCelRep>(builder(stream));
    result.levels->STRM_hierarchyUnpack(stream);
    result.notes = stream.errorText().text();
    result.atEnd = stream.atEnd();
    return result;
}

std::vector<std::byte> encodeLevels(const AudLevelsCelRep& levels)
{
    StreamFile file;
    PStream stream(file);
    levels.STRM_hierarchyPack(stream);
    const auto frame = peekLayer(stream);
    if (!frame || frame->revision != 3)
        throw std::runtime_error("an envelope was packed as no layer of revision 3");
    const auto body = file.bytes().subspan(frame->bodyOffset, frame->bodyBytes);
    return {body.begin(), body.end()};
}

} // namespace cel::test

#include "tests/support/golden.h"

#include "platform/support/PStream.h"
#include "platform/support/layers.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace cel::test {

std::vector<std::byte> hexFile(std::string_view name)
{
    const std::string path = std::string(CEL_TEST_DATA "/") + std::string(name) + ".hex";
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    std::vector<std::byte> bytes;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string word; words >> word;) {
            if (word == "include" && words >> word) {
                const std::vector<std::byte> more = hexFile(word);
                bytes.insert(bytes.end(), more.begin(), more.end());
                continue;
            }
            unsigned value = 0;
            const char* end = word.data() + word.size();
            if (word.size() != 2 || std::from_chars(word.data(), end, value, 16).ptr != end)
                throw std::runtime_error(path + ": no byte: " + word);
            bytes.push_back(static_cast<std::byte>(value));
        }
    }
    return bytes;
}

Decoded decode(std::span<const std::byte> body, int revision, Kt::Ptr<Cel> track)
{
    StreamFile file;
    PStream stream(file);
    writeLayer(stream, Cel::shortLayerName().view(), [&](PStream& layer) {
        layer.file().write(body);
        return static_cast<unsigned char>(revision);
    });
    Decoded result;
    result.track = track ? track : dynamicCast<Cel>(Cel::STRM_L_Cel_builder(stream));
    Cel::STRM_layerUnpack(result.track.get(), stream);
    result.notes = stream.errorText().text();
    return result;
}

Encoded encode(const Cel& track)
{
    StreamFile file;
    PStream stream(file);
    track.STRM_hierarchyPack(stream);
    const auto frame = peekLayer(stream);
    if (!frame)
        throw std::runtime_error("a track was packed as no layer");
    const auto body = file.bytes().subspan(frame->bodyOffset, frame->bodyBytes);
    return {{body.begin(), body.end()}, frame->revision};
}

std::string hexText(std::span<const std::byte> bytes)
{
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text += kDigits[static_cast<unsigned>(bytes[i]) >> 4];
        text += kDigits[static_cast<unsigned>(bytes[i]) & 15];
        text += i % 16 == 15 ? '\n' : ' ';
    }
    return text;
}

} // namespace cel::test

#include "platform/support/layers.h"

#include <cstring>

namespace cel {

namespace {

constexpr std::size_t kRevisionAndLength = sizeof(std::uint8_t) + sizeof(std::uint64_t);
constexpr std::size_t kChecksum = sizeof(std::uint32_t);

/// Takes a value off the front of `bytes`. @return false when there are too few.
template <class T>
bool takeValue(std::span<const std::byte>& bytes, T& value)
{
    if (bytes.size() < sizeof(T))
        return false;
    std::memcpy(&value, bytes.data(), sizeof(T));
    bytes = bytes.subspan(sizeof(T));
    return true;
}

/// The frame at the reading position, without its checksum, or none. Nothing in the stream
/// changes, its fault flag included: looking is not reading.
std::optional<LayerFrame> frameHere(StreamFile& file)
{
    const auto here = file.bytes().subspan(file.position(), file.remaining());
    auto rest = here;
    std::uint32_t nameBytes = 0;
    if (!takeValue(rest, nameBytes) || rest.size() < nameBytes)
        return std::nullopt;
    const std::string_view name(reinterpret_cast<const char*>(rest.data()), nameBytes);
    rest = rest.subspan(nameBytes);

    LayerFrame frame;
    std::uint64_t bodyBytes = 0;
    if (!takeValue(rest, frame.revision) || !takeValue(rest, bodyBytes) ||
        rest.size() < kChecksum || bodyBytes > rest.size() - kChecksum)
        return std::nullopt;
    frame.name = name;
    frame.frameOffset = file.position();
    frame.bodyOffset = file.position() + (here.size() - rest.size());
    frame.bodyBytes = static_cast<std::size_t>(bodyBytes);
    return frame;
}

std::size_t frameEnd(const LayerFrame& frame)
{
    return frame.bodyOffset + frame.bodyBytes + kChecksum;
}

bool checksumMatches(StreamFile& file, const LayerFrame& frame)
{
    const std::size_t covered = frame.bodyOffset + frame.bodyBytes - frame.frameOffset;
    auto stored = file.bytes().subspan(frame.frameOffset + covered, kChecksum);
    std::uint32_t checksum = 0;
    return takeValue(stored, checksum) &&
           checksum == crc32c(file.bytes().subspan(frame.frameOffset, covered));
}

/// Limits a stream to a layer's body for as long as it lives, and then leaves it behind the layer.
class BodyLimit
{
public:
    BodyLimit(StreamFile& file, const LayerFrame& frame)
        : file_(file)
        , end_(frameEnd(frame))
    {
        file_.seek(frame.bodyOffset);
        formerLimit_ = file_.limitTo(frame.bodyBytes);
    }
    BodyLimit(const BodyLimit&) = delete;
    BodyLimit& operator=(const BodyLimit&) = delete;
    ~BodyLimit()
    {
        file_.restoreLimit(formerLimit_);
        file_.seek(end_);
    }

private:
    StreamFile& file_;
    std::size_t end_;
    std::size_t formerLimit_;
};

/// A frame that is being written; taken back unless it is finished, so that a reader never meets
/// half of one.
class UnfinishedFrame
{
public:
    explicit UnfinishedFrame(StreamFile& file)
        : file_(file)
        , offset_(file.bytes().size())
    {
    }
    UnfinishedFrame(const UnfinishedFrame&) = delete;
    UnfinishedFrame& operator=(const UnfinishedFrame&) = delete;
    ~UnfinishedFrame()
    {
        if (!finished_)
            file_.truncate(offset_);
    }

    std::size_t offset() const { return offset_; }
    void finish() { finished_ = true; }

private:
    StreamFile& file_;
    const std::size_t offset_;
    bool finished_ = false;
};

} // namespace

void writeLayer(PStream& stream, std::string_view name,
                const std::function<unsigned char(PStream&)>& body)
{
    StreamFile& file = stream.file();
    UnfinishedFrame frame(file);
    stream << LightweightString<char>(name);
    const std::size_t revisionOffset = file.bytes().size();
    file.extend(kRevisionAndLength);
    const std::size_t bodyOffset = file.bytes().size();
    file.keepChecksum();
    const std::uint8_t revision = body(stream);
    const std::uint64_t bodyBytes = file.bytes().size() - bodyOffset;

    std::byte* const header = file.written(revisionOffset, kRevisionAndLength).data();
    std::memcpy(header, &revision, sizeof(revision));
    std::memcpy(header + sizeof(revision), &bodyBytes, sizeof(bodyBytes));
    file.setUnsignedLong(file.checksumFrom(frame.offset()));
    frame.finish();
}

LightweightString<char> nextLayerName(PStream& stream)
{
    const auto frame = frameHere(stream.file());
    return frame ? frame->name : LightweightString<char>();
}

LightweightString<char> layerNameBehindNext(PStream& stream)
{
    StreamFile& file = stream.file();
    const auto frame = frameHere(file);
    if (!frame)
        return {};
    const std::size_t here = file.position();
    file.seek(frameEnd(*frame));
    const LightweightString<char> name = nextLayerName(stream);
    file.seek(here);
    return name;
}

std::optional<LayerFrame> peekLayer(PStream& stream)
{
    auto frame = frameHere(stream.file());
    if (frame)
        frame->checksumMatches = checksumMatches(stream.file(), *frame);
    return frame;
}

bool readLayer(PStream& stream, std::string_view name,
               const std::function<void(const LayerFrame&)>& body)
{
    StreamFile& file = stream.file();
    const std::string place = "\"" + std::string(name) + "\" at byte ";
    auto frame = frameHere(file);
    if (!frame || frame->name.view() != name) {
        stream.errorText().append("No whole layer " + place + std::to_string(file.position()) +
                                  "\n");
        return false;
    }
    frame->checksumMatches = checksumMatches(file, *frame);
    if (!frame->checksumMatches)
        stream.damageText().append("Checksum does not match: layer " + place +
                                   std::to_string(frame->frameOffset) + "\n");
    const BodyLimit limit(file, *frame);
    body(*frame);
    return true;
}

void skipLayer(PStream& stream, const LayerFrame& frame)
{
    stream.file().seek(frameEnd(frame));
}

} // namespace cel

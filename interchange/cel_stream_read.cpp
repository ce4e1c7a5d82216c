#include "interchange/cel_stream.h"

#include "interchange/cel_stream_format.h"
#include "interchange/text_lines.h"
#include "platform/foundation/Exception.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

namespace cel {

namespace {

constexpr std::size_t kLargestFile = std::size_t(2) << 30;
constexpr std::size_t kMostFindings = 100;
class CutReader
{
public:
    explicit CutReader(StreamFile& file)
        : file_(file)
    {
    }

    std::optional<LoadedCut> read(std::string& error)
    {
        if (!readHeader(error))
            return std::nullopt;
        while (!file_.atEnd() && readNextLayer())
            ;
        if (tracksRead_ == 0 && !head_.sawCut && !head_.sawMaterials) {
            error = "it holds nothing that can be read as a cut";
            return std::nullopt;
        }
        completeCut(result_.cut, head_, reporter(file_.position()));
        if (findings_ > kMostFindings)
            result_.findings.push_back(
                {file_.position(), "file",
                 std::to_string(findings_ - kMostFindings) + " more findings"});
        return std::move(result_);
    }

private:
    bool readHeader(std::string& error)
    {
        PStream stream(file_);
        switch (readObjectStreamHeader(stream)) {
        case ObjectStreamHeader::ok:
            return true;
        case ObjectStreamHeader::newerVersion:
            error = "it was written by a later version of this program";
            return false;
        case ObjectStreamHeader::truncated:
            error = "it ends within its first bytes";
            return false;
        case ObjectStreamHeader::notAnObjectStream:
            break;
        }
        error = "it is no stream of a cut";
        return false;
    }

    /// @return false when the file cannot be read any further.
    bool readNextLayer()
    {
        PStream stream(file_);
        const std::size_t offset = file_.position();
        const LightweightString<char> name = nextLayerName(stream);
        if (name.empty()) {
            report(offset, "file",
                   "a layer is damaged or cut off; the remaining " +
                       std::to_string(file_.remaining()) + " bytes were not read");
            return false;
        }
        if (name.view() == kCutLayer && !head_.sawCut)
            readCutLayer(stream, result_.cut, head_, reporter(offset));
        else if (name.view() == kMaterialLayer && !head_.sawMaterials)
            readMaterialLayer(stream, result_.cut, head_, reporter(offset));
        else if (name.view() == kObjectLayer)
            readObjectLayer(stream, result_.cut, reporter(offset));
        else if (const Kt::Ptr<Cel> track = trackForLayer(stream, name))
            return readTrack(stream, offset, name, track);
        else
            skip(stream, offset, name);
        return true;
    }

    bool readTrack(PStream& stream, std::size_t offset, const LightweightString<char>& layer,
                   const Kt::Ptr<Cel>& track)
    {
        std::vector<Kt::Ptr<Cel>>& tracks = result_.cut.tracks;
        if (tracks.size() == kMostTracks) {
            report(offset, "file",
                   "it has more than " + std::to_string(kMostTracks) +
                       " tracks; the rest was not read");
            return false;
        }
        std::string fault;
        try {
            track->STRM_hierarchyUnpack(stream);
        } catch (const Kt::Exception::Base& exception) {
            fault = exception.what();
        }
        const bool endedEarly = file_.faulted();
        file_.clearFault();
        if (file_.position() == offset) {
            // Registered, but under another layer name: nobody has read it.
            skip(stream, offset, layer);
            return true;
        }
        const std::string where = trackText(*track, layer);
        reportNotes(stream, where, reporter(offset));
        if (endedEarly && stream.errorText().empty())
            report(offset, where, "it ends too early; the last events are missing");
        if (!fault.empty()) {
            report(offset, where, "the track cannot be read: " + fault);
            return true;
        }
        ++tracksRead_;
        if (track->chunkSize() == 0)
            report(offset, where, "the layer is empty");
        tracks.push_back(track);
        return true;
    }

    void skip(PStream& stream, std::size_t offset, const LightweightString<char>& name)
    {
        const bool repeated = name.view() == kCutLayer || name.view() == kMaterialLayer;
        report(offset, layerText(name.view()),
               repeated ? "a second layer of this name was skipped"
                        : "nothing is known of this layer; it was skipped");
        if (const auto frame = peekLayer(stream)) {
            if (!frame->checksumMatches)
                report(offset, layerText(name.view()), "its checksum does not match");
            skipLayer(stream, *frame);
        }
    }

    std::string trackText(const Cel& track, const LightweightString<char>& layer) const
    {
        std::string name = asOneLine(track.editChannelName().view(), 40);
        if (name.empty())
            name = std::to_string(result_.cut.tracks.size() + 1);
        return "track " + name + " (" + layerText(layer.view()) + ")";
    }

    CutReport reporter(std::size_t offset)
    {
        return [this, offset](std::string_view where, std::string_view text) {
            report(offset, where, text);
        };
    }

    void report(std::size_t offset, std::string_view where, std::string_view text)
    {
        if (++findings_ <= kMostFindings)
            result_.findings.push_back({offset, std::string(where), std::string(text)});
    }

    StreamFile& file_;
    LoadedCut result_;
    std::size_t findings_ = 0;
    std::size_t tracksRead_ = 0;
    CutHead head_;
};

} // namespace

std::optional<LoadedCut> readCut(std::span<const std::byte> bytes, std::string& error)
{
    StreamFile file(bytes);
    return CutReader(file).read(error);
}

std::optional<LoadedCut> loadCut(const std::filesystem::path& path, std::string& error)
{
    ReadResult file = readFile(path, kLargestFile);
    if (!file) {
        error = file.error;
        return std::nullopt;
    }
    auto loaded = CutReader(file.file).read(error);
    if (!loaded)
        error = pathToUtf8(path) + ": " + error;
    return loaded;
}

} // namespace cel

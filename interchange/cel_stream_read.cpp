#include "interchange/cel_stream.h"

#include "interchange/cel_stream_format.h"
#include "interchange/text_lines.h"
#include "platform/foundation/Exception.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"

namespace cel {

namespace {

constexpr std::size_t kLargestFile = std::size_t(2) << 30;
constexpr std::size_t kMostFindings = 100;
constexpr std::int64_t kFarthestStart = 1'000'000'000'000;

constexpr FrameRate kFallbackRate{25, 1, false};

std::string layerText(const LightweightString<char>& name)
{
    return "layer " + asOneLine(name.view(), 20);
}

/// The notes of a reader as one line.
std::string noteText(const GrowString& notes)
{
    std::string text(trimmed(notes.text()));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.replace(at, 1, "; ");
    return text;
}

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
        if (layersRead_ == 0) {
            error = "it holds nothing that can be read as a cut";
            return std::nullopt;
        }
        complete();
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
        if (name.view() == kCutLayer && !sawCut_)
            readCutLayer(stream, offset);
        else if (name.view() == kMaterialLayer && !sawMaterials_)
            readMaterials(stream, offset);
        else if (const Kt::Ptr<Cel> track = trackForLayer(stream, name))
            return readTrack(stream, offset, name, track);
        else
            skip(stream, offset, name);
        return true;
    }

    void readCutLayer(PStream& stream, std::size_t offset)
    {
        sawCut_ = true;
        const std::string where = layerText(kCutLayer);
        readLayer(stream, kCutLayer, [&](const LayerFrame& frame) {
            LightweightString<char> title;
            stream >> title;
            Cut& cut = result_.cut;
            cut.title = title.view();
            cut.rate.numerator = file_.getLong();
            cut.rate.denominator = file_.getLong();
            cut.rate.dropFrame = file_.getCookedChar() != 0;
            const auto start = static_cast<std::int64_t>(file_.getUnsigned64());
            tracksNamed_ = file_.getUnsignedLong();
            const bool near = start >= -kFarthestStart && start <= kFarthestStart;
            cut.startFrame = near ? start : 0;
            rateRead_ = isUsable(cut.rate);
            if (!rateRead_)
                report(offset, where, "it names no usable frame rate");
            if (!near)
                report(offset, where, "its start timecode is out of range; 0 was taken");
            reportBody(stream, frame, where, kCutRevision);
        });
        reportNotes(stream, offset, where);
    }

    void readMaterials(PStream& stream, std::size_t offset)
    {
        sawMaterials_ = true;
        const std::string where = layerText(kMaterialLayer);
        readLayer(stream, kMaterialLayer, [&](const LayerFrame& frame) {
            result_.cut.materials.unpack(stream, frame.revision);
            reportBody(stream, frame, where, MaterialTable::kRevision);
        });
        reportNotes(stream, offset, where);
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
        reportNotes(stream, offset, where);
        if (endedEarly && stream.errorText().empty())
            report(offset, where, "it ends too early; the last events are missing");
        if (!fault.empty()) {
            report(offset, where, "the track cannot be read: " + fault);
            return true;
        }
        ++layersRead_;
        if (track->chunkSize() == 0)
            report(offset, where, "the layer is empty");
        tracks.push_back(track);
        return true;
    }

    void skip(PStream& stream, std::size_t offset, const LightweightString<char>& name)
    {
        const bool repeated = name.view() == kCutLayer || name.view() == kMaterialLayer;
        report(offset, layerText(name),
               repeated ? "a second layer of this name was skipped"
                        : "nothing is known of this layer; it was skipped");
        if (const auto frame = peekLayer(stream)) {
            if (!frame->checksumMatches)
                report(offset, layerText(name), "its checksum does not match");
            skipLayer(stream, *frame);
        }
    }

    std::string trackText(const Cel& track, const LightweightString<char>& layer) const
    {
        std::string name = asOneLine(track.editChannelName().view(), 40);
        if (name.empty())
            name = std::to_string(result_.cut.tracks.size() + 1);
        return "track " + name + " (" + layerText(layer) + ")";
    }

    /// What is true of the body of every layer: its revision, and that all of it was read.
    void reportBody(PStream& stream, const LayerFrame& frame, const std::string& where,
                    unsigned char revision)
    {
        ++layersRead_;
        if (frame.revision != revision)
            report(frame.frameOffset, where,
                   "it has the unknown revision " + std::to_string(frame.revision));
        if (file_.faulted())
            report(frame.frameOffset, where, "it ends too early");
        else if (!stream.atEnd() && stream.errorText().empty())
            report(frame.frameOffset, where,
                   std::to_string(stream.remaining()) + " bytes at its end mean nothing");
        file_.clearFault();
    }

    void reportNotes(PStream& stream, std::size_t offset, const std::string& where)
    {
        if (!stream.damageText().empty())
            report(offset, where, "its checksum does not match: it is not what was written");
        if (!stream.errorText().empty())
            report(offset, where, noteText(stream.errorText()));
    }

    /// Fills in what the file did not say, and says so.
    void complete()
    {
        Cut& cut = result_.cut;
        const std::size_t end = file_.position();
        if (!rateRead_)
            cut.rate = cut.tracks.empty()
                           ? kFallbackRate
                           : rateOfFrameDuration(cut.tracks.front()->get_resolution());
        if (!sawCut_)
            report(end, "file",
                   "title, frame rate and start are missing; " + describe(cut.rate) +
                       " frames a second were taken");
        if (!sawMaterials_)
            report(end, "file", "the names of the material are missing");
        if (sawCut_ && tracksNamed_ != cut.tracks.size())
            report(end, "file",
                   "it should hold " + std::to_string(tracksNamed_) + " tracks, but " +
                       std::to_string(cut.tracks.size()) + " could be read");
        if (findings_ > kMostFindings)
            result_.findings.push_back(
                {end, "file", std::to_string(findings_ - kMostFindings) + " more findings"});
    }

    void report(std::size_t offset, std::string_view where, std::string_view text)
    {
        if (++findings_ <= kMostFindings)
            result_.findings.push_back({offset, std::string(where), std::string(text)});
    }

    StreamFile& file_;
    LoadedCut result_;
    std::size_t findings_ = 0;
    std::size_t layersRead_ = 0;
    std::size_t tracksNamed_ = 0;
    bool sawCut_ = false;
    bool sawMaterials_ = false;
    bool rateRead_ = false;
};

} // namespace

Kt::Ptr<Cel> trackForLayer(PStream& stream, const LightweightString<char>& layer)
{
    const StreamClassRegistrar::Builder build = StreamClassRegistrar::find(layer);
    return build ? Kt::dynamicCast<Cel>(build(stream)) : nullptr;
}

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

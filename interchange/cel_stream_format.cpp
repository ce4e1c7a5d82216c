#include "interchange/cel_stream_format.h"

#include "interchange/cut_levels.h"
#include "interchange/text_lines.h"
#include "interchange/track_guard.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/layers.h"

namespace cel {

namespace {

constexpr std::int64_t kFarthestStart = 1'000'000'000'000;

constexpr FrameRate kFallbackRate{25, 1, false};

void packCutLayer(const Cut& cut, PStream& stream)
{
    StreamFile& file = stream.file();
    stream << LightweightString<char>(cut.title);
    file.setLong(cut.rate.numerator);
    file.setLong(cut.rate.denominator);
    file.setCookedChar(cut.rate.dropFrame ? 1 : 0);
    file.setUnsigned64(static_cast<std::uint64_t>(cut.startFrame));
    file.setUnsignedLong(static_cast<std::uint32_t>(cut.tracks.size()));
}

/// What is true of the body of every layer: its revision, and that all of it was read.
void reportBody(PStream& stream, const LayerFrame& frame, unsigned char revision,
                std::string_view where, const CutReport& report)
{
    if (frame.revision != revision)
        report(where, "it has the unknown revision " + std::to_string(frame.revision));
    if (stream.file().faulted())
        report(where, "it ends too early");
    else if (!stream.atEnd() && stream.errorText().empty())
        report(where, std::to_string(stream.remaining()) + " bytes at its end mean nothing");
    stream.file().clearFault();
}

} // namespace

std::string layerText(std::string_view name)
{
    return "layer " + asOneLine(name, 20);
}

std::string noteText(std::string_view notes)
{
    std::string text(trimmed(notes));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.replace(at, 1, "; ");
    return text;
}

void reportNotes(PStream& stream, std::string_view where, const CutReport& report)
{
    if (!stream.damageText().empty())
        report(where, "its checksum does not match: it is not what was written");
    if (!stream.errorText().empty())
        report(where, noteText(stream.errorText().text()));
}

void writeCutLayer(const Cut& cut, PStream& stream)
{
    writeLayer(stream, kCutLayer, [&cut](PStream& body) {
        packCutLayer(cut, body);
        return kCutRevision;
    });
}

void writeMaterialLayer(const Cut& cut, PStream& stream)
{
    writeLayer(stream, kMaterialLayer, [&cut](PStream& body) {
        cut.materials.pack(body);
        return MaterialTable::kRevision;
    });
}

void readCutLayer(PStream& stream, Cut& cut, CutHead& head, const CutReport& report)
{
    head.sawCut = true;
    const std::string where = layerText(kCutLayer);
    readLayer(stream, kCutLayer, [&](const LayerFrame& frame) {
        StreamFile& file = stream.file();
        LightweightString<char> title;
        stream >> title;
        cut.title = title.view();
        cut.rate.numerator = file.getLong();
        cut.rate.denominator = file.getLong();
        cut.rate.dropFrame = file.getCookedChar() != 0;
        const auto start = static_cast<std::int64_t>(file.getUnsigned64());
        head.tracksNamed = file.getUnsignedLong();
        const bool near = start >= -kFarthestStart && start <= kFarthestStart;
        cut.startFrame = near ? start : 0;
        head.rateRead = isUsable(cut.rate);
        if (!head.rateRead)
            report(where, "it names no usable frame rate");
        if (!near)
            report(where, "its start timecode is out of range; 0 was taken");
        reportBody(stream, frame, kCutRevision, where, report);
    });
    reportNotes(stream, where, report);
}

void readMaterialLayer(PStream& stream, Cut& cut, CutHead& head, const CutReport& report)
{
    head.sawMaterials = true;
    const std::string where = layerText(kMaterialLayer);
    readLayer(stream, kMaterialLayer, [&](const LayerFrame& frame) {
        cut.materials.unpack(stream, frame.revision);
        reportBody(stream, frame, MaterialTable::kRevision, where, report);
    });
    reportNotes(stream, where, report);
}

void completeCut(Cut& cut, const CutHead& head, const CutReport& report)
{
    if (!head.rateRead)
        cut.rate = cut.tracks.empty() ? kFallbackRate
                                      : rateOfFrameDuration(cut.tracks.front()->get_resolution());
    if (!head.sawCut)
        report("file", "title, frame rate and start are missing; " + describe(cut.rate) +
                           " frames a second were taken");
    if (!head.sawMaterials)
        report("file", "the names of the material are missing");
    if (head.sawCut && head.tracksNamed != cut.tracks.size())
        report("file", "it should hold " + std::to_string(head.tracksNamed) + " tracks, but " +
                           std::to_string(cut.tracks.size()) + " could be read");
}

Kt::Ptr<Cel> trackForLayer(PStream& stream, const LightweightString<char>& layer)
{
    const auto built = [&stream](const LightweightString<char>& name) -> Kt::Ptr<Cel> {
        const StreamClassRegistrar::Builder build = StreamClassRegistrar::find(name);
        return build ? Kt::dynamicCast<Cel>(build(stream)) : nullptr;
    };
    const Kt::Ptr<Cel> track = built(layer);
    if (!track)
        return nullptr;
    // The layer of a derived class follows that of its base, and names the class.
    const LightweightString<char> behind = layerNameBehindNext(stream);
    const Kt::Ptr<Cel> derived = built(behind);
    LightweightString<char> both = layer;
    both += ".";
    both += behind;
    return derived && derived->hierarchyName(true, true) == both ? derived : track;
}

std::string damageOfSaving(const Cut& cut, std::span<const std::size_t> places, StreamFile& packed)
{
    std::string damage;
    const auto add = [&damage](const Cel& track, const std::string& what) {
        if (!what.empty())
            damage.append(damage.empty() ? "track " : "; track ")
                .append(track.editChannelName().view())
                .append(": ")
                .append(what);
    };
    for (std::size_t i = 0; i < cut.tracks.size(); ++i) {
        const Cel& track = *cut.tracks[i];
        PStream stream(packed);
        packed.seek(places[i]);
        const Kt::Ptr<Cel> decoded = trackForLayer(stream, Cel::shortLayerName());
        decoded->STRM_hierarchyUnpack(stream);
        add(track, whatDiffers(track, *decoded, cut.rate));
        const LevelError levels = errorOfStoring(levelsOf(cut, track));
        if (levels.decibels > 0.0)
            add(track, "the jump of its level envelope at " + cut.timecodeAt(levels.time) +
                           " would be lost");
    }
    return damage;
}

UnsavedMarks::UnsavedMarks(const Cut& cut, Which which)
{
    dirty_.reserve(cut.tracks.size());
    for (const Kt::Ptr<Cel>& track : cut.tracks)
        if (which == allTracks || track->is_dirty())
            dirty_.push_back(track);
}

UnsavedMarks::~UnsavedMarks()
{
    for (const Kt::Ptr<Cel>& track : dirty_)
        track->make_dirty();
}

} // namespace cel

#include "platform/support/PStream.h"
#include "platform/support/TagBag.h"
#include "platform/support/layers.h"
#include "tracks/AudLevelsCel.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

using Node = Aud::DynamicLevelControl::Store::Node;

namespace {

constexpr double kResolutionUnknown = 1.0;

/// What one node takes in a stream of a revision: time, level, from 2 on its type, from 3 on its
/// flag. Revisions that do not exist read as the present one.
constexpr std::size_t recordBytes(unsigned char revision)
{
    constexpr std::size_t kLine = 2 * sizeof(double);
    switch (revision) {
    case 1:
        return kLine;
    case 2:
        return kLine + sizeof(std::int32_t);
    default:
        return kLine + sizeof(std::int32_t) + 1;
    }
}

template <class T>
std::byte* put(std::byte* to, T value)
{
    std::memcpy(to, &value, sizeof(T));
    return to + sizeof(T);
}

template <class T>
const std::byte* get(const std::byte* from, T& value)
{
    std::memcpy(&value, from, sizeof(T));
    return from + sizeof(T);
}

void writeRecord(const Node& node, std::byte* to)
{
    to = put(to, node.getRawTime());
    to = put(to, static_cast<double>(node.getLevel()));
    to = put(to, static_cast<std::int32_t>(node.getNodeType()));
    put(to, static_cast<std::uint8_t>(node.isInAudioBlack() ? 1 : 0));
}

Node readRecord(const std::byte* from, unsigned char revision)
{
    double time = 0.0;
    double level = 0.0;
    std::int32_t type = 0;
    std::uint8_t black = 0;
    from = get(from, time);
    from = get(from, level);
    if (revision != 1)
        from = get(from, type);
    if (revision != 1 && revision != 2)
        get(from, black);
    return {time, static_cast<float>(level),
            static_cast<Aud::DynamicLevelControl::Store::eNodeType>(type), black != 0};
}

/// The order that comes about when nodes are put in one by one, each beside the one before it: of
/// nodes at one time, one that follows an earlier time goes to the front, any other to the back.
/// Sorted at once, since a hostile stream may come backwards.
std::vector<Node> inOrder(const std::vector<Node>& read)
{
    struct Place
    {
        double time;
        std::ptrdiff_t amongEquals;
        std::size_t index;
    };
    std::vector<Place> places;
    places.reserve(read.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        const double time = read[i].getRawTime();
        const double before = i > 0 ? read[i - 1].getRawTime() : time;
        const bool toBack = !(before <= time);
        const auto number = static_cast<std::ptrdiff_t>(i);
        places.push_back({time, toBack ? number : -number, i});
    }
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
        if (a.time < b.time || b.time < a.time)
            return a.time < b.time;
        const bool aIsNumber = a.time == a.time;
        const bool bIsNumber = b.time == b.time;
        return aIsNumber != bIsNumber ? aIsNumber : a.amongEquals < b.amongEquals;
    });
    std::vector<Node> sorted;
    sorted.reserve(read.size());
    for (const Place& place : places)
        sorted.push_back(read[place.index]);
    return sorted;
}

/// Notes what would be lost if the nodes that were read took the place of those in a layer.
void noteWhatWasNotRead(PStream& stream, unsigned char revision)
{
    std::string notes;
    if (revision > AudLevelsCelRep::kNodesRevision)
        notes += "The revision " + std::to_string(revision) + " of the nodes is later than " +
                 std::to_string(AudLevelsCelRep::kNodesRevision) +
                 ", the last that is known here\n";
    if (!stream.atEnd())
        notes += std::to_string(stream.remaining()) + " bytes behind the nodes mean nothing here\n";
    if (!notes.empty())
        stream.errorText().append(notes);
}

} // namespace

// ---- the object stream's view of an envelope ----------------------------------------------------

StreamClassRegistrar AudLevelsCelRep::STRM_L_AudLevelsCelRep_registrar_(
    AudLevelsCelRep::layerName(), AudLevelsCelRep::shortLayerName(),
    &AudLevelsCelRep::STRM_L_AudLevelsCelRep_builder);

LightweightString<char> AudLevelsCelRep::shortLayerName()
{
    return "A";
}

LightweightString<char> AudLevelsCelRep::layerName()
{
    return "AudLevelsCelRep";
}

LightweightString<char> AudLevelsCelRep::subHierarchyName(bool shortForm, bool withBase) const
{
    LightweightString<char> name = Taggable::subHierarchyName(shortForm, withBase);
    if (!name.empty())
        name += ".";
    name += shortForm ? shortLayerName() : layerName();
    return name;
}

LightweightString<char>
AudLevelsCelRep::STRM_L_AudLevelsCelRep_buildHierarchyName(bool shortForm, bool withBase) const
{
    return AudLevelsCelRep::subHierarchyName(shortForm, withBase);
}

LightweightString<char> AudLevelsCelRep::hierarchyName(bool shortForm, bool withBase) const
{
    return STRM_L_AudLevelsCelRep_buildHierarchyName(shortForm, withBase);
}

Kt::Ptr<Streamable> AudLevelsCelRep::STRM_L_AudLevelsCelRep_builder(PStream&)
{
    return Kt::Ptr<Streamable>(new AudLevelsCelRep(kResolutionUnknown));
}

Kt::Ptr<Streamable> AudLevelsCelRep::clone(BuilderType) const
{
    return Kt::Ptr<Streamable>(new AudLevelsCelRep(*this));
}

void AudLevelsCelRep::assign(const Streamable* other)
{
    if (const auto* levels = dynamic_cast<const AudLevelsCelRep*>(other))
        *this = *levels;
}

void AudLevelsCelRep::STRM_hierarchyPack(PStream& stream) const
{
    PackStack stack;
    STRM_layerPack(this, stream, &stack);
}

void AudLevelsCelRep::STRM_hierarchyUnpack(PStream& stream)
{
    STRM_layerUnpack(this, stream);
}

void AudLevelsCelRep::STRM_layerPack(const AudLevelsCelRep* levels, PStream& stream,
                                     PackStack* stack)
{
    PackStack own;
    PackStack& layers = stack ? *stack : own;
    layers.push_back({shortLayerName(), [levels](PStream& body) {
                          levels->pack(body);
                          return levels->revisionMajor();
                      }});
    Taggable::STRM_layerPack(levels, stream, &layers);
}

void AudLevelsCelRep::STRM_layerUnpack(AudLevelsCelRep* levels, PStream& stream)
{
    Taggable::STRM_layerUnpack(levels, stream);
    cel::readLayer(stream, shortLayerName().view(),
                   [levels, &stream](const cel::LayerFrame& frame) {
                       levels->revisionMajor(frame.revision);
                       levels->chunkSize(frame.bodyBytes);
                       const auto& notes = stream.errorText().notes();
                       const std::size_t before = notes.size();
                       levels->unpack(stream);
                       if (notes.size() == before)
                           noteWhatWasNotRead(stream, frame.revision);
                   });
}

// ---- the nodes ---------------------------------------------------------------------------------

void AudLevelsCelRep::pack(PStream& stream) const
{
    constexpr std::size_t kPiece = 512; // nodes: some kilobytes, see `StreamFile::extend`
    constexpr std::size_t kBytes = recordBytes(AudLevelsCelRep::kNodesRevision);
    revisionMajor_ = AudLevelsCelRep::kNodesRevision;
    StreamFile& file = stream.file();
    file.setUnsignedLong(static_cast<std::uint32_t>(nodes_.size()));
    file.reserve(nodes_.size() * kBytes);
    for (auto left = nodes_.nodes(); !left.empty();) {
        const auto piece = left.first(std::min(kPiece, left.size()));
        std::byte* record = file.extend(piece.size() * kBytes).data();
        for (const Node& node : piece) {
            writeRecord(node, record);
            record += kBytes;
        }
        left = left.subspan(piece.size());
    }
}

void AudLevelsCelRep::unpack(PStream& stream)
{
    // What an earlier layer of the stream lacked is not missing here.
    stream.file().clearFault();
    const std::uint32_t count = stream.file().getUnsignedLong();
    const std::size_t bytes = recordBytes(revisionMajor_);
    const std::size_t whole = std::min<std::size_t>(count, stream.remaining() / bytes);
    const std::byte* record = stream.file().take(whole * bytes).data();
    std::vector<Node> read;
    read.reserve(whole);
    double before = -1.0;
    bool ordered = true;
    for (std::size_t i = 0; i < whole; ++i, record += bytes) {
        const Node node = readRecord(record, revisionMajor_);
        const double time = node.getRawTime();
        if (time == before) // Kept: a second node at a time is dropped, and any first one at -1
            continue;
        ordered = ordered && (read.empty() || before < time || time != time);
        read.push_back(node);
        before = time;
    }
    {
        const Kt::Guard guard(lock_);
        if (nodes_.empty()) {
            nodes_.insert_noAdjust(ordered ? read : inOrder(read));
        } else {
            nodes_.reserve(nodes_.size() + read.size());
            auto beside = nodes_.begin();
            for (const Node& node : read)
                beside = nodes_.insert_noAdjust(beside, node);
        }
    }
    if (stream.file().faulted() || whole < count)
        stream.errorText().append(
            "AudLevelsCelRep::unpack: Failed to read nodes (unexpected size)");
    nodesRevision_ = revisionMajor_;
    revisionMajor_ = AudLevelsCelRep::kNodesRevision;
    revisionMinor_ = 0;
}

// ---- the object store --------------------------------------------------------------------------

void AudLevelsCel::writeToStore(AudLevelsCel envelope, TagBag& bag)
{
    bag.storeObject(TagBase(envelope.id(), envelope.rep_));
}

AudLevelsCel AudLevelsCel::createFromStore(const IdStamp& id, TagBag& bag)
{
    AudLevelsCel envelope = createInvalid();
    const TagBase tag = bag.openObject(id);
    // Under an identity from a file there may be an object of any class.
    envelope.rep_ = Kt::dynamicCast<AudLevelsCelRep>(tag.object());
    envelope.id(id);
    return envelope;
}

void AudLevelsCel::extractFromStore(const IdStamp& id, TagBag& bag)
{
    if (Kt::dynamicCast<AudLevelsCelRep>(bag.openObject(id).object()))
        bag.extractObject(id);
}

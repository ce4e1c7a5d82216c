#pragma once

#include "interchange/Cut.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

class PStream;
class StreamFile;

/// What the writers and the readers of stored cuts agree on.

namespace cel {

inline constexpr std::string_view kCutLayer = "P";
inline constexpr unsigned char kCutRevision = 1;
inline constexpr std::string_view kMaterialLayer = "M";
inline constexpr std::string_view kObjectLayer = "O";

/// Tracks that a stream holds at most.
inline constexpr std::size_t kMostTracks = 1000;

/// Is told what is wrong with a stored cut: where, and what.
using CutReport = std::function<void(std::string_view where, std::string_view text)>;

/// What was found of a cut besides its tracks.
struct CutHead
{
    bool sawCut = false;
    bool sawMaterials = false;
    bool rateRead = false;
    std::size_t tracksNamed = 0;
};

/// The layer of a cut's title, rate and start, and that of its materials.
void writeCutLayer(const Cut& cut, PStream& stream);
void writeMaterialLayer(const Cut& cut, PStream& stream);

/// Read the layer that comes next in the stream and report what is wrong with it.
void readCutLayer(PStream& stream, Cut& cut, CutHead& head, const CutReport& report);
void readMaterialLayer(PStream& stream, Cut& cut, CutHead& head, const CutReport& report);

/// A layer for each of the cut's objects, behind those of the tracks that they belong to.
void writeObjectLayers(const Cut& cut, PStream& stream);

/// Reads the one that comes next in the stream and reports what is wrong with it, by the name of
/// the track that it belongs to.
void readObjectLayer(PStream& stream, Cut& cut, const CutReport& report);

/// Fills in what was not stored, and says so.
void completeCut(Cut& cut, const CutHead& head, const CutReport& report);

/// "layer C"; whatever its name, one short line.
std::string layerText(std::string_view name);

/// The notes of a reader, one on a line, as one line.
std::string noteText(std::string_view notes);

/// Reports the damage and the errors that are noted in a stream.
void reportNotes(PStream& stream, std::string_view where, const CutReport& report);

/// An empty track for the layer of that name to be read into; null for layers of anything else.
Kt::Ptr<Cel> trackForLayer(PStream& stream, const LightweightString<char>& layer);

/// Decodes what was packed of each track, at `places` in `packed`, and names those that would not
/// come back as they are; empty when all would.
std::string damageOfSaving(const Cut& cut, std::span<const std::size_t> places, StreamFile& packed);

/// Marks tracks as changed when it goes: packing a track marks it as saved long before it is.
class UnsavedMarks
{
public:
    enum Which { allTracks, changedTracks };

    UnsavedMarks(const Cut& cut, Which which);
    UnsavedMarks(const UnsavedMarks&) = delete;
    UnsavedMarks& operator=(const UnsavedMarks&) = delete;
    ~UnsavedMarks();

    void forget() { dirty_.clear(); }

private:
    std::vector<Kt::Ptr<Cel>> dirty_;
};

} // namespace cel

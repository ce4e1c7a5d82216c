#pragma once

#include "platform/support/IdStamp.h"
#include "platform/support/Streamable.h"
#include "platform/support/TagBag.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

class StreamFile;

namespace cel {

class ObjectPacker;
struct ObjectRow;

/// Identities of what a store keeps of a cut besides its tracks and objects; no stamp that is drawn
/// ever gets one.
inline constexpr IdStamp kCutId(0, 0, 1);
inline constexpr IdStamp kMaterialsId(0, 0, 2);

/// An object that travels with a cut: a track's envelope or switches, the effect of a section.
struct CutObject
{
    IdStamp id{0, 0, 0};

    /// The object itself; null for one of a class that is not known here, of which only the bytes
    /// travel.
    Kt::Ptr<Streamable> object;

    std::string className; ///< short hierarchy name
    unsigned char revision = 0;

    /// Its layers as they were read, when `object` does not hold all that is in them.
    std::vector<std::byte> layers;

    /// What `object` was packed to then: as long as it is, `layers` are what is saved.
    std::vector<std::byte> packedThen = {};
};

/// The object that a row holds, if its class is known here, and the row's layers, if they hold more
/// than that. @param notes  what is wrong with the layers, a line each.
CutObject readObject(const ObjectRow& row, std::string& notes, StreamFile& buffer);

/// Packs an object; unchanged, it is packed to the layers that it was read from.
void packObject(const CutObject& object, ObjectPacker& packer);

/// The objects of a cut besides its tracks, each under its identity, and what they are to whom.
///
/// As an object store it opens and hands over what is known here; an object that is open is saved
/// with the cut as it then is.
class CutObjects final : public TagBag
{
public:
    TagBase openObject(const IdStamp& id) override;
    void storeObject(const TagBase& tag) override;
    Kt::Ptr<Taggable> extractObject(const IdStamp& id) override;
    void destroyObject(const IdStamp& id) override { remove(id); }

    /// What an object is to its owner; the null stamp stands for the cut.
    struct Place
    {
        IdStamp owner{0, 0, 0};
        std::string role;
        std::uint32_t position = 0; ///< among those of the same role

        auto operator<=>(const Place&) const = default;
    };

    /// Whether an object may have that identity: not the null stamp, nor one of the cut's own.
    static bool allows(const IdStamp& id);

    /// Puts an object under its identity, in place of what was there; nothing under one that is not
    /// allowed.
    void put(CutObject object);

    /// The same for an object that is known here. One that was there and could be read only in part
    /// is taken for its former state: unless it differs from that, it is saved as it was.
    void put(const IdStamp& id, const Kt::Ptr<Streamable>& object);

    /// Names an object; the place may have named another one before.
    void name(const Place& place, const IdStamp& object);

    /// Takes an object out, with all its names. O(names).
    void remove(IdStamp id);

    /// Null when there is none. O(log n).
    const CutObject* find(const IdStamp& id) const;
    const CutObject* find(const Place& place) const;

    const std::map<IdStamp, CutObject>& all() const { return objects_; }
    const std::map<Place, IdStamp>& names() const { return names_; }

private:
    std::map<IdStamp, CutObject> objects_;
    std::map<Place, IdStamp> names_;
};

} // namespace cel

#pragma once

#include "platform/export.h"
#include "platform/foundation/Ptr.h"
#include "platform/support/IdStamp.h"
#include "platform/support/StoreMark.h"
#include "platform/support/StreamFile.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class PStream;
class Streamable;

/// Files of objects: what stays of an object store when the process ends.

namespace cel {

/// An object as it lies in a file.
struct ObjectRow
{
    IdStamp id{0, 0, 0};
    std::string_view className;        ///< short hierarchy name of its class: "C"
    unsigned char revision = 0;        ///< of its first layer
    std::span<const std::byte> layers; ///< framed, as its class packed them
};

/// Packs objects for a file, one after the other into one piece of memory.
class CEL_PLATFORM_API ObjectPacker
{
public:
    /// Packs an object. @return where its layers begin in `file()`.
    std::size_t add(const IdStamp& id, const Streamable& object);

    /// What `write` puts into the stream, as an object of that class.
    std::size_t add(const IdStamp& id, std::string_view className,
                    const std::function<void(PStream&)>& write);

    /// A row as it is; what it refers to must outlive the packer.
    void add(const ObjectRow& row) { rows_.push_back({row, kElsewhere}); }

    /// All rows in the order in which they were added; they refer to the packer's memory and are
    /// good until the next one is added.
    std::vector<ObjectRow> rows();

    StreamFile& file() { return file_; }

private:
    static constexpr std::size_t kElsewhere = SIZE_MAX;
    struct Packed
    {
        ObjectRow row;
        std::size_t begin; ///< in the file
    };

    StreamFile file_;
    std::deque<std::string> classNames_;
    std::vector<Packed> rows_;
};

/// The object that a row holds; null when no class of that name is known here.
/// @param notes   what is wrong with the layers, a line each; what could be read is in the object.
/// @param buffer  memory that many calls may share.
/// @throws what the class throws for layers that it refuses.
CEL_PLATFORM_API Kt::Ptr<Streamable> buildObject(const ObjectRow& row, std::string& notes,
                                                 StreamFile& buffer);

/// What an object is to another: the "levels" of a track, one of the "track"s of the whole file.
struct ObjectName
{
    IdStamp owner{0, 0, 0}; ///< the null stamp stands for the file
    std::string role;
    std::uint32_t position = 0; ///< among those of the same role
    IdStamp object{0, 0, 0};

    auto operator<=>(const ObjectName&) const = default;
};

/// A part of a file that cannot be what was written.
struct ObjectFinding
{
    IdStamp object{0, 0, 0};
    std::string className; ///< as far as it can be read
    std::string text;
};

/// A file of objects. All that one save changes is one transaction: whenever the process or the
/// power ends, the file holds all of it or nothing. What another program saves meanwhile is never
/// overwritten unseen. Every row is checked against its own checksum when it is read.
///
/// While the file is open, and after a crash until it is opened again, the files of its name with
/// "-wal" and "-shm" behind it belong to it.
///
/// No function throws for what is wrong with the file. Not to be used from two threads at once.
class CEL_PLATFORM_API ObjectFile
{
public:
    using Reader = std::function<void(const ObjectRow&)>;
    using Findings = std::vector<ObjectFinding>;

    virtual ~ObjectFile() = default;

    /// The file's mark when it was opened or last saved to.
    virtual const StoreMark& mark() const = 0;

    /// Reads one object. @return whether `reader` saw it; else `error` says what is wrong with it
    /// or with the file, and is empty when the file has no such object. O(log objects).
    virtual bool read(const IdStamp& id, const Reader& reader, std::string& error) = 0;

    /// Reads all names and then all objects, in one state of the file, which becomes its mark.
    /// Damaged rows go to `findings`, the rest to `reader`; the order is that in which they were
    /// first saved, apart from what lies behind a place that cannot be read.
    /// @return false with `error` set when not even the first page can be read.
    virtual bool readAll(std::vector<ObjectName>& names, const Reader& reader, Findings& findings,
                         std::string& error) = 0;

    /// Checks the whole structure of the file: one pass over all of it and a search for each row.
    virtual void examine(Findings& findings) = 0;

    /// Puts objects into the file, in place of those of the same identity, and takes others out.
    /// Rows that are the same already are not written. The file must be as this object last saw it.
    /// @return false with `error` set; the file then is as it was.
    virtual bool change(std::span<const ObjectRow> put, std::span<const IdStamp> remove,
                        std::string& error) = 0;

    /// Makes these the objects and names of the file, and its only ones.
    /// @param seen  the mark under which the caller read what it saves now. In that file every
    /// later state is refused, and rows that cannot be read are kept; another file is overwritten
    /// as a whole.
    virtual bool replaceAll(std::span<const ObjectRow> rows, std::span<const ObjectName> names,
                            const StoreMark& seen, std::string& error) = 0;
};

/// Opens a file of objects, for writing too where that is allowed. Waits for a moment while another
/// program saves to it.
/// @return null, with `error` naming the file, when it is absent, is no file of objects, belongs to
/// another application, or was written by a later version.
CEL_PLATFORM_API std::unique_ptr<ObjectFile> openObjectFile(const std::filesystem::path& path,
                                                            std::string& error);

/// Makes a new file with these objects and names: it appears under its name when it is whole.
/// @param mark  receives that of the new file.
/// @return false, with `error` set, also when there is anything under the name; then there is no
/// new file, except where the error text says that it is written but may not survive a power
/// failure.
CEL_PLATFORM_API bool createObjectFile(const std::filesystem::path& path,
                                       std::span<const ObjectRow> rows,
                                       std::span<const ObjectName> names, StoreMark& mark,
                                       std::string& error);

/// Whether bytes are the beginning of a file that `openObjectFile` takes for one of objects, of
/// whatever version: 100 of them tell.
CEL_PLATFORM_API bool isObjectFile(std::span<const std::byte> head);

} // namespace cel

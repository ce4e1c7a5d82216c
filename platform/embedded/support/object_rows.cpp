#include "platform/support/object_file.h"

#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/Streamable.h"
#include "platform/support/layers.h"

namespace cel {

namespace {

/// A class registers under its own layer's name, the last of its hierarchy.
StreamClassRegistrar::Builder builderOf(std::string_view className)
{
    const StreamClassRegistrar::Builder whole = StreamClassRegistrar::find(className);
    const std::size_t dot = className.rfind('.');
    if (whole || dot == std::string_view::npos)
        return whole;
    return StreamClassRegistrar::find(className.substr(dot + 1));
}

} // namespace

std::size_t ObjectPacker::add(const IdStamp& id, const Streamable& object)
{
    return add(id, object.hierarchyName(true, true).view(),
               [&object](PStream& stream) { object.STRM_hierarchyPack(stream); });
}

std::size_t ObjectPacker::add(const IdStamp& id, std::string_view className,
                              const std::function<void(PStream&)>& write)
{
    const std::size_t begin = file_.bytes().size();
    PStream stream(file_);
    write(stream);

    file_.seek(begin);
    const auto first = peekLayer(stream);
    const unsigned char revision = first ? first->revision : 0;
    // The memory may still move; `rows` knows where it lies in the end.
    const auto layers = file_.bytes().subspan(begin);
    rows_.push_back({{id, classNames_.emplace_back(className), revision, layers}, begin});
    return begin;
}

std::vector<ObjectRow> ObjectPacker::rows()
{
    std::vector<ObjectRow> rows;
    rows.reserve(rows_.size());
    for (const Packed& packed : rows_) {
        rows.push_back(packed.row);
        if (packed.begin != kElsewhere)
            rows.back().layers = file_.bytes().subspan(packed.begin, packed.row.layers.size());
    }
    return rows;
}

Kt::Ptr<Streamable> buildObject(const ObjectRow& row, std::string& notes, StreamFile& buffer)
{
    const StreamClassRegistrar::Builder build = builderOf(row.className);
    if (!build)
        return nullptr;
    buffer.clear();
    buffer.write(row.layers);
    PStream stream(buffer);
    Kt::Ptr<Streamable> object = build(stream);
    if (!object)
        return nullptr;
    object->STRM_hierarchyUnpack(stream);
    notes += stream.errorText().text();
    notes += stream.damageText().text();
    if (buffer.faulted() && notes.empty())
        notes += "it ends too early\n";
    if (!stream.atEnd() && notes.empty())
        notes += std::to_string(stream.remaining()) + " bytes at its end mean nothing\n";
    return object;
}

} // namespace cel

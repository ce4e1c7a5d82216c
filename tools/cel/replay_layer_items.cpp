#include "tools/cel/replay_layer_items.h"

#include "tools/cel/replay_fields.h"

#include <array>
#include <cstring>
#include <span>

namespace cel::replay {

namespace {

/// The form in which tracks of one or two events are stored. Its times carry no modification.
void writeStreamedEvent(PStream& body, ChannelEvent event, int revision)
{
    constexpr int kFirstWithRamp = 3;
    event.reverse_channel_event_modification();
    StreamFile& file = body.file();
    file.setDouble(double{event.level_sc()});
    file.setDouble(double{event.velocity()});
    file.setDouble(event.edit_time());
    file.setDouble(event.strip_time());
    body.writeBinary(event.strip_name().asString(true), 0, false, false);
    file.setLong(static_cast<std::int32_t>(event.infoWord()));
    body << event.editGraph().asString();
    if (revision >= kFirstWithRamp) {
        file.setUnsignedShort(static_cast<std::uint16_t>(event.audioRamp_DurationQFrames()));
        file.setLong(event.audioRamp_CurveType());
    }
}

void writeFlatRecord(PStream& body, const ChannelEvent& event)
{
    ChannelEventV3 record = {};
    event.asV3(record);
    body.writeBinary(&record, sizeof record, true, false);
}

/// The record of a section: what both points share stands with its in point.
class PairRecord
{
public:
    PairRecord(const ChannelEvent& in, const ChannelEvent& out)
    {
        put(0, in.level_sc());
        put(4, in.velocity());
        put(8, in.strip_name());
        put(28, static_cast<std::uint8_t>(in.infoWord() >> 8));
        putPoint(32, in);
        putPoint(64, out);
    }

    void write(PStream& body) const { body.writeBinary(bytes_.data(), bytes_.size(), true, false); }

private:
    void putPoint(std::size_t offset, const ChannelEvent& event)
    {
        put(offset, event.edit_time());
        put(offset + 8, event.strip_time());
        put(offset + 16, event.editGraph());
        put(offset + 28, event.audioRampWord());
    }

    template <class T>
    void put(std::size_t offset, const T& value)
    {
        std::memcpy(bytes_.data() + offset, &value, sizeof value);
    }

    std::array<std::byte, 96> bytes_{};
};

struct ItemKind
{
    std::string_view name;
    std::size_t arguments;
    void (*write)(Session&, PStream&, Arguments);
};

// clang-format off
constexpr ItemKind kItemKinds[] = {
    {"char", 1, [](Session&, PStream& b, Arguments a) { b.file().setCookedChar(static_cast<char>(a[0].byte())); }},
    {"u32", 1, [](Session&, PStream& b, Arguments a) { b.file().setUnsignedLong(a[0].word()); }},
    {"long", 1, [](Session&, PStream& b, Arguments a) { b.file().setLong(static_cast<std::int32_t>(a[0].word())); }},
    {"double", 1, [](Session&, PStream& b, Arguments a) { b.file().setDouble(a[0].number()); }},
    {"string", 1, [](Session&, PStream& b, Arguments a) { b << LightweightString<char>(a[0].text()); }},
    {"stamp", 1, [](Session& s, PStream& b, Arguments a) { s.stamp(a[0]).pack(b); }},
    {"event", 2, [](Session& s, PStream& b, Arguments a) { writeStreamedEvent(b, eventFrom(s, a[0]), a[1].integer()); }},
    {"v3", 1, [](Session& s, PStream& b, Arguments a) { writeFlatRecord(b, eventFrom(s, a[0])); }},
    {"pair", 2, [](Session& s, PStream& b, Arguments a) { PairRecord(eventFrom(s, a[0]), eventFrom(s, a[1])).write(b); }},
    {"bytes", 1, [](Session&, PStream& b, Arguments a) { b.file().write(a[0].bytes()); }},
};
// clang-format on

} // namespace

void writeItem(Session& session, PStream& body, const Value& item)
{
    const Arguments parts = item.array();
    if (parts.empty())
        throw ScriptError("an item of a layer begins with its kind");
    const std::string& name = parts[0].text();
    const Arguments arguments = parts.subspan(1);
    const ItemKind* kind = rowNamed(kItemKinds, name);
    if (!kind)
        throw ScriptError("unknown item \"" + name + '"');
    requireArguments(name, arguments.size(), kind->arguments, kind->arguments);
    kind->write(session, body, arguments);
}

} // namespace cel::replay

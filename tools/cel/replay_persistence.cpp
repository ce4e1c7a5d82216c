// Operations that store tracks, read them back, and change the channel they belong to.

#include "platform/support/CookieJar.h"
#include "platform/support/TextFile.h"
#include "platform/support/layers.h"
#include "tools/cel/replay_layer_items.h"

#include <array>
#include <utility>

namespace cel::replay {

namespace {

/// In which form the events stand in a track's layer.
std::string formOf(PStream& body)
{
    constexpr int kFewestInBlock = 3;
    StreamFile& file = body.file();
    IdStamp channel(0, 0, 0);
    LightweightString<char> name, subType, materialInfo;

    channel.unpack(body, static_cast<unsigned char>(file.getCookedChar()));
    body >> name >> subType >> materialInfo;
    file.getDouble(); // resolution
    const std::int32_t events = file.getLong();
    if (events < kFewestInBlock)
        return events == 0 ? "none" : "single";
    file.getLong(); // counts of material and of black
    file.getLong();
    return std::to_string(static_cast<unsigned char>(file.getCookedChar()));
}

void pack(Session& s, Arguments a)
{
    StreamFile file;
    PStream stream(file);
    s.track(a[0]).STRM_hierarchyPack(stream);
    std::string form;
    readLayer(stream, Cel::shortLayerName().view(),
              [&](const LayerFrame&) { form = formOf(stream); });
    s.out.line("pack", a[0].text(), form);
}

/// Lets a track read what stands in the file, and prints what it noted about it.
void unpackFrom(Session& s, const Value& name, StreamFile& file)
{
    PStream stream(file);
    s.track(name).STRM_hierarchyUnpack(stream);
    for (std::string_view note : stream.errorText().notes()) {
        if (note.ends_with('\n'))
            note.remove_suffix(1);
        s.out.line("error", name.text(), std::string(note));
    }
}

void repack(Session& s, Arguments a)
{
    StreamFile file;
    PStream stream(file);
    s.track(a[1]).STRM_hierarchyPack(stream);
    unpackFrom(s, a[0], file);
}

void unpack(Session& s, Arguments a)
{
    s.track(a[0]); // a name that means nothing is the script's fault, whatever the items are
    const std::uint8_t revision = a[1].byte();
    StreamFile file;
    PStream stream(file);
    writeLayer(stream, Cel::shortLayerName().view(), [&](PStream& body) {
        for (const Value& item : a[2].array())
            writeItem(s, body, item);
        return revision;
    });
    unpackFrom(s, a[0], file);
}

Kt::Ed2Support::TVStd standardFrom(const Value& name)
{
    using namespace Kt::Ed2Support;
    constexpr std::array<std::pair<std::string_view, TVStd>, 4> kStandards = {{
        {"film", kFilm},
        {"pal", kPal},
        {"ntsc", kNtsc},
        {"film_ntsc", kFilmNtsc},
    }};
    for (const auto& [known, standard] : kStandards)
        if (known == name.text())
            return standard;
    throw ScriptError("unknown television standard \"" + name.text() + '"');
}

void text(Session& s, Arguments a)
{
    TextFile file;
    s.track(a[0]).writeToED2(file, standardFrom(a[1]));
    for (std::size_t i = 0; i < file.numLines(); ++i)
        s.out.line("text", file[i].c_str());
}

void buildFrom(Session& s, Arguments a)
{
    TextFile file;
    for (const Value& line : a[2].array())
        file.appendLine(line.text());
    const bool built = s.track(a[0]).buildFrom(file, a[1].shortWord());
    s.out.line("buildFrom", a[0].text(), built ? "true" : "false");
}

void defaultVersion(Session&, Arguments a)
{
    CookieJar::instance().setDefaultCookieVersion(a[0].byte());
}

void channel(Session& s, Arguments a)
{
    s.track(a[0]).editChannelInfo(a[1].text(), s.stamp(a[2]), a[3].text(), a[4].text());
}

void channelMaterial(Session& s, Arguments a)
{
    s.track(a[0]).editChannelMaterialInfo(a[1].text());
}

void channelSub(Session& s, Arguments a)
{
    s.track(a[0]).editChannelSubType(a[1].text());
}

void channelName(Session& s, Arguments a)
{
    s.track(a[0]).editChannelName(a[1].text());
}

void channelClear(Session& s, Arguments a)
{
    s.track(a[0]).editChannelClearCached();
}

std::string quoted(const LightweightString<char>& text)
{
    return '"' + std::string(text.view()) + '"';
}

void channelShow(Session& s, Arguments a)
{
    const Cel& track = s.track(a[0]);
    s.out.line("channel", a[0].text(), quoted(track.editChannelName()), track.editChannelId(),
               quoted(track.editChannelSubType()), quoted(track.editChannelMaterialInfo()));
}

constexpr Operation kOperations[] = {
    {"pack", 1, 1, pack},
    {"repack", 2, 2, repack},
    {"unpack", 3, 3, unpack},
    {"text", 2, 2, text},
    {"buildFrom", 3, 3, buildFrom},
    {"defaultVersion", 1, 1, defaultVersion},
    {"channel", 5, 5, channel},
    {"channelMaterial", 2, 2, channelMaterial},
    {"channelSub", 2, 2, channelSub},
    {"channelName", 2, 2, channelName},
    {"channelClear", 1, 1, channelClear},
    {"channelShow", 1, 1, channelShow},
};

} // namespace

std::span<const Operation> persistenceOperations()
{
    return kOperations;
}

} // namespace cel::replay

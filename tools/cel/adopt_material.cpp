#include "tools/cel/adopt_material.h"

#include "interchange/subtitle_tracks.h"
#include "tools/cel/text.h"

namespace cel::tool {

namespace {

/// Entries of the table for the texts of subtitles: tracks are then compared by what is read.
void adoptTexts(Cel& track, MaterialTable& table)
{
    for (const PlacedSubtitle& subtitle : subtitlesOf(track)) {
        const Cookie text = table.add({kSubtitleCookie, subtitle.text(), subtitle.style, ""});
        for (const int end : {subtitle.event, subtitle.event + 1})
            track.getChanEventPtr(end)->strip_name(text);
    }
}

/// The third integer of Cookies that name an entry of a table.
constexpr int kTableReference = 0;

Material unknownClip(const Cookie& cookie, const std::string& origin)
{
    const std::string text(cookie.asString(false).view());
    return {cookie.type(), "clip " + text + (origin.empty() ? "" : " of " + origin), "", ""};
}

} // namespace

void adoptMaterial(Cel& track, const MaterialTable& from, MaterialTable& table,
                   const std::string& origin)
{
    for (int i = 0; i < track.numEvents(); ++i) {
        ChannelEvent& event = *track.getChanEventPtr(i);
        const Cookie own = event.strip_name();
        const bool isRecorded = own.type() == kVideoCookie || own.type() == kAudioCookie;
        if (own.getInt3() != kTableReference || !isRecorded)
            continue;
        const Material* material = from.find(own);
        const Cookie entry = table.add(material ? *material : unknownClip(own, origin));
        Cookie adopted(entry.type(), entry.getInt1(), own.getInt2(), entry.getInt3());
        adopted.setVersion(own.version());
        event.strip_name(adopted);
    }
}

void adoptForComparison(Cel& track, const MaterialTable& from, MaterialTable& table)
{
    adoptMaterial(track, from, table, "");
    adoptTexts(track, table);
}

void adoptNamedMaterial(Cel& track, const MaterialTable& from, MaterialTable& table,
                        const std::string& origin)
{
    if (!from.materials().empty() || !table.materials().empty())
        adoptMaterial(track, from, table, origin);
}

std::string describeMaterial(const Cookie& cookie, const MaterialTable& table)
{
    if (cookie.type() == kInvalidCookie)
        return "nothing";
    if (cookie.isBlack())
        return "black";
    const Material* material = table.find(cookie);
    if (material && !(material->name.empty() && material->reel.empty()))
        return printable(material->name.empty() ? material->reel : material->name);
    return printable(cookie.asString(false).view());
}

} // namespace cel::tool

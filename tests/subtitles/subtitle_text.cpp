#include "tests/subtitles/subtitle_text.h"

#include "cel/audit.h"
#include "platform/support/PStream.h"
#include "platform/support/utf8.h"
#include "subtitles/SubtitleCel.h"

#include <charconv>
#include <set>
#include <sstream>

namespace cel::test {

namespace {

double takeNumber(std::string_view& text)
{
    double number = 0.0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

std::string textOf(const SubtitleTrack::Element& element)
{
    std::string text = element.style.empty() ? "" : "{" + std::string(element.style.view()) + "}";
    for (std::size_t i = 0; i < element.lines.size(); ++i)
        text += (i ? "/" : "") + toUtf8(element.lines[i].view());
    return text;
}

std::string numberText(double number)
{
    std::ostringstream text;
    text << std::round(number * 1e6) / 1e6;
    return text.str();
}

} // namespace

std::vector<SubtitleTrack::RangedElement> elements(std::string_view notation)
{
    std::vector<SubtitleTrack::RangedElement> made;
    while (!notation.empty()) {
        const std::size_t end = std::min(notation.find("; "), notation.size());
        std::string_view one = notation.substr(0, end);
        notation.remove_prefix(std::min(end + 2, notation.size()));
        SubtitleTrack::RangedElement& element = made.emplace_back();
        element.start = takeNumber(one);
        one.remove_prefix(1);
        element.end = takeNumber(one);
        one.remove_prefix(std::min<std::size_t>(1, one.size()));
        if (one.starts_with('{')) {
            element.style = one.substr(1, one.find('}') - 1);
            one.remove_prefix(one.find('}') + 1);
        }
        for (; !one.empty(); one.remove_prefix(std::min(one.find('/'), one.size() - 1) + 1))
            element.lines.emplace_back(toWide(one.substr(0, one.find('/'))));
    }
    return made;
}

SubtitleTrack subtitles(std::string_view notation, double end)
{
    return SubtitleTrack(elements(notation), end, 0.04);
}

std::string describe(const SubtitleTrack& track)
{
    const Kt::Ptr<Cel> list = track.getCel();
    std::string text;
    for (int i = 0; list && i + 1 < list->numEvents(); i += 2) {
        const ChannelEvent& in = *list->getChanEventPtr(i);
        const auto& elements = dynamic_cast<const SubtitleTrack::SubtitleCel&>(*list).elements();
        const bool known = elements.count(in.editGraph()) != 0;
        text += (i ? "; " : "") + numberText(in.edit_time()) + "-" +
                numberText(list->getChanEventPtr(i + 1)->edit_time());
        const std::string words = known ? textOf(track.getElement(in.editGraph())) : "?";
        text += in.strip_name().isBlack() ? " ." : (words.empty() ? "" : " ") + words;
    }
    return text;
}

std::string faultsOf(const SubtitleTrack& track)
{
    const auto& list = dynamic_cast<const SubtitleTrack::SubtitleCel&>(*track.getCel());
    std::string faults;
    std::set<IdStamp> shown;
    for (int i = 0; i + 1 < list.numEvents(); i += 2) {
        const ChannelEvent& in = *list.getChanEventPtr(i);
        if (!in.strip_name().isBlack() && !shown.insert(in.editGraph()).second)
            faults += "two sections share a text; ";
        if (in.strip_name().type() != kSubtitleCookie)
            faults += "foreign material; ";
    }
    for (const auto& [id, element] : list.elements())
        if (shown.count(id) == 0)
            faults += "no section says " + textOf(element) + "; ";
    for (const Finding& finding : audit(list))
        if (finding.severity == Severity::fault)
            faults += finding.text + "; ";
    return faults;
}

SubtitleTrack stored(const SubtitleTrack& track, std::string* notes)
{
    StreamFile file;
    PStream out(file);
    track.getCel()->STRM_hierarchyPack(out);
    PStream in(file);
    const auto read =
        Kt::dynamicCast<Cel>(SubtitleTrack::SubtitleCel::STRM_L_SubtitleCel_builder(in));
    read->STRM_hierarchyUnpack(in);
    if (notes)
        *notes = std::string(in.errorText().text()) + std::string(in.damageText().text());
    return SubtitleTrack::createFromCel(read);
}

} // namespace cel::test

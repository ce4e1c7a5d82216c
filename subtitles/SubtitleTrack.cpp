#include "subtitles/SubtitleTrack.h"

#include "platform/support/TextSearch.h"
#include "subtitles/SubtitleCel.h"
#include "subtitles/detail/font_preference.h"
#include "subtitles/detail/texts_in_order.h"

#include <algorithm>
#include <utility>

namespace {

using Element = SubtitleTrack::Element;
using cel::detail::isSubtitle;

} // namespace

const Cookie& SubtitleTrack::textCookie()
{
    static const Cookie text(kSubtitleCookie, 0, 0, 123);
    return text;
}

const Cookie& SubtitleTrack::blackCookie()
{
    static const Cookie black(kSubtitleCookie, Cookie::kBlack, 0, Cookie::kSynthetic);
    return black;
}

SubtitleTrack::SubtitleTrack(double resolution)
    : cel_(new SubtitleCel(resolution))
{
    cel_->font(getDefaultFont());
}

SubtitleTrack::SubtitleTrack(const std::vector<RangedElement>& elements, double endTime,
                             double resolution)
    : SubtitleTrack(resolution)
{
    setElements(elements, endTime);
}

SubtitleTrack::SubtitleTrack(const Kt::Ptr<SubtitleCel>& cel)
    : cel_(cel)
{
}

SubtitleTrack::SubtitleTrack(const SubtitleTrack& other) = default;
SubtitleTrack::SubtitleTrack(SubtitleTrack&& other) noexcept = default;
SubtitleTrack& SubtitleTrack::operator=(const SubtitleTrack& other) = default;
SubtitleTrack& SubtitleTrack::operator=(SubtitleTrack&& other) noexcept = default;
SubtitleTrack::~SubtitleTrack() = default;

SubtitleTrack SubtitleTrack::createInvalid()
{
    return SubtitleTrack(Kt::Ptr<SubtitleCel>());
}

SubtitleTrack SubtitleTrack::createFromCel(const Kt::Ptr<Cel>& list)
{
    return SubtitleTrack(Kt::dynamicCast<SubtitleCel>(list));
}

SubtitleTrack SubtitleTrack::clone() const
{
    return SubtitleTrack(cel_ ? Kt::Ptr<SubtitleCel>(new SubtitleCel(*cel_)) : nullptr);
}

SubtitleTrack SubtitleTrack::withSectionsOf(const Cel& list) const
{
    if (!cel_)
        return createInvalid();
    const Kt::Ptr<SubtitleCel> made(new SubtitleCel(list));
    made->font(cel_->font());
    for (int i = 0; i < made->numEvents(); ++i) {
        ChannelEvent& event = *made->getChanEventPtr(i);
        const auto text = cel_->elements().find(event.editGraph());
        if (!isSubtitle(event) || text == cel_->elements().end())
            continue;
        if (made->elements().count(text->first) != 0)
            event.editGraph(ChannelEvent::newId());
        made->insertElement(event.editGraph(), text->second);
    }
    return SubtitleTrack(made);
}

// ---- queries -----------------------------------------------------------------------------------

bool SubtitleTrack::valid() const
{
    return cel_ != nullptr;
}

Kt::Ptr<Cel> SubtitleTrack::getCel()
{
    return cel_;
}

Kt::Ptr<Cel> SubtitleTrack::getCel() const
{
    return cel_;
}

const IdStamp& SubtitleTrack::id() const
{
    static const IdStamp none(0, 0, 0);
    return cel_ ? std::as_const(*cel_).id() : none;
}

void SubtitleTrack::id(const IdStamp& id)
{
    if (!cel_)
        return;
    cel_->id(id);
    cel_->make_dirty();
}

unsigned int SubtitleTrack::getNumElements() const
{
    return cel_ ? static_cast<unsigned int>(cel_->elements().size()) : 0;
}

const Element& SubtitleTrack::getElement(const IdStamp& id) const
{
    return cel_ ? cel::detail::textOf(cel_->elements(), id) : cel::detail::noText();
}

const Element& SubtitleTrack::getElement(const ce_handle& h) const
{
    return h.valid() ? getElement(h.getEffectGraph()) : cel::detail::noText();
}

std::vector<SubtitleTrack::RangedElement> SubtitleTrack::getElements() const
{
    std::vector<RangedElement> elements;
    if (!cel_)
        return elements;
    elements.reserve(cel_->elements().size());
    cel::detail::TextsInOrder texts(cel_->elements());
    const auto events = std::as_const(*cel_).events();
    cel::detail::forEachSubtitle(events, [&](std::size_t in, std::size_t out) {
        elements.push_back(
            {texts(events[in].editGraph()), events[in].edit_time(), events[out].edit_time()});
    });
    return elements;
}

const FontDefinition& SubtitleTrack::getFont() const
{
    static const FontDefinition none;
    return cel_ ? std::as_const(*cel_).font() : none;
}

void SubtitleTrack::setFont(const FontDefinition& font)
{
    if (cel_)
        cel_->font(font);
}

SubtitleTrack::Range SubtitleTrack::getExtents(Editable::ExtentType type, bool flag) const
{
    return cel_ ? cel_->getExtents(type, flag) : Editable::invalidRange();
}

ce_handle SubtitleTrack::find(const LightweightString<wchar_t>& text, ce_handle from,
                              ce_handle to) const
{
    if (!cel_)
        return {};
    const TextSearch::Criteria criteria(text);
    const auto matches = [&criteria](const LightweightString<wchar_t>& line) {
        return !line.empty() && TextSearch::match(line, criteria, 0);
    };
    const ce_handle first = from.valid() ? from : cel_->get_start_ceh();
    const ce_handle last = to.valid() ? to : cel_->get_end_ceh();
    if (!first.valid() || !(first < last))
        return {};
    // Kept: handles on another track walk that one's sections.
    const Kt::Ptr<Cel> walked = first.get_its_cel();
    const auto events = std::as_const(*walked).events();
    cel::detail::TextsInOrder texts(cel_->elements());
    for (int i = first.get_index(); i < last.get_index(); ++i) {
        const ChannelEvent& event = events[static_cast<std::size_t>(i)];
        const bool starts = i == first.get_index() || (event.info() & in_point);
        if (!starts || event.strip_name().isBlack())
            continue;
        const Element& element = texts(event.editGraph());
        if (std::any_of(element.lines.begin(), element.lines.end(), matches))
            return ce_handle(walked, i);
    }
    return {};
}

// ---- edits -------------------------------------------------------------------------------------

void SubtitleTrack::setElement(const IdStamp& id, const Element& element)
{
    if (cel_)
        cel_->setElement(id, element);
}

void SubtitleTrack::insert(const SubtitleTrack& source, const Range& range, double at,
                           const IdMap& idMap)
{
    if (!cel_)
        return;
    if (source.cel_ && cel_->elements().empty())
        cel_->font(source.getFont());
    cel_->insert(source.cel_.get(), range, at, idMap);
}

void SubtitleTrack::replace(const SubtitleTrack& source, const Range& range, double at,
                            const IdMap& idMap, Editable::ReplaceFlags flags)
{
    if (!cel_)
        return;
    if (source.cel_ && cel_->elements().empty())
        cel_->font(source.getFont());
    cel_->replace(source.cel_.get(), range, at, idMap, flags);
}

void SubtitleTrack::remove(const Range& range)
{
    if (cel_)
        cel_->remove(range);
}

void SubtitleTrack::quantiseCelEnd()
{
    if (cel_)
        cel_->quantiseCelEnd();
}

bool SubtitleTrack::simplify(Simplification::eType type, const Range& range)
{
    return cel_ && cel_->simplify(type, range);
}

// ---- the font of new tracks --------------------------------------------------------------------

FontDefinition SubtitleTrack::getDefaultFont()
{
    FontDefinition font;
    font.size = 0.0F;
    cel::readFontPreference(font);
    if (font.size == 0.0F) {
        cel::setFallbackFont(font);
        font.size = 1.0F;
    }
    return font;
}

void SubtitleTrack::setDefaultFont(const FontDefinition& font)
{
    cel::writeFontPreference(font);
}

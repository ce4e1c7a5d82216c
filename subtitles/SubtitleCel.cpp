#include "subtitles/SubtitleCel.h"

#include "subtitles/detail/texts_in_order.h"
#include "tracks/ManagedCel.h"

SubtitleTrack::SubtitleCel::SubtitleCel(double resolution)
    : Cel(0, resolution)
    , Identified(ManagedCel::Rep::createId())
{
}

SubtitleTrack::SubtitleCel::SubtitleCel(BuilderType type)
    : Cel(type)
    , Identified(ManagedCel::Rep::createId())
{
}

SubtitleTrack::SubtitleCel::SubtitleCel(const SubtitleCel& other)
    : Kt::InternalRefCount()
    , iObject()
    , Cel(other)
    , Identified(ManagedCel::Rep::createId())
    , elements_(other.elements_)
    , font_(other.font_)
{
}

SubtitleTrack::SubtitleCel::SubtitleCel(BuilderType, const SubtitleCel& other)
    : SubtitleCel(other)
{
}

SubtitleTrack::SubtitleCel::SubtitleCel(const Cel& list)
    : Cel(list)
    , Identified(ManagedCel::Rep::createId())
{
}

SubtitleTrack::SubtitleCel& SubtitleTrack::SubtitleCel::operator=(const SubtitleCel& other)
{
    Elements elements = other.elements_;
    Cel::operator=(other);
    elements_.swap(elements);
    font_ = other.font_;
    return *this;
}

void SubtitleTrack::SubtitleCel::insertElement(const IdStamp& id, const Element& element)
{
    elements_.try_emplace(id, element);
    make_dirty();
}

void SubtitleTrack::SubtitleCel::setElement(const IdStamp& id, const Element& element)
{
    elements_.insert_or_assign(id, element);
    make_dirty();
}

void SubtitleTrack::SubtitleCel::font(const FontDefinition& font)
{
    font_ = font;
    make_dirty();
}

// ---- what the edits of the list ask ------------------------------------------------------------

Cookie SubtitleTrack::SubtitleCel::getBlackCookie() const
{
    return blackCookie();
}

bool SubtitleTrack::SubtitleCel::canReferTo(CookieType type) const
{
    return type == kSubtitleCookie;
}

void SubtitleTrack::SubtitleCel::clear()
{
    Cel::clear();
    elements_.clear();
}

bool SubtitleTrack::SubtitleCel::isMatchFrameCut(int index) const
{
    const ChannelEvent* before = getChanEventPtr(index - 1);
    const ChannelEvent* behind = getChanEventPtr(index + 1);
    if (!before || !behind || before->strip_name().isBlack() || behind->strip_name().isBlack())
        return false;
    return cel::detail::textOf(elements_, before->editGraph()) ==
           cel::detail::textOf(elements_, behind->editGraph());
}

void SubtitleTrack::SubtitleCel::copySegmentObject(const ce_handle& h, ChannelEvent& event,
                                                   const IdMap&, double, ParamResizeMethod)
{
    if (h.get_strip_cookie().isBlack())
        return;
    const auto* source = dynamic_cast<const SubtitleCel*>(h.get_its_cel().get());
    if (!source)
        return;
    const auto found = source->elements_.find(h.getEffectGraph());
    if (found == source->elements_.end())
        return;
    // Tagged like the identifiers of all sections without an effect: what is replaced by material
    // of its length would else keep its own, and with it the text.
    const IdStamp fresh = ChannelEvent::newId();
    elements_.try_emplace(fresh, found->second);
    event.editGraph(fresh);
}

void SubtitleTrack::SubtitleCel::destroySegmentObject(const IdStamp& id)
{
    elements_.erase(id);
}

void SubtitleTrack::SubtitleCel::resizeSegmentObject(const IdStamp&, double, ParamResizeMethod)
{
    // A text does not depend on how long it is shown.
}

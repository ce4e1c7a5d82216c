#include "subtitles/SubtitleTrack.h"

#include "platform/foundation/compare.h"
#include "subtitles/SubtitleCel.h"

#include <algorithm>

namespace {

using RangedElement = SubtitleTrack::RangedElement;

/// Whether an element has a place that a track can hold.
bool hasPlace(const RangedElement& element)
{
    return cel::isRealTime(element.start) && cel::isRealTime(element.end) &&
           element.start <= element.end;
}

/// Puts sections behind each other at the end of a track.
class Layer
{
public:
    explicit Layer(SubtitleTrack::SubtitleCel& track)
        : track_(track)
    {
    }

    /// Where the next section begins.
    double end() const { return track_.numEvents() == 0 ? 0.0 : track_.get_end_time(); }

    void black(double length) { append(SubtitleTrack::blackCookie(), length); }

    /// @return whether the track took it.
    bool text(const SubtitleTrack::Element& element, double length)
    {
        const ce_handle in = append(SubtitleTrack::textCookie(), length);
        if (in.valid())
            track_.insertElement(in.getEffectGraph(), element);
        return in.valid();
    }

private:
    ce_handle append(const Cookie& material, double length)
    {
        // The sum of many lengths may grow beyond what a track holds though no time of them did.
        if (!cel::isRealTime(end() + length))
            return {};
        return track_.appendEventPair(material, 0.0, length, -1.0);
    }

    SubtitleTrack::SubtitleCel& track_;
};

} // namespace

void SubtitleTrack::setElements(const std::vector<RangedElement>& elements, double endTime)
{
    if (!cel_)
        return;
    cel_->clear();
    const double frame = cel_->get_resolution();
    Layer layer(*cel_);
    double reached = 0.0;
    // Kept: gaps follow from the times that the elements give, not from those they are laid at.
    for (const RangedElement& element : elements) {
        if (!hasPlace(element))
            continue;
        if (element.start > reached)
            layer.black(quantiseTime(element.start - reached, frame));
        layer.text(element, quantiseTime(element.end - element.start, frame));
        reached = element.end;
    }
    if (endTime > reached && cel::isRealTime(endTime))
        layer.black(quantiseTime(endTime - reached, frame));
}

std::vector<std::size_t>
SubtitleTrack::setElementsOnGrid(const std::vector<RangedElement>& elements, double endTime)
{
    std::vector<std::size_t> leftOut;
    if (!cel_)
        return leftOut;
    cel_->clear();
    const double frame = cel_->get_resolution();
    Layer layer(*cel_);
    const auto fillUpTo = [&](double t) {
        if (t > layer.end() + cel::kTimeEpsilon)
            layer.black(t - layer.end());
    };
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const RangedElement& element = elements[i];
        const double start = quantiseTime(element.start, frame);
        const double end = std::max(quantiseTime(element.end, frame), start + frame);
        const bool fits = hasPlace(element) && end > layer.end() + cel::kTimeEpsilon;
        if (fits)
            fillUpTo(start);
        if (!fits || !layer.text(element, end - layer.end()))
            leftOut.push_back(i);
    }
    if (cel::isRealTime(endTime))
        fillUpTo(quantiseTime(endTime, frame));
    return leftOut;
}

void SubtitleTrack::add(const RangedElement& element)
{
    if (!cel_)
        return;
    replace(createInvalid(), Range(0.0, element.end - element.start), element.start, {},
            Editable::kReplacePlain);
    const ce_handle in = cel_->find_ceh((element.start + element.end) / 2.0, in_point);
    if (!in.valid() || !valEqualsVal(in.get_edit_time(), element.start))
        return;
    const ce_handle out = in.matching_out_ceh();
    cel_->set_strip_cookie(in, textCookie());
    if (out.valid())
        cel_->set_strip_cookie(out, textCookie());
    cel_->insertElement(in.getEffectGraph(), element);
}

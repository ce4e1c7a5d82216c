#pragma once

#include "platform/support/Identified.h"
#include "platform/support/StreamClassRegistrar.h"
#include "subtitles/SubtitleTrack.h"

#include <map>

/// The list of a subtitle track, with the texts of its sections and the font of them all.
///
/// In an object stream its layer "T" follows that of the list.
class CEL_API SubtitleTrack::SubtitleCel : public Cel, public Identified
{
public:
    using Elements = std::map<IdStamp, Element>;

    /// @throws Kt::Exception::RuntimeError as `Cel`.
    explicit SubtitleCel(double resolution);

    /// A list of its own with the same texts and font, under a new identity.
    SubtitleCel(const SubtitleCel& other);
    SubtitleCel(BuilderType, const SubtitleCel& other);

    /// The sections of any list, without texts.
    explicit SubtitleCel(const Cel& list);

    /// Takes over sections, texts and font; the identity stays.
    SubtitleCel& operator=(const SubtitleCel& other);

    /// Texts by the identifiers of their sections' in points.
    const Elements& elements() const { return elements_; }

    /// Adds a text unless there is one under that identifier.
    void insertElement(const IdStamp& id, const Element& element);
    void setElement(const IdStamp& id, const Element& element);

    const FontDefinition& font() const { return font_; }
    void font(const FontDefinition& font);

    Cookie getBlackCookie() const override;
    bool canReferTo(CookieType type) const override;
    void clear() override;

    Kt::Ptr<Streamable> clone(BuilderType) const override;
    void assign(const Streamable* other) override;
    LightweightString<char> hierarchyName(bool shortForm, bool withBase) const override;
    LightweightString<char> subHierarchyName(bool shortForm, bool withBase) const;
    void STRM_hierarchyPack(PStream& stream) const override;
    void STRM_hierarchyUnpack(PStream& stream) override;
    static LightweightString<char> shortLayerName();
    static LightweightString<char> layerName();
    static void STRM_layerPack(const SubtitleCel* track, PStream& stream, PackStack* stack);
    static void STRM_layerUnpack(SubtitleCel* track, PStream& stream);

    /// An empty track for a reader to unpack into.
    static Kt::Ptr<Streamable> STRM_L_SubtitleCel_builder(PStream& stream);

protected:
    explicit SubtitleCel(BuilderType);
    ~SubtitleCel() override = default;

    bool isMatchFrameCut(int index) const override;
    void copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap,
                           double share, ParamResizeMethod method) override;
    void destroySegmentObject(const IdStamp& id) override;
    void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method) override;

private:
    unsigned char pack(PStream& stream) const;
    void unpack(PStream& stream, unsigned char revision);
    void unpackElements(PStream& stream);

    static StreamClassRegistrar STRM_L_SubtitleCel_registrar_;

    Elements elements_;
    FontDefinition font_;
};

#pragma once

#include "cel/Cel.h"
#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/image/FontDefinition.h"
#include "platform/support/IdStamp.h"
#include "tracks/EditableBase.h"

#include <cstddef>
#include <map>
#include <vector>

/// Handle on a subtitle track.
///
///     | black | "Ahoy!" | black | "Who goes |  black  |     a list of sections, and beside it a
///             |         |       |  there?"  |         |     table of texts by section
///     0                                             end
///
/// Every subtitle is a section of the track's list, every gap a section of black. The text lies in
/// a table under the identifier that the section's in point carries, and follows the section
/// through every edit of the list that has a counterpart here, `makeCutAt`, trims and the like,
/// also when it is made on the list itself: a copied section gets a copy of the text, a removed one
/// takes its text along, one that is cut has it in both halves. What makes lists out of lists, and
/// `weld`, takes events alone; `withSectionsOf` gives such lists their texts, and `insert` at the
/// end joins tracks with theirs. Texts, font and identity are stored with the list.
///
/// Copying a handle shares the track; `clone()` makes one of its own. A handle may have no track:
/// edits then do nothing and queries find nothing. A track is used by one thread at a time.
class CEL_API SubtitleTrack : public EditableBase<SubtitleTrack>
{
public:
    class SubtitleCel;
    using Range = NumRange<double, Ordered>;
    using IdMap = std::map<IdStamp, IdStamp>;

    /// What one subtitle says, and the identifier of the style to show it in.
    struct Element
    {
        std::vector<LightweightString<wchar_t>> lines;
        LightweightString<char> style;

        /// Compares the lines alone: the same words in two styles are one subtitle.
        bool operator==(const Element& other) const { return lines == other.lines; }
    };

    /// A subtitle and its place: from `start` to `end`, seconds of edit time.
    struct RangedElement : Element
    {
        double start = 0.0;
        double end = 0.0;
    };

    /// An empty track. @param resolution  frame duration in seconds.
    /// @throws Kt::Exception::RuntimeError "Cel::set_resolution: too small", as every track.
    explicit SubtitleTrack(double resolution);

    /// The same with elements, see `setElements`.
    SubtitleTrack(const std::vector<RangedElement>& elements, double endTime, double resolution);

    SubtitleTrack(const SubtitleTrack& other);
    SubtitleTrack(SubtitleTrack&& other) noexcept;
    SubtitleTrack& operator=(const SubtitleTrack& other);
    SubtitleTrack& operator=(SubtitleTrack&& other) noexcept;
    ~SubtitleTrack() override;

    /// A handle without a track.
    static SubtitleTrack createInvalid();

    /// A handle on the track of a list, such as one that was loaded; without one when the list is
    /// not that of a subtitle track.
    static SubtitleTrack createFromCel(const Kt::Ptr<Cel>& list);

    /// A track of its own with the same sections, texts and font, under an identity of its own.
    SubtitleTrack clone() const;

    /// A track of its own with the sections of `list` and this track's font and, for the sections
    /// that came from this track (by `copy`, `quantise`, `reverse` and the like), their texts, each
    /// section one of its own. Sections are known by their identifiers, which `extract` and
    /// `rescale` keep to the first one only with `Cel::EXTRACT_KEEP_EFFECT_IDS`. Invalid without a
    /// track.
    SubtitleTrack withSectionsOf(const Cel& list) const;

    // ---- queries ---------------------------------------------------------------------------

    bool valid() const;
    bool is_dummy() const { return false; }
    bool performEditOpWithNullSrc() const { return false; }

    /// The list, shared; null without a track.
    Kt::Ptr<Cel> getCel();
    Kt::Ptr<Cel> getCel() const;

    /// Identity of the track; the null stamp without one.
    const IdStamp& id() const;
    void id(const IdStamp& id);

    /// Number of texts in the table; 0 without a track.
    unsigned int getNumElements() const;

    /// The text of a section by its identifier or by a handle on its in point; an empty one when
    /// there is none. Dies at the next change of the table.
    const Element& getElement(const IdStamp& id) const;
    const Element& getElement(const ce_handle& h) const;

    /// Every subtitle with its place, in the order of the track; one without a text has no lines.
    /// O(n) in the order in which sections usually are, else O(n log n).
    std::vector<RangedElement> getElements() const;

    const FontDefinition& getFont() const;
    void setFont(const FontDefinition& font);

    /// See `Cel::getExtents`.
    Range getExtents(Editable::ExtentType type, bool flag) const;

    /// The first section from `from` on and before `to` with the text in one of its lines, letters
    /// in any case; not valid when there is none. Without a valid handle the search begins at the
    /// start and goes to the end of the track. Time as that of reading the texts once.
    /// @throws Kt::Exception::RuntimeError "ce_handle::operator<: have to compare like ce_handles"
    /// for handles on two tracks.
    ce_handle find(const LightweightString<wchar_t>& text, ce_handle from, ce_handle to) const;

    // ---- edits -----------------------------------------------------------------------------

    /// Lays a subtitle over whatever the track has from its start to its end.
    /// Kept: one of no length cuts the track and takes the rest of the section that it cuts; one
    /// that the track cannot begin at its start (off the frames, past the end) leaves black without
    /// a text. Nothing happens when it ends before it starts or where no track can reach.
    void add(const RangedElement& element);

    /// Replaces everything by these elements, which are sorted and do not overlap, and black.
    /// Every length is rounded to the frames for itself and laid behind the one before, so that an
    /// element may drift from its time by half a frame for every section in front of it; one that
    /// starts too early is laid behind its predecessor. An element that ends before it starts, or
    /// whose times no track holds, is left out. O(n).
    void setElements(const std::vector<RangedElement>& elements, double endTime);

    /// The same, with every start and end rounded to the frames for itself: no element lies more
    /// than half a frame off, however many there are.
    ///
    /// An element of less than a frame gets one. One that starts before its predecessor ends begins
    /// where that ends.
    /// @return the places in `elements` of those that are left out: nothing of them is left behind
    /// their predecessor, they end before they start, or no track holds their times.
    std::vector<std::size_t> setElementsOnGrid(const std::vector<RangedElement>& elements,
                                               double endTime);

    /// Gives a section's identifier a text, whether there is such a section or not.
    void setElement(const IdStamp& id, const Element& element);

    /// See `Cel`. A track without a text takes over the font of the source.
    void insert(const SubtitleTrack& source, const Range& range, double at, const IdMap& idMap);
    void replace(const SubtitleTrack& source, const Range& range, double at, const IdMap& idMap,
                 Editable::ReplaceFlags flags);
    void remove(const Range& range);
    void quantiseCelEnd();
    bool simplify(Simplification::eType type, const Range& range);

    // ---- what holds for all tracks ---------------------------------------------------------

    /// The font that new tracks get: the user's preference, or else white in the face of the
    /// system's user interface.
    static FontDefinition getDefaultFont();
    static void setDefaultFont(const FontDefinition& font);

    /// What the sections of subtitles and of the gaps between them refer to.
    static const Cookie& textCookie();
    static const Cookie& blackCookie();

private:
    explicit SubtitleTrack(const Kt::Ptr<SubtitleCel>& cel);

    Kt::Ptr<SubtitleCel> cel_;
};

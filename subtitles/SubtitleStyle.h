#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/image/FontDefinition.h"
#include "platform/support/JSON.h"

#include <cstdint>

/// One named look of subtitles: font, and place on the picture. Tracks and the registry refer to it
/// by its identifier, and the identifier alone decides whether two styles are the same.
struct CEL_API SubtitleStyle : JSON::iPersistable
{
    /// Where the text stands on the picture.
    ///
    ///     1 LT  |  4 L  |  7 RT
    ///     2 LM  |  5 C  |  8 RM
    ///     3 LB  |  6 B  |  9 RB
    ///
    /// 0 is no place; it has no text.
    enum ePosition : std::uint32_t {
        kNoPosition = 0,
        kLeftTop = 1,
        kLeftMiddle = 2,
        kLeftBottom = 3,
        kCentreTop = 4,
        kCentreMiddle = 5,
        kCentreBottom = 6,
        kRightTop = 7,
        kRightMiddle = 8,
        kRightBottom = 9,
    };

    LightweightString<wchar_t> name; ///< as a user sees it
    FontDefinition font;
    LightweightString<char> id;
    ePosition pos = kCentreBottom;

    /// Text of a position as files hold it; empty for what is none of the nine.
    static LightweightString<char> asString(ePosition position);

    /// The position of a text, compared exactly; `kCentreBottom` for any other text.
    static ePosition posFromString(const LightweightString<char>& text);

    /// Whether the style has an identifier.
    bool valid() const { return !id.empty(); }

    /// Whether the system made the style itself: its identifier begins with "KT". Users do not get
    /// to edit or delete such styles.
    bool isInternal() const { return id.view().substr(0, 2) == "KT"; }

    bool operator==(const SubtitleStyle& other) const { return id == other.id; }

    /// Adds the members "name", "id", "pos" and "font" to the object that is open.
    void write(JSON::Builder& builder) const override;

    /// Takes over all of them; what is missing becomes empty, the position `kCentreBottom`, and the
    /// font stays as it is.
    /// @return whether there was an identifier; false with nothing changed when `element` is null.
    bool read(const Kt::Ptr<JSON::Element>& element) override;
};

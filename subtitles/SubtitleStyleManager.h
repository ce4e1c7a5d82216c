#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"
#include "platform/image/FontDefinition.h"
#include "platform/support/Notifier.h"
#include "subtitles/SubtitleStyle.h"

#include <cstdint>
#include <vector>

namespace cel {
class SubtitleStyleFile;
}

/// The registry of subtitle styles: the one list of the process, kept in a file in the folder of
/// the user's preferences, and a word to whoever listens at every change.
///
/// For one thread, that of the user interface; only the making of the instance may happen on any.
/// Arguments may be styles of the list itself.
class CEL_API SubtitleStyleManager
{
public:
    /// What listeners are told. @see addListener
    struct Event : public virtual iObject
    {
        enum Type : std::uint32_t { kAdded = 0, kRemoved = 1, kReplaced = 2 };

        Event(std::uint32_t what, const SubtitleStyle& which)
            : type(what)
            , style(which)
        {
        }

        std::uint32_t type;
        SubtitleStyle style; ///< as it was passed to `addStyle` or `removeStyle`
    };

    /// The registry of the process, made when it is first asked for: with the styles of the file,
    /// or with one style "Default" when there are none.
    static SubtitleStyleManager& instance();

    /// The styles in the order in which they came. References into it die at the next change.
    const std::vector<SubtitleStyle>& getStyles() const { return styles_; }

    /// The first style; the built-in one when all were removed.
    const SubtitleStyle& getDefaultStyle() const;
    const FontDefinition& getDefaultFont() const { return getDefaultStyle().font; }

    /// The style with that identifier, or else the default style.
    SubtitleStyle getStyle(const LightweightString<char>& id) const;

    /// Adds a style behind the others, or puts it in the place of the one with its identifier; then
    /// tells the listeners, and then writes the file. One without an identifier is ignored.
    void addStyle(const SubtitleStyle& style);

    /// Takes the style with that identifier out, writes the file and then tells the listeners.
    /// Nothing happens when there is none. Internal styles are not protected here.
    void removeStyle(const SubtitleStyle& style);

    /// Takes in the styles of a file whose identifiers are not in the list yet. Neither tells
    /// anybody nor writes anything: they are kept with the next change.
    /// @return whether there were any. Linear in the styles of both.
    bool addStyles(const LightweightString<wchar_t>& path);

    /// Lets `callback` hear of every change, on the thread and within the call that makes it. It
    /// may change the registry and its listeners in turn.
    /// @return the registration; dropping it ends it.
    Kt::Ptr<Kt::Guard> addListener(const Kt::Ptr<iCallbackBase<int, NotifyMsg>>& callback);

    /// Where the styles are kept.
    static LightweightString<wchar_t> getStylesFileName();

private:
    /// Makes registries apart from that of the process.
    friend class cel::SubtitleStyleFile;

    SubtitleStyleManager();

    void restore();
    void persist();
    bool merge(const Kt::Ptr<JSON::Element>& file, bool& complete);
    void tell(std::uint32_t type, const SubtitleStyle& style) const;

    std::vector<SubtitleStyle> styles_;
    FontDefinition defaultFont_; ///< of the first style when the registry was made
    Notifier notifier_;

    /// Whether the file holds what could not be taken over, and must not be written over.
    bool fileHoldsMore_ = false;
};

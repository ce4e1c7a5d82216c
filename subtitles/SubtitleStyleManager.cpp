#include "subtitles/SubtitleStyleManager.h"

#include "platform/support/TextFile.h"
#include "platform/support/prefs.h"
#include "platform/support/set_aside.h"
#include "platform/support/utf8.h"
#include "subtitles/detail/font_preference.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace {

using Id = LightweightString<char>;

NotifyMsgType messageType()
{
    static const NotifyMsgType type =
        NotifyMsgTypeDictionary::instance().type("Subtitle styles changed");
    return type;
}

SubtitleStyle makeBuiltInStyle()
{
    SubtitleStyle style;
    if (!cel::readFontPreference(style.font))
        cel::setFallbackFont(style.font);
    style.name = L"Default";
    style.id = "KT1";
    style.font.size = 0.0F;
    return style;
}

/// Size of the file once saved.
std::size_t bytesOf(const TextFile& file)
{
    constexpr std::size_t kLineEnd = 2;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < file.numLines(); ++i)
        bytes += file[i].size() + kLineEnd;
    return bytes;
}

} // namespace

SubtitleStyleManager& SubtitleStyleManager::instance()
{
    static SubtitleStyleManager manager;
    return manager;
}

SubtitleStyleManager::SubtitleStyleManager()
{
    restore();
    if (styles_.empty())
        styles_.push_back(makeBuiltInStyle());
    defaultFont_ = styles_.front().font;
}

const SubtitleStyle& SubtitleStyleManager::getDefaultStyle() const
{
    if (!styles_.empty())
        return styles_.front();
    static const SubtitleStyle builtIn = makeBuiltInStyle();
    return builtIn;
}

SubtitleStyle SubtitleStyleManager::getStyle(const Id& id) const
{
    const auto found = std::find_if(styles_.begin(), styles_.end(),
                                    [&id](const SubtitleStyle& style) { return style.id == id; });
    return found == styles_.end() ? getDefaultStyle() : *found;
}

void SubtitleStyleManager::addStyle(const SubtitleStyle& added)
{
    // The argument may lie in the list, which a listener may change.
    const SubtitleStyle style = added;
    if (!style.valid())
        return;
    const auto found = std::find(styles_.begin(), styles_.end(), style);
    const bool isNew = found == styles_.end();
    if (isNew)
        styles_.push_back(style);
    else
        *found = style;
    try {
        tell(isNew ? Event::kAdded : Event::kReplaced, style);
    } catch (...) {
        persist();
        throw;
    }
    persist();
}

void SubtitleStyleManager::removeStyle(const SubtitleStyle& removed)
{
    const SubtitleStyle style = removed;
    const auto found = std::find(styles_.begin(), styles_.end(), style);
    if (found == styles_.end())
        return;
    styles_.erase(found);
    persist();
    tell(Event::kRemoved, style);
}

Kt::Ptr<Kt::Guard>
SubtitleStyleManager::addListener(const Kt::Ptr<iCallbackBase<int, NotifyMsg>>& callback)
{
    return notifier_.addListener(callback, messageType());
}

void SubtitleStyleManager::tell(std::uint32_t type, const SubtitleStyle& style) const
{
    const Kt::Ptr<iObject> event(new Event(type, style));
    notifier_.issue(NotifyMsg(messageType(), event), messageType());
}

// ---- the file -----------------------------------------------------------------------------------

LightweightString<wchar_t> SubtitleStyleManager::getStylesFileName()
{
    return joinPaths(getPrefsDirectory(0), L"SubtitleStyles.json");
}

bool SubtitleStyleManager::addStyles(const LightweightString<wchar_t>& path)
{
    bool complete = false;
    return merge(JSON::parseFile(path), complete);
}

bool SubtitleStyleManager::merge(const Kt::Ptr<JSON::Element>& file, bool& complete)
{
    const Kt::Ptr<JSON::Element> list = file ? file->getChild("styles") : nullptr;
    complete = list != nullptr;
    if (!list)
        return false;
    const std::size_t before = styles_.size();
    std::unordered_set<Id> ids;
    for (const SubtitleStyle& style : styles_)
        ids.insert(style.id);
    // Kept: all that the file has. The list counts its children in 16 bits, and a registry that
    // stopped there would write the others off with its next change.
    for (std::size_t i = 0; const auto element = list->getChild(i); ++i) {
        SubtitleStyle style;
        if (style.read(element) && ids.insert(style.id).second)
            styles_.push_back(std::move(style));
        else
            complete = false;
    }
    return styles_.size() > before;
}

void SubtitleStyleManager::restore()
{
    styles_.clear();
    bool complete = false;
    merge(JSON::parseFile(getStylesFileName()), complete);
    fileHoldsMore_ = !complete;
}

void SubtitleStyleManager::persist()
{
    JSON::Builder builder(2);
    builder.startChild();
    builder.startArray("styles");
    for (const SubtitleStyle& style : styles_) {
        builder.startChild();
        style.write(builder);
        builder.endChild();
    }
    builder.endArray();
    builder.endChild();

    const auto name = getStylesFileName();
    TextFile file(name, false);
    builder.printTo(file, 3, 0);
    // Never write what could not be read again, nor over what was not read.
    if (bytesOf(file) > JSON::kLargestBytes)
        return;
    if (fileHoldsMore_ && !cel::setAside(cel::toPath(name.view())))
        return;
    fileHoldsMore_ = false;
    file.save({}, TextFile::kCarriageReturnLineFeed);
}

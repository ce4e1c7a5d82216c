#include "platform/support/prefs.h"

#include "platform/support/Log.h"
#include "platform/support/TextFile.h"
#include "platform/support/config.h"
#include "platform/support/utf8.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace {

using Text = LightweightString<char>;

// A line is "name=text". A backslash stands before what would end a name or a line.

Text escaped(std::string_view text, std::string_view alsoEscaped)
{
    std::string result;
    for (const char character : text) {
        if (character == '\n')
            result += "\\n";
        else if (character == '\r')
            result += "\\r";
        else if (character == '\\' || alsoEscaped.find(character) != std::string_view::npos)
            result += {'\\', character};
        else
            result += character;
    }
    return result;
}

/// Takes text off the front of `line` up to a bare '=' (or, without `isName`, up to the end).
Text takeUnescaped(std::string_view& line, bool isName)
{
    std::string result;
    while (!line.empty()) {
        char character = line.front();
        line.remove_prefix(1);
        if (isName && character == '=')
            break;
        if (character == '\\' && !line.empty()) {
            character = line.front();
            line.remove_prefix(1);
            result += character == 'n' ? '\n' : character == 'r' ? '\r' : character;
        } else {
            result += character;
        }
    }
    return result;
}

class FilePreferences final : public EditorPreferences
{
public:
    Text getPreference(const Text& name, const Text& fallback) override
    {
        const std::scoped_lock lock(mutex_);
        if (!loaded_)
            load();
        const auto found = texts_.find(name);
        return found == texts_.end() ? fallback : found->second;
    }

    bool setPreference(const Text& name, const Text& text) override
    {
        const std::scoped_lock lock(mutex_);
        // Read anew: another process of the editor may have written since.
        if (!load()) {
            Log("Preferences: %s\n", error_.c_str());
            return false;
        }
        texts_[name] = text;
        return save();
    }

private:
    static LightweightString<wchar_t> path()
    {
        return joinPaths(getPrefsDirectory(0), L"preferences");
    }

    /// @return whether what the file holds is now known; also when there is none.
    bool load()
    {
        loaded_ = true;
        const TextFile file(path(), true);
        std::error_code ignored;
        if (!file.loaded() && std::filesystem::exists(cel::toPath(path().view()), ignored)) {
            error_ = file.error();
            return false;
        }
        texts_.clear();
        for (std::size_t i = 0; i < file.numLines(); ++i) {
            std::string_view line = file[i].view();
            const Text name = takeUnescaped(line, true);
            texts_[name] = takeUnescaped(line, false);
        }
        return true;
    }

    bool save() const
    {
        TextFile file(path(), false);
        for (const auto& [name, text] : texts_) {
            Text line = escaped(name.view(), "=");
            line += '=';
            line += escaped(text.view(), "");
            file.appendLine(line);
        }
        const bool saved = file.save({}, TextFile::kLineFeed);
        if (!saved)
            Log("Preferences: %s\n", file.error().c_str());
        return saved;
    }

    std::mutex mutex_;
    std::map<Text, Text> texts_;
    std::string error_;
    bool loaded_ = false;
};

constexpr bool isSeparator(wchar_t character)
{
#if defined(_WIN32)
    return character == L'/' || character == L'\\';
#else
    return character == L'/';
#endif
}

} // namespace

EditorPreferences& prefs()
{
    static FilePreferences& preferences = *new FilePreferences; // static objects may still ask
    return preferences;
}

LightweightString<wchar_t> getPrefsDirectory(int)
{
    const auto folder = cel::configurationFolder();
    std::error_code ignored; // whoever writes there will hear of it
    std::filesystem::create_directories(folder, ignored);
    return cel::pathToWide(folder);
}

LightweightString<wchar_t> joinPaths(const LightweightString<wchar_t>& folder,
                                     const LightweightString<wchar_t>& name)
{
    if (folder.empty())
        return name;
    std::wstring_view first = folder.view();
    std::wstring_view second = name.view();
    while (!first.empty() && isSeparator(first.back()))
        first.remove_suffix(1);
    while (!second.empty() && isSeparator(second.front()))
        second.remove_prefix(1);
    constexpr auto kSeparator = static_cast<wchar_t>(std::filesystem::path::preferred_separator);
    return std::wstring(first) + kSeparator + std::wstring(second);
}

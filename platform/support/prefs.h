#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

/// The user's preferences: texts by name, kept in the configuration folder (in the file
/// "preferences") and written through the safe save at every change. Thread-safe. A file that
/// cannot be read is never overwritten.
class CEL_PLATFORM_API EditorPreferences
{
public:
    virtual ~EditorPreferences() = default;

    /// @return the preference, or `fallback` when it was never set.
    virtual LightweightString<char> getPreference(const LightweightString<char>& name,
                                                  const LightweightString<char>& fallback) = 0;

    /// @return whether it was stored; the reason why not goes to the log.
    virtual bool setPreference(const LightweightString<char>& name,
                               const LightweightString<char>& text) = 0;
};

/// The preferences of this process, read on first use.
CEL_PLATFORM_API EditorPreferences& prefs();

/// Folder of preference files; made when it does not exist yet.
/// @param type  0, the user's own; there is no other.
CEL_PLATFORM_API LightweightString<wchar_t> getPrefsDirectory(int type);

/// Folder and name joined by one separator; the name alone when the folder is empty.
CEL_PLATFORM_API LightweightString<wchar_t> joinPaths(const LightweightString<wchar_t>& folder,
                                                      const LightweightString<wchar_t>& name);

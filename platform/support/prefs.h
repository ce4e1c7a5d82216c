#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

/// The user's preferences: texts by name, kept in the configuration folder and written through the
/// safe save at every change. Thread-safe. Names and texts hold anything but line ends.
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

/// Folder of preference files. @param type  0, the user's own.
CEL_PLATFORM_API LightweightString<wchar_t> getPrefsDirectory(int type);

/// Folder and name joined by one separator of this system.
CEL_PLATFORM_API LightweightString<wchar_t> joinPaths(const LightweightString<wchar_t>& folder,
                                                      const LightweightString<wchar_t>& name);

#pragma once

#include "platform/export.h"

#include <atomic>

/// The process-wide settings for making Cookies.
class CEL_PLATFORM_API CookieJar
{
public:
    static CookieJar& instance();

    /// Version given to new Cookies: 0 unless configured ("default_cookie_version") or set.
    unsigned char getDefaultCookieVersion() const { return defaultVersion_; }
    void setDefaultCookieVersion(unsigned char version) { defaultVersion_ = version; }

private:
    CookieJar();

    std::atomic<unsigned char> defaultVersion_;
};
